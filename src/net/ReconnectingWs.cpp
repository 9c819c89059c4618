#include "net/ReconnectingWs.h"

#include <QNetworkRequest>
#include <QWebSocket>

#include <algorithm>
#include <utility>

namespace {

constexpr int firstDelayMs = 1000;
constexpr int longestDelayMs = 30'000;
constexpr int answerTimeoutMs = 15'000;
constexpr quint64 longestMessage = 16ULL * 1024 * 1024;

} // namespace

ReconnectingWs::ReconnectingWs(QObject *parent)
    : QObject(parent)
    , m_reconnectDelayMs(firstDelayMs)
{
    m_reconnectTimer.setObjectName(QStringLiteral("reconnectTimer"));
    m_reconnectTimer.setSingleShot(true);
    connect(&m_reconnectTimer, &QTimer::timeout, this, [this] { reconnect(); });

    m_answerTimer.setObjectName(QStringLiteral("answerTimer"));
    m_answerTimer.setSingleShot(true);
    m_answerTimer.setInterval(answerTimeoutMs);
    connect(&m_answerTimer, &QTimer::timeout, this, &ReconnectingWs::handleDisconnected);
}

ReconnectingWs::~ReconnectingWs()
{
    discardSocket();
}

void ReconnectingWs::open(const QNetworkRequest &request)
{
    m_intentionalClose = false;
    m_reconnectTimer.stop();
    discardSocket();
    setConnected(false);

    m_socket = new QWebSocket(QString(), QWebSocketProtocol::Version13, this);
    m_socket->setMaxAllowedIncomingMessageSize(longestMessage);
    m_socket->setMaxAllowedIncomingFrameSize(longestMessage);
    connect(m_socket, &QWebSocket::connected, this, &ReconnectingWs::handleConnected);
    connect(m_socket, &QWebSocket::disconnected, this, &ReconnectingWs::handleDisconnected);
    connect(m_socket, &QWebSocket::textMessageReceived, this, &ReconnectingWs::handleTextMessage);
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    connect(m_socket, &QWebSocket::errorOccurred, this, &ReconnectingWs::handleDisconnected);
#else
    connect(m_socket, qOverload<QAbstractSocket::SocketError>(&QWebSocket::error), this,
        &ReconnectingWs::handleDisconnected);
#endif
    m_answerTimer.start();
    m_socket->open(request);
}

void ReconnectingWs::disconnect()
{
    m_intentionalClose = true;
    m_reconnectTimer.stop();
    if (!m_socket) {
        return;
    }
    if (!m_connected) {
        handleDisconnected();
        return;
    }
    QObject::disconnect(m_socket, &QWebSocket::textMessageReceived, this, nullptr);
    m_answerTimer.start();
    m_socket->close(QWebSocketProtocol::CloseCodeNormal);
}

void ReconnectingWs::onDisconnected(bool intentional)
{
    Q_UNUSED(intentional)
}

void ReconnectingWs::discardSocket()
{
    m_answerTimer.stop();
    if (QWebSocket *socket = std::exchange(m_socket, nullptr)) {
        socket->QObject::disconnect(this);
        if (m_connected) {
            socket->close(QWebSocketProtocol::CloseCodeNormal);
        }
        socket->abort();
        socket->deleteLater();
    }
}

void ReconnectingWs::setConnected(bool connected)
{
    if (m_connected == connected) {
        return;
    }
    m_connected = connected;
    emit connectionChanged();
}

void ReconnectingWs::handleConnected()
{
    m_answerTimer.stop();
    m_reconnectDelayMs = firstDelayMs;
    setConnected(true);
    onConnected();
}

void ReconnectingWs::handleDisconnected()
{
    discardSocket();
    m_connected = false;
    emit connectionChanged();

    const auto isSettled = [this] { return m_intentionalClose || m_socket; };
    onDisconnected(m_intentionalClose);
    if (isSettled()) {
        return;
    }
    onReconnectScheduled();
    if (isSettled()) {
        return;
    }
    m_reconnectTimer.start(m_reconnectDelayMs);
    m_reconnectDelayMs = std::min(2 * std::max(m_reconnectDelayMs, 1), longestDelayMs);
}
