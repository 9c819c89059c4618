#include "state/Cameras.h"

#include "state/StateFile.h"

#include <QJsonArray>

#include <algorithm>
#include <array>

namespace demo {

namespace {

constexpr std::array places{"Main entrance", "Parking north", "Parking south", "Reception", "Server room",
    "Loading dock", "Склад 1", "Corridor 2F", "Gate east", "Gate west", "Stairwell A", "Stairwell B",
    "Cash desk", "Проходная", "Roof", "Yard"};
constexpr std::array groups{"Perimeter", "Building", "Storage"};
/// Every eighth generated camera has no sub stream.
constexpr int noSubStreamEvery = 8;

QString placeOf(int number)
{
    const int index = number - 1;
    const QString place = QString::fromUtf8(places.at(index % places.size()));
    const int round = index / int(places.size());
    return round == 0 ? place : QString("%1 / %2").arg(place).arg(round + 1);
}

} // namespace

QString Camera::ipAddress() const
{
    return QString("10.20.%1.%2").arg(number / 200).arg(number % 200 + 10);
}

QString Camera::nodeId() const
{
    return QString("node-%1").arg(number % 2 + 1);
}

QJsonObject Camera::toJson() const
{
    const int group = number % int(groups.size());
    return {{"id", id}, {"name", name}, {"ip_address", ipAddress()}, {"assigned_node_id", nodeId()},
        {"enabled", enabled}, {"has_sub_stream", hasSubStream},
        {"camera_groups",
            QJsonArray{QJsonObject{{"id", QString("group-%1").arg(group + 1)}, {"name", groups.at(group)}}}}};
}

QJsonObject Camera::statusJson() const
{
    return {{"camera_id", id}, {"state", state}, {"error", error}};
}

Cameras::Cameras(StateFile &state, QObject *parent)
    : QObject(parent)
    , m_state(state)
{
    const QJsonArray stored = state.section("cameras").toArray();
    for (const auto &value : stored) {
        const QJsonObject object = value.toObject();
        Camera camera;
        camera.id = object["id"].toString();
        camera.name = object["name"].toString();
        camera.number = object["number"].toInt();
        camera.enabled = object["enabled"].toBool(true);
        camera.hasSubStream = object["has_sub_stream"].toBool(true);
        camera.state = camera.enabled ? "recording" : "offline";
        m_nextNumber = std::max(m_nextNumber, camera.number + 1);
        m_cameras.append(camera);
    }
}

void Cameras::setCount(int count)
{
    while (m_cameras.size() < count)
        append({}, m_nextNumber % noSubStreamEvery != 0);
    while (m_cameras.size() > count)
        m_cameras.removeLast();
    store();
}

const Camera *Cameras::byId(const QString &id) const
{
    const auto found = std::find_if(
        m_cameras.cbegin(), m_cameras.cend(), [&id](const Camera &camera) { return camera.id == id; });
    return found == m_cameras.cend() ? nullptr : &*found;
}

const Camera *Cameras::byNumber(int number) const
{
    const auto found = std::find_if(m_cameras.cbegin(), m_cameras.cend(),
        [number](const Camera &camera) { return camera.number == number; });
    return found == m_cameras.cend() ? nullptr : &*found;
}

Camera *Cameras::find(const QString &id)
{
    return const_cast<Camera *>(byId(id));
}

const Camera &Cameras::add(const QString &name, bool hasSubStream)
{
    append(name, hasSubStream);
    store();
    emit added(m_cameras.last().id);
    return m_cameras.last();
}

void Cameras::append(const QString &name, bool hasSubStream)
{
    Camera camera;
    camera.number = m_nextNumber++;
    camera.id = QString("cam-%1").arg(camera.number, 3, 10, QChar(u'0'));
    camera.name = name.isEmpty() ? placeOf(camera.number) : name;
    camera.hasSubStream = hasSubStream;
    m_cameras.append(camera);
}

bool Cameras::rename(const QString &id, const QString &name)
{
    Camera *camera = find(id);
    if (!camera)
        return false;
    camera->name = name;
    store();
    emit updated(id);
    return true;
}

bool Cameras::setEnabled(const QString &id, bool enabled)
{
    Camera *camera = find(id);
    if (!camera)
        return false;
    camera->enabled = enabled;
    store();
    emit updated(id);
    return setState(id, enabled ? "recording" : "offline", {});
}

bool Cameras::remove(const QString &id)
{
    const qsizetype count = m_cameras.removeIf([&id](const Camera &camera) { return camera.id == id; });
    if (count == 0)
        return false;
    store();
    emit removed(id);
    return true;
}

bool Cameras::setState(const QString &id, const QString &state, const QString &error)
{
    Camera *camera = find(id);
    if (!camera)
        return false;
    if (camera->state != state || camera->error != error) {
        camera->state = state;
        camera->error = error;
        emit stateChanged(id);
    }
    return true;
}

void Cameras::store()
{
    QJsonArray stored;
    for (const Camera &camera : std::as_const(m_cameras)) {
        stored.append(QJsonObject{{"id", camera.id}, {"name", camera.name}, {"number", camera.number},
            {"enabled", camera.enabled}, {"has_sub_stream", camera.hasSubStream}});
    }
    m_state.setSection("cameras", stored);
}

} // namespace demo
