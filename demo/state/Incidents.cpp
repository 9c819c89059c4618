#include "state/Incidents.h"

#include "state/StateFile.h"

#include <QDateTime>
#include <QUuid>

#include <algorithm>

namespace demo {

namespace {

constexpr qsizetype maxKept = 1000;
constexpr int criticalSeverity = 8;

QString now()
{
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
}

QString levelOf(int severity)
{
    if (severity >= criticalSeverity)
        return "critical";
    return severity >= 5 ? "warning" : "info";
}

} // namespace

Incidents::Incidents(StateFile &state, QObject *parent)
    : QObject(parent)
    , m_state(state)
{
    const QJsonArray stored = state.section("incidents").toArray();
    for (const auto &value : stored)
        m_incidents.append(value.toObject());
}

QJsonObject Incidents::raise(const QJsonObject &members, const QString &source)
{
    const int severity = std::clamp(members["severity"].toInt(5), 0, 10);
    const QString instant = now();
    QJsonObject incident{{"id", QUuid::createUuid().toString(QUuid::WithoutBraces)}, {"source", source},
        {"type", "manual"}, {"title", "Motion"}, {"description", ""}, {"camera_id", ""}, {"zone", ""},
        {"status", "open"}, {"event_time", instant}, {"created_at", instant}, {"updated_at", instant},
        {"resolution", ""}};
    for (auto it = members.begin(); it != members.end(); ++it)
        incident.insert(it.key(), it.value());
    incident.insert("severity", severity);
    incident.insert("critical", severity >= criticalSeverity);
    incident.insert("level", levelOf(severity));
    m_incidents.prepend(incident);
    if (m_incidents.size() > maxKept)
        m_incidents.removeLast();
    store();
    emit raised(incident);
    return incident;
}

QJsonObject Incidents::acknowledge(const QString &id)
{
    return change(id, {{"status", "acked"}});
}

QJsonObject Incidents::resolve(const QString &id, const QString &resolution, bool falsePositive)
{
    return change(
        id, {{"status", "resolved"}, {"resolution", resolution}, {"false_positive", falsePositive}});
}

QJsonObject Incidents::change(const QString &id, const QJsonObject &members)
{
    const auto found = std::find_if(m_incidents.begin(), m_incidents.end(),
        [&id](const QJsonObject &incident) { return incident["id"].toString() == id; });
    if (found == m_incidents.end())
        return {};
    for (auto it = members.begin(); it != members.end(); ++it)
        found->insert(it.key(), it.value());
    found->insert("updated_at", now());
    store();
    QJsonObject changed = *found;
    emit updated(changed);
    return changed;
}

QJsonArray Incidents::matching(const QUrlQuery &filter) const
{
    const auto item = [&filter](const char *name) { return filter.queryItemValue(name, QUrl::FullyDecoded); };
    const QStringList statuses = item("status").split(u',', Qt::SkipEmptyParts);
    const QString cameraId = item("camera_id");
    const int minSeverity = item("severity_min").toInt();
    const QDateTime from = QDateTime::fromString(item("from"), Qt::ISODateWithMs);
    const QDateTime to = QDateTime::fromString(item("to"), Qt::ISODateWithMs);
    const QString search = item("search");
    const int limit = item("limit").toInt();

    QJsonArray matches;
    for (const QJsonObject &incident : m_incidents) {
        const QDateTime created = QDateTime::fromString(incident["created_at"].toString(), Qt::ISODateWithMs);
        if ((!statuses.isEmpty() && !statuses.contains(incident["status"].toString()))
            || (!cameraId.isEmpty() && incident["camera_id"].toString() != cameraId)
            || incident["severity"].toInt() < minSeverity || (from.isValid() && created < from)
            || (to.isValid() && created >= to)
            || !incident["title"].toString().contains(search, Qt::CaseInsensitive))
            continue;
        matches.append(incident);
        if (limit > 0 && matches.size() == limit)
            break;
    }
    return matches;
}

void Incidents::store()
{
    QJsonArray stored;
    for (const QJsonObject &incident : std::as_const(m_incidents))
        stored.append(incident);
    m_state.setSection("incidents", stored);
}

} // namespace demo
