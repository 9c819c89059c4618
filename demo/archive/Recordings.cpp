#include "archive/Recordings.h"

#include "state/Cameras.h"

#include <algorithm>

namespace demo {

namespace {

constexpr qint64 day = 24LL * 3600;
/// Segment ids are the camera's number and the first second.
constexpr qint64 idStep = 100'000'000'000;
constexpr qint64 searchStep = 3600;

qint64 gridStart(qint64 second)
{
    return second / Recordings::segmentSeconds * Recordings::segmentSeconds;
}

} // namespace

Recordings::Recordings(const Cameras &cameras, Clock clock, QObject *parent)
    : QObject(parent)
    , m_cameras(cameras)
    , m_clock(std::move(clock))
{
    for (const Camera &camera : cameras.all())
        noteState(camera.id);
    connect(&cameras, &Cameras::stateChanged, this, &Recordings::noteState);
    connect(&cameras, &Cameras::removed, this, [this](const QString &id) { m_interruptions.remove(id); });
}

void Recordings::noteState(const QString &cameraId)
{
    const bool records = m_cameras.byId(cameraId)->state == "recording";
    QList<Interruption> &list = m_interruptions[cameraId];
    const bool isInterrupted = !list.isEmpty() && !list.last().to;
    if (records && isInterrupted)
        list.last().to = m_clock();
    else if (!records && !isInterrupted)
        list.append({m_clock(), std::nullopt});
}

Seconds Recordings::kept() const
{
    const qint64 now = m_clock();
    return {now / day * day - daysKept * day, gridStart(now - 1)};
}

std::optional<Seconds> Recordings::range(const Camera &camera) const
{
    const QList<Seconds> all = recorded(camera, kept());
    if (all.isEmpty())
        return std::nullopt;
    return Seconds{all.first().from, all.last().to};
}

QList<Seconds> Recordings::recorded(const Camera &camera, const Seconds &range) const
{
    const Seconds limits = kept();
    QList<Seconds> interruptions;
    for (const Interruption &interruption : m_interruptions.value(camera.id))
        interruptions.append({interruption.from, interruption.to.value_or(limits.to)});
    const QList<Seconds> planned
        = RecordingPlan(camera.number)
              .recorded({std::max(range.from, limits.from), std::min(range.to, limits.to)});
    return RecordingPlan::subtract(planned, interruptions);
}

QList<Segment> Recordings::segmentsWithin(const Camera &camera, const Seconds &range) const
{
    QList<Segment> segments;
    const QList<Seconds> stretches = recorded(camera, range);
    for (const Seconds &stretch : stretches) {
        for (qint64 from = stretch.from; from < stretch.to;) {
            const qint64 to = std::min(gridStart(from) + segmentSeconds, stretch.to);
            segments.append({camera.number * idStep + from, camera.number, {from, to}});
            from = to;
        }
    }
    return segments;
}

QList<Segment> Recordings::segments(const Camera &camera, qint64 fromMs, int limit) const
{
    const Seconds limits = kept();
    QList<Segment> found;
    qint64 cursor = gridStart(std::max(fromMs / 1000, limits.from));
    for (; cursor < limits.to && found.size() < limit; cursor += searchStep) {
        const QList<Segment> next = segmentsWithin(camera, {cursor, cursor + searchStep});
        for (const Segment &segment : next) {
            if (segment.time.to * 1000 > fromMs && found.size() < limit)
                found.append(segment);
        }
    }
    return found;
}

std::optional<Segment> Recordings::segment(qint64 id) const
{
    const Camera *camera = m_cameras.byNumber(int(id / idStep));
    if (!camera || id < 0)
        return std::nullopt;
    const qint64 start = gridStart(id % idStep);
    const QList<Segment> segments = segmentsWithin(*camera, {start, start + segmentSeconds});
    const auto match = std::find_if(
        segments.cbegin(), segments.cend(), [id](const Segment &segment) { return segment.id == id; });
    return match == segments.cend() ? std::nullopt : std::optional(*match);
}

} // namespace demo
