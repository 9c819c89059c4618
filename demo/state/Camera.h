#pragma once

#include <QJsonObject>
#include <QString>

namespace demo {

struct Camera
{
    QString id;
    QString name;
    /// Counts up and is never given twice; picks the scene and the recording plan.
    int number = 0;
    bool enabled = true;
    bool hasSubStream = true;
    /// "recording", "online", "offline" or "error", with a text for the person.
    QString state = "recording";
    QString error;

    QString ipAddress() const;
    QString nodeId() const;
    /// As the camera list and the events "camera_added" and "camera_updated" show it.
    QJsonObject toJson() const;
    /// As the status list and the event "camera_status" show it.
    QJsonObject statusJson() const;
};

} // namespace demo
