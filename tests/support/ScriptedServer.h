#pragma once

#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrlQuery>

#include <functional>

/**
 * An HTTP server on a free loopback port that answers as a test tells it, down to the byte at which a
 * connection breaks, and remembers what it was asked. A request without an answer gets 404.
 */
class ScriptedServer : public QObject
{
public:
    struct Request
    {
        QByteArray method;
        /// Path and query as sent.
        QByteArray target;
        /// By lower-case name.
        QMap<QByteArray, QByteArray> headers;
        QByteArray body = {};

        QByteArray path() const { return target.split('?').first(); }
        QByteArray route() const { return method + ' ' + path(); }
        /// One value of the query, decoded.
        QString item(const QString &key) const;
    };

    struct Answer
    {
        int status = 200;
        QByteArray body = {};
        /// Whole lines, "Name: value".
        QList<QByteArray> headers = {};
        /// Wait for release().
        bool held = false;
        /// Break the connection after so many bytes of the body, or send nothing more; -1 sends all of it.
        qint64 breakAfter = -1;
        qint64 hangAfter = -1;
    };

    ScriptedServer();

    quint16 port() const { return m_server.serverPort(); }
    QString url() const;

    /// How requests to "<METHOD> <path>" are answered from now on.
    void on(const QByteArray &route, const Answer &answer);
    void on(const QByteArray &route, const QByteArray &body) { on(route, {.body = body}); }
    /// How requests without such a route are answered from now on.
    void otherwise(const std::function<Answer(const Request &)> &answer) { m_otherwise = answer; }
    /// Sends the held answers, oldest first.
    void release();

    /// An answer with the part of the content that the request's byte range asks for.
    static Answer file(const Request &request, const QByteArray &content);
    /// The answer to a question for a stream's address.
    static Answer streamAt(const QString &url) { return {.body = "{\"url\": \"" + url.toUtf8() + "\"}"}; }

    const QList<Request> &requests() const { return m_requests; }
    /// Those to a "<METHOD> <path>" that ends like this.
    QList<Request> asked(const QByteArray &routeEnd) const;

private:
    void read(QTcpSocket *socket);
    bool takeRequest(QTcpSocket *socket);
    static void send(QTcpSocket *socket, const Answer &answer);

    struct HeldAnswer
    {
        QPointer<QTcpSocket> socket;
        Answer answer;
    };

    QHash<QTcpSocket *, QByteArray> m_input;
    QHash<QByteArray, Answer> m_answers;
    std::function<Answer(const Request &)> m_otherwise;
    QList<HeldAnswer> m_held;
    QList<Request> m_requests;
    // Closes its connections while the rest is still there.
    QTcpServer m_server;
};
