#include "live/CameraFilterModel.h"

#include "live/CameraListModel.h"

#include <QSignalBlocker>

CameraFilterModel::CameraFilterModel(QObject *parent)
    : QSortFilterProxyModel(parent)
{
    setFilterRole(CameraListModel::CameraNameRole);
}

void CameraFilterModel::setFilterText(const QString &filterText)
{
    if (filterText == m_filterText)
        return;
    // Announced as one reset: thousands of scattered row ranges would each cost every attached view a pass.
    beginResetModel();
    m_filterText = filterText;
    {
        const QSignalBlocker blocker(this);
        invalidate();
    }
    endResetModel();
    emit filterTextChanged();
}

QString CameraFilterModel::cameraIdAt(int index) const
{
    return data(this->index(index, 0), CameraListModel::CameraIdRole).toString();
}

bool CameraFilterModel::filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const
{
    const QModelIndex row = sourceModel()->index(sourceRow, 0, sourceParent);
    return m_filterText.isEmpty()
        || row.data(CameraListModel::CameraNameRole).toString().contains(m_filterText, Qt::CaseInsensitive);
}
