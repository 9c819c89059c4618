#pragma once

#include <QAbstractListModel>
#include <QDeadlineTimer>
#include <QHash>
#include <QList>
#include <QTimer>
#include <QVariantList>

// The live stream views that exist at a time, one row per camera. The grid hands over where its cameras sit;
// rows are matched by camera id and changed in place, so that a camera keeps its row, and with it its view
// and its running streams, through every change of layout. A camera that leaves the grid is parked, hidden
// but still streaming, and removed only when the grace period has passed without it coming back.
class StreamPoolModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role {
        CameraIdRole = Qt::UserRole + 1,
        XRole,
        YRole,
        WidthRole,
        HeightRole,
        VisibleRole,
        PreferMainRole,
        SuspendedRole,
        HasSubRole,
        ZRole,
    };

    explicit StreamPoolModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    // "cameraId", "x", "y", "w", "h", "visible", "preferMain", "suspended", "hasSub", "z".
    QHash<int, QByteArray> roleNames() const override;

    // How long a parked camera keeps its row, 300000 ms by default; counts for cameras parked from now on.
    int parkGraceMs() const { return m_parkGraceMs; }
    void setParkGraceMs(int parkGraceMs);

    // Reconciles the rows with the placements: a list of maps with the role names as keys. Of several
    // placements of one camera the first holds; entries without a camera id are left out.
    Q_INVOKABLE void sync(const QVariantList &placements);
    // Drops every row at once, parked ones too.
    Q_INVOKABLE void clear();
    // The state last reported for a camera; empty when the camera has no row.
    Q_INVOKABLE QString displayStateFor(const QString &cameraId) const;
    // Stores a camera's state and, when it is a new one, emits streamStateChanged.
    Q_INVOKABLE void reportDisplayState(const QString &cameraId, const QString &state);

signals:
    void streamStateChanged(const QString &cameraId, const QString &state);
    // The camera's row is gone: its grace period has passed, or all rows were dropped.
    void cameraRemoved(const QString &cameraId);

private:
    struct Placement
    {
        double x = 0;
        double y = 0;
        double w = 0;
        double h = 0;
        bool visible = false;
        bool preferMain = false;
        bool suspended = false;
        bool hasSub = false;
        int z = 0;
    };
    struct Row
    {
        QString cameraId;
        Placement placement;
        QString displayState;
        bool parked = false;
        QDeadlineTimer parkDeadline;
    };

    static Placement placementFrom(const QVariantMap &map);
    static QVariant fieldOf(const Placement &placement, int role);
    void park(int row);
    void place(int row, const Placement &placement);
    void append(const QList<Row> &rows);
    void remove(int row);
    void rescheduleSweep();
    void sweep();

    QList<Row> m_rows;
    QHash<QString, int> m_rowOfCamera;
    int m_parkGraceMs = 300000;
    QTimer m_sweepTimer;
};
