#include "api/EventChannel.h"

#include "state/Sessions.h"

#include <QJsonDocument>
#include <QTcpSocket>
#include <QWebSocket>

namespace demo {

EventChannel::EventChannel(const Sessions &sessions, QObject *parent)
    : QObject(parent)
    , m_sessions(sessions)
    , m_server("zorvel-demo-recorder", QWebSocketServer::NonSecureMode)
{
    connect(&m_server, &QWebSocketServer::newConnection, this, &EventChannel::admit);
}

std::optional<HttpResponse> EventChannel::upgrade(const HttpRequest &request, QTcpSocket *socket)
{
    std::optional<HttpResponse> refusal;
    if (m_refusalStatus != 0)
        refusal = HttpResponse::error(m_refusalStatus, "The event channel is switched off");
    else if (request.path != "/client-api/ws")
        refusal = HttpResponse::error(404, "There is no event channel at this address");
    else if (m_sessions.sessionOf(request.bearerToken()).isEmpty())
        refusal = HttpResponse::error(401, "Sign in first: the session is missing or expired");
    if (refusal)
        ++m_refused;
    else
        m_server.handleConnection(socket);
    return refusal;
}

void EventChannel::admit()
{
    while (QWebSocket *socket = m_server.nextPendingConnection()) {
        const QByteArray header = socket->request().rawHeader("Authorization");
        const QString session = m_sessions.sessionOf(header.mid(qstrlen("Bearer ")));
        if (session.isEmpty()) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        ++m_accepted;
        m_sockets.insert(socket, session);
        connect(socket, &QWebSocket::disconnected, this, [this, socket] {
            m_sockets.remove(socket);
            socket->deleteLater();
        });
    }
}

void EventChannel::broadcast(const QString &type, const QJsonObject &data)
{
    const QJsonObject frame{{"type", type}, {"data", data}};
    broadcastText(QString::fromUtf8(QJsonDocument(frame).toJson(QJsonDocument::Compact)));
}

void EventChannel::broadcastText(const QString &text)
{
    for (auto it = m_sockets.cbegin(); it != m_sockets.cend(); ++it)
        it.key()->sendTextMessage(text);
}

void EventChannel::closeSession(const QString &sessionId)
{
    const QList<QWebSocket *> sockets = m_sockets.keys(sessionId);
    for (QWebSocket *socket : sockets)
        socket->close(QWebSocketProtocol::CloseCodePolicyViolated, "The session has ended");
}

void EventChannel::cutAll()
{
    const QList<QWebSocket *> sockets = m_sockets.keys();
    for (QWebSocket *socket : sockets)
        socket->abort();
}

} // namespace demo
