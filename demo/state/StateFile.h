#pragma once

#include <QJsonObject>
#include <QLockFile>
#include <QObject>
#include <QTimer>

namespace demo {

/**
 * The recorder's memory: one JSON document in the data folder, replaced atomically. The folder is this
 * recorder's alone from load() on.
 *
 * Every owner of a section sets it whole; changes are written together at the next turn of the event loop.
 */
class StateFile : public QObject
{
    Q_OBJECT

public:
    /// @param folder the data folder; created when missing.
    explicit StateFile(const QString &folder, QObject *parent = nullptr);
    ~StateFile() override;

    /// Reads the document; a missing file is an empty state. On an unreadable or damaged file, or when
    /// another recorder works in the folder, returns false with a message for the person at the terminal, and
    /// leaves the file alone.
    bool load(QString *error);

    QJsonValue section(const QString &name) const { return m_root.value(name); }
    void setSection(const QString &name, const QJsonValue &value);

private:
    void save();

    QString m_path;
    QLockFile m_lock;
    QJsonObject m_root;
    QTimer m_saveTimer;
};

} // namespace demo
