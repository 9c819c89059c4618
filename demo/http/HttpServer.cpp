#include "http/HttpServer.h"

#include "http/HttpConnection.h"

namespace demo {

HttpServer::HttpServer(QObject *parent)
    : QObject(parent)
{
    connect(&m_listener, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = m_listener.nextPendingConnection())
            new HttpConnection(socket, this);
    });
}

bool HttpServer::listen(quint16 port)
{
    return m_listener.listen(QHostAddress::LocalHost, port);
}

} // namespace demo
