#include "net/Records.h"

#include "net/Json.h"

#include <QJsonObject>

#include <algorithm>

CameraData CameraData::fromJson(const QJsonObject &object)
{
    return {
        .id = object[u"id"].toString(),
        .name = object[u"name"].toString(),
        .ipAddress = object[u"ip_address"].toString(),
        .assignedNodeId = object[u"assigned_node_id"].toString(),
        .enabled = object[u"enabled"].toBool(),
        .hasSubStream = object[u"has_sub_stream"].toBool(),
        .cameraGroups = object[u"camera_groups"].toArray(),
    };
}

CameraStatusData CameraStatusData::fromJson(const QJsonObject &object)
{
    return {
        .cameraId = object[u"camera_id"].toString(),
        .state = object[u"state"].toString(),
        .error = object[u"error"].toString(),
    };
}

RecordingRangeData RecordingRangeData::fromJson(const QJsonObject &object)
{
    RecordingRangeData range;
    range.earliest = Json::instant(object[u"earliest"]);
    range.latest = Json::instant(object[u"latest"]);
    range.hasData = range.earliest.isValid() && range.latest.isValid();
    return range;
}

bool TimeSpanData::isValid() const
{
    return start.isValid() && end.isValid() && start <= end;
}

TimeSpanData TimeSpanData::fromJson(const QJsonObject &object)
{
    return {.start = Json::instant(object[u"start"]), .end = Json::instant(object[u"end"])};
}

bool SegmentData::isValid() const
{
    return id >= 0 && startTime.isValid() && endTime.isValid() && startTime <= endTime;
}

SegmentData SegmentData::fromJson(const QJsonObject &object)
{
    return {
        .id = Json::integer(object[u"id"], -1),
        .nodeId = object[u"node_id"].toString(),
        .startTime = Json::instant(object[u"start_time"]),
        .endTime = Json::instant(object[u"end_time"]),
        .fileSize = std::max<qint64>(0, Json::integer(object[u"file_size"])),
    };
}

FloorPlanSummary FloorPlanSummary::fromJson(const QJsonObject &object)
{
    return {
        .id = object[u"id"].toString(),
        .name = object[u"name"].toString(),
        .cameras = object[u"cameras"].toArray(),
    };
}
