#pragma once

#include "http/HttpMessage.h"

#include <QHash>
#include <QJsonObject>
#include <QObject>
#include <QWebSocketServer>

class QTcpSocket;
class QWebSocket;

namespace demo {

class Sessions;

/**
 * The event sockets of signed-in clients at "/client-api/ws".
 *
 * A handshake without a valid access token is answered 401. A socket lives until its client or a fault closes
 * it, or its session ends.
 */
class EventChannel : public QObject
{
    Q_OBJECT

public:
    explicit EventChannel(const Sessions &sessions, QObject *parent = nullptr);

    /// Takes over the socket of an upgrade request, or says why not.
    std::optional<HttpResponse> upgrade(const HttpRequest &request, QTcpSocket *socket);

    /// Sends {"type", "data"} to every client.
    void broadcast(const QString &type, const QJsonObject &data);
    /// Sends a text frame as it stands to every client.
    void broadcastText(const QString &text);

    void closeSession(const QString &sessionId);
    /// Drops every connection without a close frame.
    void cutAll();
    /// While set, every handshake is answered with this status; 0 accepts again.
    void setRefusal(int status) { m_refusalStatus = status; }

    qsizetype connected() const { return m_sockets.size(); }
    int accepted() const { return m_accepted; }
    int refused() const { return m_refused; }

private:
    void admit();

    const Sessions &m_sessions;
    QWebSocketServer m_server;
    QHash<QWebSocket *, QString> m_sockets;
    int m_refusalStatus = 0;
    int m_accepted = 0;
    int m_refused = 0;
};

} // namespace demo
