#pragma once

#include <QVariantList>
#include <QtGlobal>

#include <memory>
#include <utility>
#include <vector>

/**
 * Recorded spans prepared for drawing: sorted, free of overlaps, with running sums of their lengths.
 *
 * Built once per list of spans in O(n log n); afterwards what a pixel column of the timeline holds is found
 * in O(log n), so that drawing costs what its width costs, however many spans there are. Instants are
 * milliseconds since the epoch, UTC; a span covers [start, end). A value that never changes: copies share the
 * spans, so that it may be passed around freely, through QML too.
 */
class SpanIndex
{
public:
    using Span = std::pair<qint64, qint64>;

    /// Neighbouring pixel columns [first, last] that look alike.
    struct Run
    {
        int first;
        int last;
        float coverage; ///< how much of their time is recorded: above 0, at most 1
    };

    SpanIndex();
    /// Spans in any order; empty and reversed ones are left out, overlapping and touching ones joined.
    explicit SpanIndex(std::vector<Span> spans);
    /// The same from maps {"start", "end"}; entries of another shape are left out.
    static SpanIndex fromVariantList(const QVariantList &spans);
    /// The spans of such maps as they stand there; what is missing of a map reads as 0.
    static std::vector<Span> spansOf(const QVariantList &maps);

    const std::vector<Span> &spans() const { return m_data->spans; }
    bool isEmpty() const { return m_data->spans.empty(); }
    bool isSharedWith(const SpanIndex &other) const { return m_data == other.m_data; }
    /// How many milliseconds of [fromMs, toMs) are recorded; 0 when reversed.
    qint64 coveredMs(qint64 fromMs, qint64 toMs) const;
    /// The recorded columns of a view [fromMs, toMs) drawn `columns` wide, from left to right. Coverage comes
    /// in steps of 1/64 so that alike columns join; a column with any footage at all has at least one step.
    /// Empty for a reversed or empty view.
    std::vector<Run> runs(qint64 fromMs, qint64 toMs, int columns) const;

private:
    struct Data
    {
        std::vector<Span> spans;
        std::vector<qint64> lengthBefore;
    };

    qint64 coveredBefore(qint64 ms) const;

    std::shared_ptr<const Data> m_data;
};
