#pragma once

#include <QObject>
#include <QTimer>

class QNetworkRequest;
class QWebSocket;

/**
 * A WebSocket that is kept open: when it is lost, or cannot be opened, it is opened again after a wait that
 * doubles from 1 s to 30 s and starts over with every connection. What to open and what the messages mean is
 * left to the subclass.
 *
 * Every attempt ends in exactly one disconnect, whether the connection was refused, answered with something
 * other than an upgrade, not answered within 15 s, or lost later.
 */
class ReconnectingWs : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool connected READ isConnected NOTIFY connectionChanged)

public:
    explicit ReconnectingWs(QObject *parent = nullptr);
    ~ReconnectingWs() override;

    bool isConnected() const { return m_connected; }

    /// Closes on purpose, with code 1000; nothing is opened again until the next open().
    Q_INVOKABLE void disconnect();

signals:
    void connectionChanged();

protected:
    /// Opens the socket. A connection, or an attempt, of before is dropped without counting as a disconnect.
    void open(const QNetworkRequest &request);

    /// The wait is over: open again.
    virtual void reconnect() = 0;
    virtual void handleTextMessage(const QString &message) = 0;
    virtual void onConnected() { }
    virtual void onDisconnected(bool intentional);
    /// The wait is about to begin.
    virtual void onReconnectScheduled() { }

private:
    void discardSocket();
    void setConnected(bool connected);
    void handleConnected();
    void handleDisconnected();

    QWebSocket *m_socket = nullptr;
    QTimer m_reconnectTimer{this};
    QTimer m_answerTimer{this};
    bool m_connected = false;
    int m_reconnectDelayMs;
    bool m_intentionalClose = false;
};
