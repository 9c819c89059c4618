#include "state/StateFile.h"

#include <QDir>
#include <QJsonDocument>
#include <QSaveFile>

namespace demo {

StateFile::StateFile(const QString &folder, QObject *parent)
    : QObject(parent)
    , m_path(QDir(folder).filePath("recorder.json"))
    , m_lock(QDir(folder).filePath("recorder.lock"))
{
    m_lock.setStaleLockTime(0);
    m_saveTimer.setSingleShot(true);
    connect(&m_saveTimer, &QTimer::timeout, this, &StateFile::save);
}

StateFile::~StateFile()
{
    if (m_saveTimer.isActive())
        save();
}

bool StateFile::load(QString *error)
{
    const QString folder = QFileInfo(m_path).path();
    if (!QDir().mkpath(folder)) {
        *error = tr("The data folder %1 cannot be created").arg(folder);
        return false;
    }
    if (!m_lock.tryLock(0)) {
        *error = m_lock.error() == QLockFile::LockFailedError
            ? tr("Another recorder works in the data folder %1").arg(folder)
            : tr("The data folder %1 cannot be written to").arg(folder);
        return false;
    }
    QFile file(m_path);
    if (!file.exists())
        return true;
    if (!file.open(QIODevice::ReadOnly)) {
        *error = tr("%1 cannot be read: %2").arg(m_path, file.errorString());
        return false;
    }
    QJsonParseError fault;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &fault);
    if (!document.isObject()) {
        *error = tr("%1 is damaged (%2); move it away to start anew").arg(m_path, fault.errorString());
        return false;
    }
    m_root = document.object();
    return true;
}

void StateFile::setSection(const QString &name, const QJsonValue &value)
{
    m_root.insert(name, value);
    m_saveTimer.start(0);
}

void StateFile::save()
{
    m_saveTimer.stop();
    QSaveFile file(m_path);
    const QByteArray text = QJsonDocument(m_root).toJson();
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit())
        qWarning("%s cannot be written: %s", qUtf8Printable(m_path), qUtf8Printable(file.errorString()));
}

} // namespace demo
