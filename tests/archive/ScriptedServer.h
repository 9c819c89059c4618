#pragma once

#include <QByteArray>
#include <QHash>
#include <QJsonDocument>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrl>
#include <QUrlQuery>

#include <functional>

/**
 * A small HTTP server on a free port of the loopback address. A test scripts its answers, down to the byte at
 * which a connection breaks, and looks at what was asked. Sign-in works by itself and hands out `token`.
 */
class ScriptedServer : public QTcpServer
{
    Q_OBJECT

public:
    struct Request
    {
        QByteArray method;
        QString path; ///< behind "/client-api/"
        QUrlQuery query;
        QHash<QByteArray, QByteArray> headers; ///< names in lower case
        QByteArray body{};

        QString item(const char *key) const { return query.queryItemValue(key, QUrl::FullyDecoded); }
    };

    struct Answer
    {
        int status = 200;
        QByteArray body{};
        QList<QPair<QByteArray, QByteArray>> headers{};
        qint64 breakAfter = -1; ///< break the connection after so many bytes of the body
        qint64 hangAfter = -1; ///< send so many bytes of the body and then nothing more
        qint64 streamBytes = 0; ///< instead of `body`: so many zero bytes, made as they are taken
        bool mute = false; ///< do not answer at all
    };

    explicit ScriptedServer(QObject *parent = nullptr)
        : QTcpServer(parent)
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = nextPendingConnection())
                serve(socket);
        });
    }

    QString url() const { return QStringLiteral("http://127.0.0.1:%1").arg(serverPort()); }

    /// Decides the answers; 404 without one.
    std::function<Answer(const Request &)> handler;
    QList<Request> requests;
    QByteArray token = "secret-token";

    /// The requests for this path, or for all paths that end with it.
    QList<Request> asked(const QString &pathEnd) const
    {
        QList<Request> found;
        std::copy_if(requests.begin(), requests.end(), std::back_inserter(found),
            [&](const Request &request) { return request.path.endsWith(pathEnd); });
        return found;
    }

    /// Stops listening and breaks every connection.
    void die()
    {
        close();
        for (QTcpSocket *socket : findChildren<QTcpSocket *>())
            socket->abort();
    }

    static Answer json(const QByteArray &text, int status = 200)
    {
        return {status, text, {{"Content-Type", "application/json"}}};
    }

    /// The part of the file that the request's byte range asks for.
    static Answer file(const Request &request, const QByteArray &content)
    {
        const QByteArray range = request.headers.value("range");
        if (!range.startsWith("bytes="))
            return {200, content, {{"Accept-Ranges", "bytes"}}};
        const QList<QByteArray> bounds = range.mid(6).split('-');
        const qint64 first = bounds.value(0).toLongLong();
        const qint64 last = bounds.value(1).isEmpty() ? content.size() - 1 : bounds.value(1).toLongLong();
        const QByteArray where = "bytes " + QByteArray::number(first) + '-' + QByteArray::number(last) + '/'
            + QByteArray::number(content.size());
        return {206, content.mid(first, last - first + 1),
            {{"Accept-Ranges", "bytes"}, {"Content-Range", where}}};
    }

private:
    void serve(QTcpSocket *socket)
    {
        socket->setParent(this);
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        auto received = std::make_shared<QByteArray>();
        connect(socket, &QTcpSocket::readyRead, this, [this, socket, received] {
            received->append(socket->readAll());
            Request request;
            while (take(*received, request)) {
                requests.append(request);
                send(socket, answerTo(request));
            }
        });
    }

    static bool take(QByteArray &received, Request &request)
    {
        const qsizetype headEnd = received.indexOf("\r\n\r\n");
        if (headEnd < 0)
            return false;
        QList<QByteArray> lines = received.left(headEnd).split('\n');
        const QList<QByteArray> first = lines.takeFirst().split(' ');
        request = {};
        request.method = first.value(0);
        const QUrl url = QUrl::fromEncoded(first.value(1));
        request.path = url.path().mid(QStringLiteral("/client-api/").size());
        request.query = QUrlQuery(url);
        for (const QByteArray &line : std::as_const(lines)) {
            const qsizetype colon = line.indexOf(':');
            request.headers.insert(line.left(colon).toLower(), line.mid(colon + 1).trimmed());
        }
        const qsizetype length = request.headers.value("content-length").toLongLong();
        if (received.size() < headEnd + 4 + length)
            return false;
        request.body = received.mid(headEnd + 4, length);
        received.remove(0, headEnd + 4 + length);
        return true;
    }

    Answer answerTo(const Request &request) const
    {
        if (request.path == "auth/login")
            return json(
                R"({"access_token":")" + token + R"(","login":"op","expires_in":900,"permissions":[]})");
        return handler ? handler(request) : Answer{404};
    }

    static void send(QTcpSocket *socket, const Answer &answer)
    {
        if (answer.mute)
            return;
        const qint64 length = answer.streamBytes > 0 ? answer.streamBytes : answer.body.size();
        QByteArray head = "HTTP/1.1 " + QByteArray::number(answer.status) + " Scripted\r\n";
        for (const auto &[name, value] : answer.headers)
            head += name + ": " + value + "\r\n";
        if (answer.status != 204)
            head += "Content-Length: " + QByteArray::number(length) + "\r\n";
        socket->write(head + "\r\n");
        if (answer.streamBytes > 0) {
            stream(socket, answer.streamBytes);
        } else if (answer.breakAfter >= 0) {
            socket->write(answer.body.left(answer.breakAfter));
            socket->disconnectFromHost();
        } else {
            socket->write(answer.hangAfter >= 0 ? answer.body.left(answer.hangAfter) : answer.body);
        }
    }

    static void stream(QTcpSocket *socket, qint64 bytes)
    {
        auto left = std::make_shared<qint64>(bytes);
        const auto more = [socket, left] {
            while (*left > 0 && socket->bytesToWrite() < 256 * 1024)
                *left -= socket->write(QByteArray(std::min<qint64>(*left, 64 * 1024), '\0'));
        };
        connect(socket, &QTcpSocket::bytesWritten, socket, more);
        more();
    }
};
