#pragma once

#include "live/CameraListModel.h"

#include <QObject>
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

    // Lists "cam1" to "cam<count>", named "Camera 1" and so on; every even one has a sub stream.
    Q_INVOKABLE void list(int count)
    {
        QList<CameraData> cameras(count);
        for (int i = 0; i < count; ++i) {
            cameras[i].id = QStringLiteral("cam%1").arg(i + 1);
            cameras[i].name = QStringLiteral("Camera %1").arg(i + 1);
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
