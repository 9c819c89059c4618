#include "net/WSClient.h"

#include "app/CrashReporting.h"
#include "app/Logging.h"
#include "net/Json.h"
#include "net/Records.h"
#include "net/Requests.h"

#include <QHash>

WSClient::WSClient(QObject *parent)
    : ReconnectingWs(parent)
{
}

void WSClient::connectTo(const QString &url, const QString &token)
{
    m_url = url;
    m_token = token;
    open(Requests::authorized(QUrl(url), token));
}

void WSClient::setToken(const QString &token)
{
    m_token = token;
}

QString WSClient::eventChannelUrl(const QString &serverUrl)
{
    const QUrl server(serverUrl);
    QUrl channel;
    channel.setScheme(server.scheme() == u"https" ? QStringLiteral("wss") : QStringLiteral("ws"));
    channel.setHost(server.host());
    channel.setPort(server.port());
    channel.setPath(QStringLiteral("/client-api/ws"));
    return channel.toString();
}

void WSClient::reconnect()
{
    if (m_url.isEmpty() || m_token.isEmpty()) {
        return;
    }
    connectTo(m_url, m_token);
}

void WSClient::handleTextMessage(const QString &message)
{
    using Raise = void (*)(WSClient * client, const QJsonObject &data);
    static const QHash<QString, Raise> events{
        {QStringLiteral("camera_status"),
            [](WSClient *client, const QJsonObject &data) {
                const auto status = CameraStatusData::fromJson(data);
                qCInfo(lcStatus).noquote()
                    << QStringLiteral("WS camera_status: id=%1 state=%2 error=%3")
                           .arg(status.cameraId, status.state, redactUrl(status.error));
                emit client->cameraStatusChanged(status.cameraId, status.state, status.error);
            }},
        {QStringLiteral("camera_added"),
            [](WSClient *client, const QJsonObject &data) {
                emit client->cameraAdded(data[u"id"].toString());
            }},
        {QStringLiteral("camera_updated"),
            [](WSClient *client, const QJsonObject &data) {
                emit client->cameraUpdated(data[u"id"].toString());
            }},
        {QStringLiteral("camera_deleted"),
            [](WSClient *client, const QJsonObject &data) {
                emit client->cameraDeleted(data[u"camera_id"].toString());
            }},
        {QStringLiteral("incident"),
            [](WSClient *client, const QJsonObject &data) {
                emit client->incidentReceived(data.toVariantMap(), true);
            }},
        {QStringLiteral("incident_updated"),
            [](WSClient *client, const QJsonObject &data) {
                emit client->incidentReceived(data.toVariantMap(), false);
            }},
    };

    const auto frame = Json::object(message.toUtf8());
    if (!frame) {
        return;
    }
    const auto event = events.constFind(frame->value(u"type").toString());
    if (event != events.cend()) {
        (*event)(this, frame->value(u"data").toObject());
    }
}

void WSClient::onConnected()
{
    addBreadcrumb(QStringLiteral("ws"), QStringLiteral("connected"), QStringLiteral("info"));
}

void WSClient::onDisconnected(bool intentional)
{
    if (intentional) {
        addBreadcrumb(
            QStringLiteral("ws"), QStringLiteral("disconnected (intentional)"), QStringLiteral("info"));
    } else {
        addBreadcrumb(
            QStringLiteral("ws"), QStringLiteral("disconnected, will reconnect"), QStringLiteral("warning"));
    }
}

void WSClient::onReconnectScheduled()
{
    emit needsToken();
}
