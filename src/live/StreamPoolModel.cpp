#include "live/StreamPoolModel.h"

#include "app/Logging.h"

#include <QSet>

#include <algorithm>
#include <utility>

StreamPoolModel::StreamPoolModel(QObject *parent)
    : QAbstractListModel(parent)
{
    m_sweepTimer.setSingleShot(true);
    connect(&m_sweepTimer, &QTimer::timeout, this, &StreamPoolModel::sweep);
}

int StreamPoolModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant StreamPoolModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const Row &row = m_rows.at(index.row());
    return role == CameraIdRole ? row.cameraId : fieldOf(row.placement, role);
}

QHash<int, QByteArray> StreamPoolModel::roleNames() const
{
    return {{CameraIdRole, "cameraId"}, {XRole, "x"}, {YRole, "y"}, {WidthRole, "w"}, {HeightRole, "h"},
        {VisibleRole, "visible"}, {PreferMainRole, "preferMain"}, {SuspendedRole, "suspended"},
        {HasSubRole, "hasSub"}, {ZRole, "z"}};
}

void StreamPoolModel::setParkGraceMs(int parkGraceMs)
{
    m_parkGraceMs = std::max(parkGraceMs, 0);
}

void StreamPoolModel::sync(const QVariantList &placements)
{
    QList<Row> wanted;
    QSet<QString> wantedIds;
    for (const QVariant &entry : placements) {
        const QVariantMap map = entry.toMap();
        const QString cameraId = map.value(QStringLiteral("cameraId")).toString();
        if (cameraId.isEmpty() || wantedIds.contains(cameraId))
            continue;
        wantedIds.insert(cameraId);
        wanted.append({cameraId, placementFrom(map), {}, false, {}});
    }

    for (int row = 0; row < m_rows.size(); ++row) {
        if (!m_rows.at(row).parked && !wantedIds.contains(m_rows.at(row).cameraId))
            park(row);
    }
    QList<Row> added;
    for (const Row &row : std::as_const(wanted)) {
        const int existing = m_rowOfCamera.value(row.cameraId, -1);
        if (existing >= 0)
            place(existing, row.placement);
        else
            added.append(row);
    }
    append(added);
    rescheduleSweep();
}

void StreamPoolModel::clear()
{
    m_sweepTimer.stop();
    if (m_rows.isEmpty())
        return;
    qCInfo(lcStream, "[pool] remove all streams (%d rows)", rowCount());
    beginResetModel();
    const QList<Row> removed = std::exchange(m_rows, {});
    m_rowOfCamera.clear();
    endResetModel();
    for (const Row &row : removed)
        emit cameraRemoved(row.cameraId);
}

QString StreamPoolModel::displayStateFor(const QString &cameraId) const
{
    const int row = m_rowOfCamera.value(cameraId, -1);
    return row < 0 ? QString() : m_rows.at(row).displayState;
}

void StreamPoolModel::reportDisplayState(const QString &cameraId, const QString &state)
{
    const int row = m_rowOfCamera.value(cameraId, -1);
    if (row < 0 || m_rows.at(row).displayState == state)
        return;
    m_rows[row].displayState = state;
    emit streamStateChanged(cameraId, state);
}

StreamPoolModel::Placement StreamPoolModel::placementFrom(const QVariantMap &map)
{
    return {map.value(QStringLiteral("x")).toDouble(), map.value(QStringLiteral("y")).toDouble(),
        map.value(QStringLiteral("w")).toDouble(), map.value(QStringLiteral("h")).toDouble(),
        map.value(QStringLiteral("visible")).toBool(), map.value(QStringLiteral("preferMain")).toBool(),
        map.value(QStringLiteral("suspended")).toBool(), map.value(QStringLiteral("hasSub")).toBool(),
        map.value(QStringLiteral("z")).toInt()};
}

QVariant StreamPoolModel::fieldOf(const Placement &placement, int role)
{
    switch (role) {
    case XRole:
        return placement.x;
    case YRole:
        return placement.y;
    case WidthRole:
        return placement.w;
    case HeightRole:
        return placement.h;
    case VisibleRole:
        return placement.visible;
    case PreferMainRole:
        return placement.preferMain;
    case SuspendedRole:
        return placement.suspended;
    case HasSubRole:
        return placement.hasSub;
    case ZRole:
        return placement.z;
    default:
        return {};
    }
}

void StreamPoolModel::park(int row)
{
    Row &parked = m_rows[row];
    parked.parked = true;
    parked.parkDeadline = QDeadlineTimer(m_parkGraceMs);
    parked.placement.visible = false;
    parked.placement.z = 0;
    qCInfo(lcStream, "[pool] park stream %ls (teardown in %ds unless revived)",
        qUtf16Printable(parked.cameraId), m_parkGraceMs / 1000);
    emit dataChanged(index(row), index(row), {VisibleRole, ZRole});
}

void StreamPoolModel::place(int row, const Placement &placement)
{
    Row &placed = m_rows[row];
    if (placed.parked) {
        placed.parked = false;
        qCInfo(lcStream, "[pool] revive stream %ls (still connected)", qUtf16Printable(placed.cameraId));
    }
    QList<int> changedRoles;
    for (int role = XRole; role <= ZRole; ++role) {
        if (fieldOf(placed.placement, role) != fieldOf(placement, role))
            changedRoles.append(role);
    }
    if (changedRoles.isEmpty())
        return;
    placed.placement = placement;
    emit dataChanged(index(row), index(row), changedRoles);
}

void StreamPoolModel::append(const QList<Row> &rows)
{
    if (rows.isEmpty())
        return;
    const int first = rowCount();
    beginInsertRows({}, first, first + static_cast<int>(rows.size()) - 1);
    for (const Row &row : rows) {
        const int before = rowCount();
        qCInfo(lcStream, "[pool] add stream %ls (rows %d -> %d)", qUtf16Printable(row.cameraId), before,
            before + 1);
        m_rowOfCamera.insert(row.cameraId, before);
        m_rows.append(row);
    }
    endInsertRows();
}

void StreamPoolModel::remove(int row)
{
    const QString cameraId = m_rows.at(row).cameraId;
    qCInfo(lcStream, "[pool] remove stream %ls (park grace expired)", qUtf16Printable(cameraId));
    beginRemoveRows({}, row, row);
    m_rows.removeAt(row);
    m_rowOfCamera.remove(cameraId);
    for (int moved = row; moved < m_rows.size(); ++moved)
        m_rowOfCamera[m_rows.at(moved).cameraId] = moved;
    endRemoveRows();
    emit cameraRemoved(cameraId);
}

void StreamPoolModel::rescheduleSweep()
{
    qint64 remainingMs = -1;
    for (const Row &row : std::as_const(m_rows)) {
        if (!row.parked)
            continue;
        const qint64 rowRemainingMs = std::max<qint64>(row.parkDeadline.remainingTime(), 0);
        remainingMs = remainingMs < 0 ? rowRemainingMs : std::min(remainingMs, rowRemainingMs);
    }
    if (remainingMs < 0)
        m_sweepTimer.stop();
    else
        m_sweepTimer.start(static_cast<int>(remainingMs + 1));
}

void StreamPoolModel::sweep()
{
    for (int row = rowCount() - 1; row >= 0; --row) {
        if (m_rows.at(row).parked && m_rows.at(row).parkDeadline.hasExpired())
            remove(row);
    }
    rescheduleSweep();
}
