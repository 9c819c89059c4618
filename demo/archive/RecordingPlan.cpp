#include "archive/RecordingPlan.h"

#include <algorithm>

namespace demo {

namespace {

constexpr qint64 minute = 60;
constexpr qint64 hourLength = 60 * minute;
constexpr int neverRecordsEvery = 13;

enum Pattern { Everything, Continuous, ShortGaps, LongerGaps };

} // namespace

QList<Seconds> RecordingPlan::gapsOfHour(qint64 hour) const
{
    const qint64 start = hour * hourLength;
    const auto pattern = Pattern(m_number % 4);
    if (pattern == Everything && (hour + m_number) % 24 < 2)
        return {{start, start + hourLength}};

    QList<Seconds> gaps;
    const auto miss = [&](qint64 atMinute, qint64 length) {
        const qint64 from = start + (atMinute + qint64(m_number) * 7) % 50 * minute + 20;
        gaps.append({from, from + length});
    };
    if (pattern == ShortGaps || pattern == Everything) {
        miss(5, 1);
        miss(35, 2);
    }
    if (pattern == LongerGaps || pattern == Everything) {
        miss(15, 3);
        if (hour % 2 == 0)
            miss(27, 10 * minute);
    }
    return gaps;
}

QList<Seconds> RecordingPlan::recorded(const Seconds &range) const
{
    if (range.from >= range.to || m_number % neverRecordsEvery == 0)
        return {};
    QList<Seconds> gaps;
    if (m_number % 4 != Continuous) {
        for (qint64 hour = range.from / hourLength; hour * hourLength < range.to; ++hour)
            gaps += gapsOfHour(hour);
    }
    return subtract({range}, gaps);
}

QList<Seconds> RecordingPlan::subtract(const QList<Seconds> &from, const QList<Seconds> &gaps)
{
    const QList<Seconds> cuts = merge(gaps);
    QList<Seconds> left;
    for (const Seconds &whole : from) {
        qint64 cursor = whole.from;
        for (const Seconds &cut : cuts) {
            if (cut.to <= cursor || cut.from >= whole.to)
                continue;
            if (cut.from > cursor)
                left.append({cursor, cut.from});
            cursor = cut.to;
        }
        if (cursor < whole.to)
            left.append({cursor, whole.to});
    }
    return left;
}

QList<Seconds> RecordingPlan::merge(QList<Seconds> stretches)
{
    std::sort(stretches.begin(), stretches.end(),
        [](const Seconds &a, const Seconds &b) { return a.from < b.from; });
    QList<Seconds> merged;
    for (const Seconds &stretch : std::as_const(stretches)) {
        if (!merged.isEmpty() && stretch.from <= merged.last().to)
            merged.last().to = std::max(merged.last().to, stretch.to);
        else
            merged.append(stretch);
    }
    return merged;
}

} // namespace demo
