#pragma once

#include "archive/RecordingPlan.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

namespace demo {

class Cameras;
struct Camera;

/// One file of recorded footage.
struct Segment
{
    qint64 id = 0;
    int cameraNumber = 0;
    Seconds time;
};

/**
 * What is on record: each camera's plan from eight days ago up to the last finished segment, less the times
 * at which the camera was seen not to record since the recorder started.
 *
 * Segments are thirty seconds long on a fixed grid, shorter beside a gap.
 */
class Recordings : public QObject
{
    Q_OBJECT

public:
    static constexpr qint64 segmentSeconds = 30;
    static constexpr qint64 daysKept = 8;
    /// The present second since the epoch.
    using Clock = std::function<qint64()>;

    Recordings(const Cameras &cameras, Clock clock, QObject *parent = nullptr);

    /// First and last recorded second; nothing when there is none.
    std::optional<Seconds> range(const Camera &camera) const;
    /// The recorded stretches within a range.
    QList<Seconds> recorded(const Camera &camera, const Seconds &range) const;
    /// Up to so many segments that end after an instant (ms since the epoch), in order.
    QList<Segment> segments(const Camera &camera, qint64 fromMs, int limit) const;
    std::optional<Segment> segment(qint64 id) const;

private:
    struct Interruption
    {
        qint64 from;
        std::optional<qint64> to;
    };

    void noteState(const QString &cameraId);
    Seconds kept() const;
    QList<Segment> segmentsWithin(const Camera &camera, const Seconds &range) const;

    const Cameras &m_cameras;
    const Clock m_clock;
    QHash<QString, QList<Interruption>> m_interruptions;
};

} // namespace demo
