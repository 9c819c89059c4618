#pragma once

#include <QSortFilterProxyModel>

// Narrows a camera list by a search text: a camera is shown when its name contains the text, ignoring case.
// Rows keep the order of the source model.
class CameraFilterModel : public QSortFilterProxyModel
{
    Q_OBJECT
    Q_PROPERTY(QString filterText READ filterText WRITE setFilterText NOTIFY filterTextChanged)

public:
    explicit CameraFilterModel(QObject *parent = nullptr);

    // Empty shows every camera.
    QString filterText() const { return m_filterText; }
    void setFilterText(const QString &filterText);

    // The camera id of a row of this model, empty when the index is out of range.
    Q_INVOKABLE QString cameraIdAt(int index) const;

signals:
    void filterTextChanged();

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const override;

private:
    QString m_filterText;
};
