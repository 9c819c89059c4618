#pragma once

#include "http/HttpMessage.h"

#include <QObject>
#include <QTcpSocket>

namespace demo {

class HttpServer;

/// One connection of HttpServer; owns its socket and deletes itself when the socket is gone or handed over.
class HttpConnection : public QObject
{
    Q_OBJECT

public:
    HttpConnection(QTcpSocket *socket, HttpServer *server);

private:
    void adopt();
    void advance();
    bool readHead();
    bool readBody();
    void handOver();
    void answer(HttpResponse response);
    void answerAndClose(HttpResponse response);
    void refuse(int status, const QString &text);
    void send();
    void write(QByteArray piece);
    void pump();
    void finish();

    HttpServer *m_server;
    QTcpSocket *m_socket;
    std::optional<HttpRequest> m_request;
    qint64 m_bodyLength = 0;
    enum class State { Reading, Waiting, Sending };
    State m_state = State::Reading;
    bool m_closeAfter = false;
    bool m_chunked = false;
    bool m_cut = false;
    HttpResponse m_response;
};

} // namespace demo
