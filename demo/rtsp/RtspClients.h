#pragma once

#include <QHash>
#include <QJsonObject>
#include <QString>

#include <gst/rtsp-server/rtsp-server.h>

#include <mutex>
#include <set>

namespace demo {

/// Watches who is connected to the RTSP server and what they ask for. Safe to use from any thread.
class RtspClients
{
public:
    explicit RtspClients(GstRTSPServer *server);
    ~RtspClients();
    Q_DISABLE_COPY_MOVE(RtspClients)

    /// Cuts the connections that play any mount whose path starts so ("/" is everybody).
    void cut(const QString &pathPrefix);
    QJsonObject statistics() const;

private:
    struct Client
    {
        GSocket *socket = nullptr;
        std::set<QString> playing;
        std::set<QString> described;
    };
    struct Counts
    {
        int described = 0;
        int played = 0;
    };

    void add(GstRTSPClient *client);
    void remove(GstRTSPClient *client);
    void describe(GstRTSPClient *client, const QString &path);
    void play(GstRTSPClient *client, const QString &path);
    void tearDown(GstRTSPClient *client, const QString &path);

    GstRTSPServer *m_server;
    unsigned long m_connectedSignal;
    mutable std::mutex m_mutex;
    QHash<GstRTSPClient *, Client> m_clients;
    QHash<QString, Counts> m_counts;
};

} // namespace demo
