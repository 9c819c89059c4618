#pragma once

#include "state/Camera.h"

#include <QList>
#include <QObject>

namespace demo {

class StateFile;

/// The recorder's cameras, kept in the state file; their states live only while the recorder runs.
class Cameras : public QObject
{
    Q_OBJECT

public:
    explicit Cameras(StateFile &state, QObject *parent = nullptr);

    /// Adds or removes cameras at the end until there are so many.
    void setCount(int count);

    const QList<Camera> &all() const { return m_cameras; }
    const Camera *byId(const QString &id) const;
    const Camera *byNumber(int number) const;

    /// An empty name picks one.
    const Camera &add(const QString &name, bool hasSubStream);
    bool rename(const QString &id, const QString &name);
    bool setEnabled(const QString &id, bool enabled);
    bool remove(const QString &id);
    bool setState(const QString &id, const QString &state, const QString &error);

signals:
    void added(const QString &id);
    void updated(const QString &id);
    void removed(const QString &id);
    void stateChanged(const QString &id);

private:
    Camera *find(const QString &id);
    void append(const QString &name, bool hasSubStream);
    void store();

    StateFile &m_state;
    QList<Camera> m_cameras;
    int m_nextNumber = 1;
};

} // namespace demo
