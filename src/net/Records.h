#pragma once

#include <QDateTime>
#include <QJsonArray>
#include <QList>
#include <QMetaType>
#include <QString>

class QJsonObject;

/**
 * The records of the operator API: plain values, known to the meta-type system so that lists of them travel
 * in signals. Each fromJson() reads one object of an answer defensively: a text that is missing or of another
 * type is empty, a flag is false, an instant is invalid. Instants are UTC.
 */

/// One camera of the camera list.
struct CameraData
{
    QString id;
    QString name;
    QString ipAddress;
    QString assignedNodeId;
    bool enabled = false;
    bool hasSubStream = false;
    QJsonArray cameraGroups;

    static CameraData fromJson(const QJsonObject &object);
    bool operator==(const CameraData &other) const = default;
};

/// The live status of one camera; `error` is empty when there is none.
struct CameraStatusData
{
    QString cameraId;
    QString state;
    QString error;

    static CameraStatusData fromJson(const QJsonObject &object);
    bool operator==(const CameraStatusData &other) const = default;
};

/// The first and the last recorded instant of one camera.
struct RecordingRangeData
{
    QDateTime earliest;
    QDateTime latest;
    /// Both instants are present and valid.
    bool hasData = false;

    static RecordingRangeData fromJson(const QJsonObject &object);
    bool operator==(const RecordingRangeData &other) const = default;
};

/// One continuous recorded span, covering [start, end).
struct TimeSpanData
{
    QDateTime start;
    QDateTime end;

    /// Both instants are valid and the end is not before the start.
    bool isValid() const;

    static TimeSpanData fromJson(const QJsonObject &object);
    bool operator==(const TimeSpanData &other) const = default;
};

/// One recorded file of a camera. Ids are unique within a node only; one that is not a whole number reads as
/// -1.
struct SegmentData
{
    qint64 id = 0;
    QString nodeId;
    QDateTime startTime;
    QDateTime endTime;
    /// In bytes, never negative.
    qint64 fileSize = 0;

    /// The id is not negative, both instants are valid and the end is not before the start.
    bool isValid() const;

    static SegmentData fromJson(const QJsonObject &object);
    bool operator==(const SegmentData &other) const = default;
};

/// One floor plan as lists show it; `cameras` holds its camera entries as the server sent them.
struct FloorPlanSummary
{
    QString id;
    QString name;
    QJsonArray cameras;

    static FloorPlanSummary fromJson(const QJsonObject &object);
    bool operator==(const FloorPlanSummary &other) const = default;
};

Q_DECLARE_METATYPE(CameraData)
Q_DECLARE_METATYPE(CameraStatusData)
Q_DECLARE_METATYPE(RecordingRangeData)
Q_DECLARE_METATYPE(TimeSpanData)
Q_DECLARE_METATYPE(SegmentData)
Q_DECLARE_METATYPE(FloorPlanSummary)
