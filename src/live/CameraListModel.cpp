#include "live/CameraListModel.h"

#include "app/Logging.h"

CameraListModel::CameraListModel(QObject *parent)
    : QAbstractListModel(parent)
{
}

int CameraListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant CameraListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const Row &row = m_rows.at(index.row());
    switch (role) {
    case CameraIdRole:
        return row.camera.id;
    case CameraNameRole:
        return row.camera.name;
    case IpAddressRole:
        return row.camera.ipAddress;
    case EnabledRole:
        return row.camera.enabled;
    case HasSubStreamRole:
        return row.camera.hasSubStream;
    case StateRole:
        return row.state;
    case CameraErrorRole:
        return row.error;
    default:
        return {};
    }
}

QHash<int, QByteArray> CameraListModel::roleNames() const
{
    return {
        {CameraIdRole, "cameraId"},
        {CameraNameRole, "cameraName"},
        {IpAddressRole, "ipAddress"},
        {EnabledRole, "enabled"},
        {HasSubStreamRole, "hasSubStream"},
        {StateRole, "state"},
        {CameraErrorRole, "cameraError"},
    };
}

void CameraListModel::setCameras(const QList<CameraData> &cameras)
{
    beginResetModel();
    m_rows.clear();
    m_rows.reserve(cameras.size());
    m_rowOfCamera.clear();
    m_rowOfCamera.reserve(cameras.size());
    for (const CameraData &camera : cameras) {
        if (!m_rowOfCamera.contains(camera.id))
            m_rowOfCamera.insert(camera.id, count());
        m_rows.append({camera, {}, {}});
    }
    endResetModel();
    emit countChanged();
}

void CameraListModel::updateStatuses(const QList<CameraStatusData> &statuses)
{
    qsizetype matched = 0;
    for (const CameraStatusData &status : statuses) {
        const int row = rowOf(status.cameraId);
        if (row < 0) {
            qCDebug(lcStatus, "updateStatuses: no camera for id=%ls state=%ls (not in model)",
                qUtf16Printable(status.cameraId), qUtf16Printable(status.state));
            continue;
        }
        ++matched;
        qCDebug(lcStatus, "updateStatuses: id=%ls state=%ls error=%ls", qUtf16Printable(status.cameraId),
            qUtf16Printable(status.state), qUtf16Printable(redactUrl(status.error)));
        applyStatus(row, status.state, status.error);
    }
    qCInfo(lcStatus, "updateStatuses: %lld received, %lld matched, %lld unmatched, model has %d cameras",
        qlonglong(statuses.size()), qlonglong(matched), qlonglong(statuses.size() - matched), count());
}

void CameraListModel::updateStatus(const QString &cameraId, const QString &state, const QString &error)
{
    const int row = rowOf(cameraId);
    if (row < 0) {
        qCInfo(lcStatus, "updateStatus(WS): no camera for id=%ls state=%ls (not in model)",
            qUtf16Printable(cameraId), qUtf16Printable(state));
        return;
    }
    qCInfo(lcStatus, "updateStatus(WS): id=%ls state=%ls error=%ls", qUtf16Printable(cameraId),
        qUtf16Printable(state), qUtf16Printable(redactUrl(error)));
    applyStatus(row, state, error);
}

QString CameraListModel::cameraIdAt(int index) const
{
    return index >= 0 && index < count() ? m_rows.at(index).camera.id : QString();
}

QString CameraListModel::cameraNameById(const QString &id) const
{
    const int row = rowOf(id);
    return row < 0 ? QString() : m_rows.at(row).camera.name;
}

QString CameraListModel::cameraStateById(const QString &id) const
{
    const int row = rowOf(id);
    return row < 0 ? QString() : m_rows.at(row).state;
}

bool CameraListModel::cameraHasSubStreamById(const QString &id) const
{
    const int row = rowOf(id);
    return row >= 0 && m_rows.at(row).camera.hasSubStream;
}

bool CameraListModel::hasCameraById(const QString &id) const
{
    return rowOf(id) >= 0;
}

QStringList CameraListModel::cameraIds() const
{
    QStringList ids;
    ids.reserve(m_rows.size());
    for (const Row &row : m_rows)
        ids.append(row.camera.id);
    return ids;
}

int CameraListModel::rowOf(const QString &cameraId) const
{
    return m_rowOfCamera.value(cameraId, -1);
}

void CameraListModel::applyStatus(int row, const QString &state, const QString &error)
{
    Row &changed = m_rows[row];
    if (state == changed.state && error == changed.error)
        return;
    changed.state = state;
    changed.error = error;
    const QString cameraId = changed.camera.id;
    emit dataChanged(index(row), index(row), {StateRole, CameraErrorRole});
    emit cameraStateChanged(cameraId, state, error);
}
