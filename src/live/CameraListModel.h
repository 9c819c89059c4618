#pragma once

#include "net/Records.h"

#include <QAbstractListModel>
#include <QHash>
#include <QList>
#include <QStringList>

// The cameras that the signed-in user may see, in the server's order, each with its live status. One instance
// serves the whole program. Lookups by id are indexed; of several rows with one id the first is the camera.
class CameraListModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    enum Role {
        CameraIdRole = Qt::UserRole + 1,
        CameraNameRole,
        IpAddressRole,
        EnabledRole,
        HasSubStreamRole,
        StateRole,
        CameraErrorRole,
    };

    explicit CameraListModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    // "cameraId", "cameraName", "ipAddress", "enabled", "hasSubStream", "state", "cameraError".
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return static_cast<int>(m_rows.size()); }

    // Resets the model to exactly these cameras; their statuses are empty until the next ones arrive.
    void setCameras(const QList<CameraData> &cameras);
    // Applies one poll of statuses. Those of unknown cameras are logged and dropped.
    void updateStatuses(const QList<CameraStatusData> &statuses);
    // Applies one pushed status. An unknown camera is logged and ignored.
    void updateStatus(const QString &cameraId, const QString &state, const QString &error);

    // Empty when the index is out of range.
    Q_INVOKABLE QString cameraIdAt(int index) const;
    // Empty, or false, for an unknown id.
    Q_INVOKABLE QString cameraNameById(const QString &id) const;
    Q_INVOKABLE QString cameraStateById(const QString &id) const;
    Q_INVOKABLE bool cameraHasSubStreamById(const QString &id) const;
    Q_INVOKABLE bool hasCameraById(const QString &id) const;
    // All ids in row order.
    Q_INVOKABLE QStringList cameraIds() const;

signals:
    void countChanged();
    // A camera's status has really changed; follows the row's dataChanged.
    void cameraStateChanged(const QString &cameraId, const QString &state, const QString &error);

private:
    struct Row
    {
        CameraData camera;
        QString state;
        QString error;
    };

    int rowOf(const QString &cameraId) const;
    void applyStatus(int row, const QString &state, const QString &error);

    QList<Row> m_rows;
    QHash<QString, int> m_rowOfCamera;
};
