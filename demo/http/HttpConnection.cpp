#include "http/HttpConnection.h"

#include "http/HttpServer.h"

#include <QTimer>

namespace demo {

namespace {

constexpr qint64 maxHeadBytes = 64 * 1024LL;
constexpr qint64 maxBodyBytes = 8LL * 1024 * 1024;
constexpr qint64 sendAheadBytes = 512 * 1024LL;

} // namespace

HttpConnection::HttpConnection(QTcpSocket *socket, HttpServer *server)
    : QObject(server)
    , m_server(server)
    , m_socket(socket)
{
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    adopt();
}

void HttpConnection::adopt()
{
    m_socket->setParent(this);
    connect(m_socket, &QTcpSocket::readyRead, this, &HttpConnection::advance);
    connect(m_socket, &QTcpSocket::bytesWritten, this, &HttpConnection::pump);
    connect(m_socket, &QTcpSocket::disconnected, this, &QObject::deleteLater);
}

void HttpConnection::advance()
{
    while (m_socket && m_state == State::Reading) {
        if (!m_request && !readHead())
            return;
        if (!readBody())
            return;
        answer(m_server->m_handler(*m_request));
    }
}

bool HttpConnection::readHead()
{
    const QByteArray seen = m_socket->peek(maxHeadBytes);
    const qsizetype end = seen.indexOf("\r\n\r\n");
    if (end < 0) {
        if (seen.size() >= maxHeadBytes)
            refuse(431, tr("The request head is too long"));
        return false;
    }
    m_request = HttpRequest::parseHead(seen.left(end));
    if (!m_request) {
        refuse(400, tr("The request cannot be understood"));
        return false;
    }
    if (m_request->headers.value("upgrade").toLower() == "websocket") {
        handOver();
        return false;
    }
    m_socket->skip(end + 4);
    m_bodyLength = m_request->headers.value("content-length", "0").toLongLong();
    if (m_request->headers.contains("transfer-encoding")) {
        refuse(411, tr("The body needs a length"));
        return false;
    }
    if (m_bodyLength < 0 || m_bodyLength > maxBodyBytes) {
        refuse(413, tr("The body is too long"));
        return false;
    }
    return true;
}

bool HttpConnection::readBody()
{
    if (m_socket->bytesAvailable() < m_bodyLength)
        return false;
    m_request->body = m_socket->read(m_bodyLength);
    return true;
}

void HttpConnection::handOver()
{
    m_socket->disconnect(this);
    m_socket->setParent(nullptr);
    if (std::optional<HttpResponse> refusal = m_server->m_upgradeHandler(*m_request, m_socket)) {
        adopt();
        m_socket->readAll();
        answerAndClose(std::move(*refusal));
        return;
    }
    m_socket = nullptr;
    deleteLater();
}

void HttpConnection::refuse(int status, const QString &text)
{
    answerAndClose(HttpResponse::error(status, text));
}

void HttpConnection::answerAndClose(HttpResponse response)
{
    m_closeAfter = true;
    answer(std::move(response));
}

void HttpConnection::answer(HttpResponse response)
{
    m_state = State::Waiting;
    m_response = std::move(response);
    if (m_response.delayMs > 0)
        QTimer::singleShot(m_response.delayMs, this, &HttpConnection::send);
    else
        send();
}

void HttpConnection::send()
{
    m_state = State::Sending;
    const bool isHead = m_request && m_request->method == "HEAD";
    m_closeAfter = m_closeAfter || (m_request && m_request->headers.value("connection").toLower() == "close");
    m_chunked = m_response.stream && m_response.stream->size() < 0;
    if (m_chunked)
        m_response.setHeader("Transfer-Encoding", "chunked");
    else if (m_response.status != 204)
        m_response.setHeader("Content-Length",
            QByteArray::number(m_response.stream ? m_response.stream->size() : m_response.body.size()));
    if (m_closeAfter)
        m_response.setHeader("Connection", "close");
    m_socket->write(m_response.head());

    if (isHead) {
        m_response.body.clear();
        m_response.stream.reset();
    } else if (m_response.stream) {
        pump();
    } else {
        write(m_response.body);
    }
}

void HttpConnection::write(QByteArray piece)
{
    if (m_response.cutAfterBytes >= 0) {
        m_cut = piece.size() > m_response.cutAfterBytes;
        piece.truncate(m_response.cutAfterBytes);
        m_response.cutAfterBytes -= piece.size();
    }
    if (m_chunked && !(m_cut && piece.isEmpty()))
        piece = QByteArray::number(piece.size(), 16) + "\r\n" + piece + "\r\n";
    m_socket->write(piece);
}

void HttpConnection::pump()
{
    if (m_state != State::Sending)
        return;
    while (m_response.stream && m_socket->bytesToWrite() < sendAheadBytes) {
        const QByteArray piece = m_response.stream->read();
        if (!piece.isEmpty() || m_chunked)
            write(piece);
        if (piece.isEmpty() || m_cut)
            m_response.stream.reset();
    }
    if (!m_response.stream && m_socket->bytesToWrite() == 0)
        finish();
}

void HttpConnection::finish()
{
    m_state = State::Reading;
    m_request.reset();
    if (m_cut)
        m_socket->abort();
    else if (m_closeAfter)
        m_socket->disconnectFromHost();
    else
        QMetaObject::invokeMethod(this, &HttpConnection::advance, Qt::QueuedConnection);
}

} // namespace demo
