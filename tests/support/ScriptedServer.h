#pragma once

#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>

/**
 * An HTTP server on a free loopback port that answers as a test tells it and remembers what it was asked.
 * A request without an answer gets 404.
 */
class ScriptedServer : public QObject
{
    Q_OBJECT

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
    };

    struct Answer
    {
        int status = 200;
        QByteArray body = {};
        /// Whole lines, "Name: value".
        QList<QByteArray> headers = {};
        /// Wait for release().
        bool held = false;
    };

    ScriptedServer();

    quint16 port() const { return m_server.serverPort(); }
    QString url() const;

    /// How requests to "<METHOD> <path>" are answered from now on.
    void on(const QByteArray &route, const Answer &answer);
    void on(const QByteArray &route, const QByteArray &body) { on(route, {.body = body}); }
    /// Sends the held answers, oldest first.
    void release();

    const QList<Request> &requests() const { return m_requests; }
    QList<Request> requestsTo(const QByteArray &route) const;

signals:
    void received();

private:
    void read(QTcpSocket *socket);
    bool takeRequest(QTcpSocket *socket);
    static void send(QTcpSocket *socket, const Answer &answer);

    struct HeldAnswer
    {
        QPointer<QTcpSocket> socket;
        Answer answer;
    };

    QTcpServer m_server;
    QHash<QTcpSocket *, QByteArray> m_input;
    QHash<QByteArray, Answer> m_answers;
    QList<HeldAnswer> m_held;
    QList<Request> m_requests;
};
