#include "archive/SegmentWindow.h"

#include "archive/Instants.h"

#include <QSet>

#include <algorithm>

namespace {

constexpr int longest = 60;
constexpr int playedKept = 15;
constexpr qsizetype longestAnswer = 1000;

using Key = std::pair<QString, qint64>;

} // namespace

void SegmentWindow::replace(const QList<SegmentData> &segments)
{
    m_segments.clear();
    for (const SegmentData &data : segments.first(std::min(segments.size(), longestAnswer))) {
        m_segments.push_back({data.id, data.nodeId, Instants::fromDateTime(data.startTime),
            Instants::fromDateTime(data.endTime)});
    }
}

bool SegmentWindow::append(const QList<SegmentData> &segments)
{
    SegmentWindow fresh;
    fresh.replace(segments);
    QSet<Key> known;
    for (const Segment &segment : m_segments)
        known.insert({segment.nodeId, segment.id});
    const int before = size();
    std::copy_if(fresh.m_segments.begin(), fresh.m_segments.end(), std::back_inserter(m_segments),
        [&](const Segment &segment) {
            return !known.contains({segment.nodeId, segment.id});
        });
    return size() > before;
}

int SegmentWindow::trim(int playedIndex)
{
    const int surplus = playedIndex - playedKept;
    if (size() <= longest || surplus <= 0)
        return 0;
    m_segments.erase(m_segments.begin(), m_segments.begin() + surplus);
    return surplus;
}

int SegmentWindow::covering(qint64 ms) const
{
    const auto found = std::find_if(
        m_segments.begin(), m_segments.end(), [ms](const Segment &segment) { return segment.covers(ms); });
    return found == m_segments.end() ? -1 : static_cast<int>(std::distance(m_segments.begin(), found));
}

int SegmentWindow::begunBy(qint64 ms) const
{
    int index = size() - 1;
    while (index > 0 && m_segments[index].startMs > ms)
        --index;
    return index;
}
