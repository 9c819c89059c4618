#pragma once

#include "live/CameraListModel.h"
#include "net/ApiClient.h"

#include <QDateTime>
#include <QTcpServer>
#include <QVariantList>

// Fills the camera list of the tests as the server would.
class CameraFeed : public QObject
{
    Q_OBJECT

public:
    CameraFeed(CameraListModel *cameras, QObject *parent)
        : QObject(parent)
        , m_cameras(cameras)
    {
    }

    // Lists "cam1" to "cam<count>", named "Camera 1" and so on or by another word; every even one has a sub
    // stream.
    Q_INVOKABLE void list(int count, const QString &word = QStringLiteral("Camera"))
    {
        QList<CameraData> cameras(count);
        for (int i = 0; i < count; ++i) {
            cameras[i].id = QStringLiteral("cam%1").arg(i + 1);
            cameras[i].name = QStringLiteral("%1 %2").arg(word).arg(i + 1);
            cameras[i].hasSubStream = i % 2 == 1;
        }
        m_cameras->setCameras(cameras);
    }
    Q_INVOKABLE void setState(const QString &cameraId, const QString &state)
    {
        m_cameras->updateStatus(cameraId, state, {});
    }

private:
    CameraListModel *m_cameras;
};

// Answers the timeline model in the server's place: the server itself stays silent. Times are in ms since the
// epoch.
class ArchiveFeed : public QObject
{
    Q_OBJECT

public:
    explicit ArchiveFeed(QObject *parent)
        : QObject(parent)
        , m_client(new ApiClient(this))
    {
        m_silentServer.listen(QHostAddress::LocalHost);
        m_client->checkStatus(QStringLiteral("http://127.0.0.1:%1").arg(m_silentServer.serverPort()));
    }

    ApiClient *client() { return m_client; }

    Q_INVOKABLE void giveRange(const QString &cameraId, qint64 earliest, qint64 latest)
    {
        const auto instant = [](qint64 ms) { return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC); };
        emit m_client->recordingRangeReceived(cameraId, {instant(earliest), instant(latest), latest > 0});
    }
    Q_INVOKABLE void giveBatch(const QVariantMap &perCamera, const QVariantList &merged)
    {
        emit m_client->batchTimelineReceived(perCamera, merged, {});
    }

private:
    QTcpServer m_silentServer;
    ApiClient *m_client;
};
