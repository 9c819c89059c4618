#pragma once

#include "http/HttpMessage.h"

#include <QTcpServer>

#include <functional>
#include <optional>

class QTcpSocket;

namespace demo {

/**
 * A small HTTP/1.1 server on the loopback address.
 *
 * Connections are kept alive, requests of one connection are answered in order, bodies may be made while they
 * are sent, HEAD is answered without a body, and a WebSocket upgrade is decided before the handshake, so that
 * a refused one gets an ordinary HTTP answer.
 */
class HttpServer : public QObject
{
    Q_OBJECT

public:
    using Handler = std::function<HttpResponse(const HttpRequest &)>;
    /// Decides over a WebSocket upgrade. Returning nothing means that the socket, its request still unread,
    /// now belongs to the handler; otherwise the answer is sent and the connection closed.
    using UpgradeHandler = std::function<std::optional<HttpResponse>(const HttpRequest &, QTcpSocket *)>;

    explicit HttpServer(QObject *parent = nullptr);

    void setHandler(Handler handler) { m_handler = std::move(handler); }
    void setUpgradeHandler(UpgradeHandler handler) { m_upgradeHandler = std::move(handler); }

    /// Listens on 127.0.0.1; port 0 picks a free one. False when the port cannot be had (see errorString()).
    bool listen(quint16 port);
    quint16 port() const { return m_listener.serverPort(); }
    QString errorString() const { return m_listener.errorString(); }

private:
    friend class HttpConnection;

    QTcpServer m_listener;
    Handler m_handler;
    UpgradeHandler m_upgradeHandler;
};

} // namespace demo
