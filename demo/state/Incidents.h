#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QUrlQuery>

namespace demo {

class StateFile;

/// The incidents raised so far, newest first; the last thousand are kept in the state file.
class Incidents : public QObject
{
    Q_OBJECT

public:
    explicit Incidents(StateFile &state, QObject *parent = nullptr);

    /// Raises an incident of the given members ("title", "description", "severity", "camera_id", "zone",
    /// ...); the rest gets its usual value.
    QJsonObject raise(const QJsonObject &members, const QString &source);
    /// An open incident becomes "acked". An empty object when there is no such incident.
    QJsonObject acknowledge(const QString &id);
    /// An incident becomes "resolved". An empty object when there is no such incident.
    QJsonObject resolve(const QString &id, const QString &resolution, bool falsePositive);

    /// Those that match: "status" (a comma-separated list), "camera_id", "severity_min", "from", "to",
    /// "search" and "limit"; an item that is empty or unknown does not narrow.
    QJsonArray matching(const QUrlQuery &filter) const;

signals:
    void raised(const QJsonObject &incident);
    void updated(const QJsonObject &incident);

private:
    QJsonObject change(const QString &id, const QJsonObject &members);
    void store();

    StateFile &m_state;
    QList<QJsonObject> m_incidents;
};

} // namespace demo
