#pragma once

#include "net/Records.h"

#include <QList>
#include <QString>

#include <vector>

/**
 * The run of recorded segments that an archive player has loaded, in the server's order, which is that of
 * their starts. Instants are milliseconds since the epoch, UTC; a segment covers [start, end).
 */
class SegmentWindow
{
public:
    struct Segment
    {
        qint64 id;
        QString nodeId;
        qint64 startMs;
        qint64 endMs;

        bool covers(qint64 ms) const { return startMs <= ms && ms < endMs; }
        qint64 lengthMs() const { return endMs > startMs ? endMs - startMs : 0; }
    };

    bool isEmpty() const { return m_segments.empty(); }
    int size() const { return static_cast<int>(m_segments.size()); }
    bool holds(int index) const { return index >= 0 && index < size(); }
    const Segment &at(int index) const { return m_segments[index]; }
    const Segment &last() const { return m_segments.back(); }

    void clear() { m_segments.clear(); }
    /// Takes a fresh list. Of a list beyond all reason only the beginning is kept, here and in append().
    void replace(const QList<SegmentData> &segments);
    /// Adds what is not there yet, told apart by node and id; false when that is nothing.
    bool append(const QList<SegmentData> &segments);
    /// When the window has grown too long, drops what lies far before the segment being played. Returns how
    /// many segments were dropped, by which all indices shrink.
    int trim(int playedIndex);

    /// The first segment that covers the instant, -1 when none does.
    int covering(qint64 ms) const;
    /// The last segment that has begun by the instant, 0 when none has.
    int begunBy(qint64 ms) const;

private:
    std::vector<Segment> m_segments;
};
