#pragma once

#include "net/ReconnectingWs.h"

#include <QString>
#include <QVariantMap>

/**
 * The event channel: the server pushes camera statuses, changes of the camera list and incidents over it.
 * Known to QML as `wsClient`, which shows whether it is connected. Frames that are not understood are
 * dropped.
 */
class WSClient : public ReconnectingWs
{
    Q_OBJECT

public:
    explicit WSClient(QObject *parent = nullptr);

    /// Opens the channel at `url` (see eventChannelUrl) with this access token, in place of what was open
    /// before. Both are kept for reconnecting; without either, a reconnect does nothing and is the last.
    Q_INVOKABLE void connectTo(const QString &url, const QString &token);

    /// Replaces the token for the next reconnect; a connection that is open stays as it is.
    Q_INVOKABLE void setToken(const QString &token);

    /// The channel's address of a server: "wss" for "https", else "ws", the same host and port, and
    /// "/client-api/ws" in place of everything that follows.
    Q_INVOKABLE static QString eventChannelUrl(const QString &serverUrl);

signals:
    void cameraStatusChanged(const QString &cameraId, const QString &state, const QString &error);
    void cameraAdded(const QString &cameraId);
    void cameraUpdated(const QString &cameraId);
    void cameraDeleted(const QString &cameraId);
    /// An incident as the server sent it; `isNew` tells a new one from one that changed.
    void incidentReceived(const QVariantMap &data, bool isNew);
    /// A reconnect is near: whoever knows the current token calls setToken() from a slot, at once.
    void needsToken();

protected:
    void reconnect() override;
    void handleTextMessage(const QString &message) override;
    void onConnected() override;
    void onDisconnected(bool intentional) override;
    void onReconnectScheduled() override;

private:
    QString m_url;
    QString m_token;
};
