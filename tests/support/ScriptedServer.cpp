#include "support/ScriptedServer.h"

ScriptedServer::ScriptedServer()
{
    connect(&m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = m_server.nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
            connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
                m_input.remove(socket);
                socket->deleteLater();
            });
        }
    });
    if (!m_server.listen(QHostAddress::LocalHost))
        qFatal("no free port on the loopback address");
}

QString ScriptedServer::url() const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(port());
}

void ScriptedServer::on(const QByteArray &route, const Answer &answer)
{
    m_answers.insert(route, answer);
}

void ScriptedServer::release()
{
    for (const HeldAnswer &held : std::exchange(m_held, {})) {
        if (held.socket)
            send(held.socket, held.answer);
    }
}

QList<ScriptedServer::Request> ScriptedServer::asked(const QByteArray &routeEnd) const
{
    QList<Request> matching = m_requests;
    matching.removeIf([&](const Request &request) { return !request.route().endsWith(routeEnd); });
    return matching;
}

QString ScriptedServer::Request::item(const QString &key) const
{
    const qsizetype mark = target.indexOf('?');
    return QUrlQuery(QString::fromLatin1(mark < 0 ? QByteArray() : target.mid(mark + 1)))
        .queryItemValue(key, QUrl::FullyDecoded);
}

void ScriptedServer::read(QTcpSocket *socket)
{
    m_input[socket] += socket->readAll();
    while (takeRequest(socket)) { }
}

bool ScriptedServer::takeRequest(QTcpSocket *socket)
{
    QByteArray &input = m_input[socket];
    const qsizetype headEnd = input.indexOf("\r\n\r\n");
    if (headEnd < 0)
        return false;
    Request request;
    QList<QByteArray> lines = input.left(headEnd).replace("\r\n", "\n").split('\n');
    const QList<QByteArray> start = lines.takeFirst().split(' ');
    request.method = start.value(0);
    request.target = start.value(1);
    for (const QByteArray &line : lines) {
        const qsizetype colon = line.indexOf(':');
        request.headers.insert(line.left(colon).toLower(), line.mid(colon + 1).trimmed());
    }
    const qsizetype length = request.headers.value("content-length").toLongLong();
    if (input.size() < headEnd + 4 + length)
        return false;
    request.body = input.mid(headEnd + 4, length);
    input.remove(0, headEnd + 4 + length);
    m_requests.append(request);

    const bool isOther = m_otherwise && !m_answers.contains(request.route());
    const Answer answer = isOther ? m_otherwise(request) : m_answers.value(request.route(), {.status = 404});
    if (answer.held)
        m_held.append({socket, answer});
    else
        send(socket, answer);
    return true;
}

void ScriptedServer::send(QTcpSocket *socket, const Answer &answer)
{
    QByteArray head = "HTTP/1.1 " + QByteArray::number(answer.status) + " Scripted\r\n";
    for (const QByteArray &header : answer.headers)
        head += header + "\r\n";
    if (answer.status != 204)
        head += "Content-Length: " + QByteArray::number(answer.body.size()) + "\r\n";
    socket->write(head + "\r\n");
    if (answer.breakAfter >= 0) {
        socket->write(answer.body.left(answer.breakAfter));
        socket->disconnectFromHost();
    } else {
        socket->write(answer.hangAfter >= 0 ? answer.body.left(answer.hangAfter) : answer.body);
    }
}

ScriptedServer::Answer ScriptedServer::file(const Request &request, const QByteArray &content)
{
    const QByteArray range = request.headers.value("range");
    if (!range.startsWith("bytes="))
        return {.body = content, .headers = {"Accept-Ranges: bytes"}};
    const QList<QByteArray> bounds = range.mid(6).split('-');
    const qint64 first = bounds.value(0).toLongLong();
    const qint64 last = bounds.value(1).isEmpty() ? content.size() - 1 : bounds.value(1).toLongLong();
    const QByteArray where = QByteArray::number(first) + '-' + QByteArray::number(last) + '/'
        + QByteArray::number(content.size());
    return {.status = 206,
        .body = content.mid(first, last - first + 1),
        .headers = {"Accept-Ranges: bytes", "Content-Range: bytes " + where}};
}
