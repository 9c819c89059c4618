#pragma once

#include <QFile>
#include <QHash>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

// A camera on a free loopback port: sends the minute of MPEG-TS in a file, 15 frames a second, to whoever
// connects, at its own pace, for as long as it is not silent.
class ClipCamera : public QObject
{
public:
    explicit ClipCamera(const QString &clip, bool speaks = true)
        : m_speaks(speaks)
    {
        QFile file(clip);
        if (!file.open(QFile::ReadOnly) || !m_server.listen(QHostAddress::LocalHost))
            qFatal("no clip or no port");
        m_stream = file.readAll();
        m_pace.setTimerType(Qt::PreciseTimer);
        connect(&m_pace, &QTimer::timeout, this, &ClipCamera::send);
        m_pace.start(paceMs);
    }

    QString url() const { return QString("tcp://127.0.0.1:%1").arg(m_server.serverPort()); }
    int connections() const { return m_connections; }
    // Those that still stand.
    int watchers() const { return int(m_sent.size()); }
    void setSpeaking(bool speaks) { m_speaks = speaks; }
    // Ends every connection, as a camera does that goes away.
    void hangUp()
    {
        const auto sockets = m_sent.keys();
        for (QTcpSocket *socket : sockets)
            socket->disconnectFromHost();
    }

private:
    static constexpr int paceMs = 40;
    static constexpr int clipMs = 60000;

    void send()
    {
        while (QTcpSocket *socket = m_server.nextPendingConnection()) {
            ++m_connections;
            m_sent.insert(socket, 0);
            connect(socket, &QTcpSocket::disconnected, this, [this, socket] { m_sent.remove(socket); });
        }
        if (!m_speaks)
            return;
        const qsizetype step = m_stream.size() * paceMs / clipMs;
        for (auto it = m_sent.begin(); it != m_sent.end(); ++it)
            it.key()->write(m_stream.mid(std::exchange(it.value(), it.value() + step), step));
    }

    bool m_speaks;
    int m_connections = 0;
    QByteArray m_stream;
    QHash<QTcpSocket *, qsizetype> m_sent;
    QTcpServer m_server;
    QTimer m_pace;
};
