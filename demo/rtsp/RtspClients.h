#pragma once

#include <QHash>
#include <QJsonObject>
#include <QString>

#include <mutex>
#include <set>

struct _GSocket;
struct _GstRTSPClient;
struct _GstRTSPContext;
struct _GstRTSPServer;

namespace demo {

/// Watches who is connected to the RTSP server and what they ask for. Safe to use from any thread.
class RtspClients
{
public:
    explicit RtspClients(_GstRTSPServer *server);
    ~RtspClients();
    Q_DISABLE_COPY_MOVE(RtspClients)

    /// Cuts the connections that play any mount whose path starts so ("/" is everybody).
    void cut(const QString &pathPrefix);
    QJsonObject statistics() const;

private:
    struct Client
    {
        _GSocket *socket = nullptr;
        std::set<QString> playing;
        std::set<QString> described;
    };
    struct Counts
    {
        int described = 0;
        int played = 0;
    };

    void add(_GstRTSPClient *client);
    void remove(_GstRTSPClient *client);
    void describe(_GstRTSPClient *client, const QString &path);
    void play(_GstRTSPClient *client, const QString &path);
    void tearDown(_GstRTSPClient *client, const QString &path);

    _GstRTSPServer *m_server;
    unsigned long m_connectedSignal;
    mutable std::mutex m_mutex;
    QHash<_GstRTSPClient *, Client> m_clients;
    QHash<QString, Counts> m_counts;
};

} // namespace demo
