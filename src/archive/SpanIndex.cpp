#include "archive/SpanIndex.h"

#include "archive/Instants.h"

#include <QVariantMap>

#include <algorithm>

namespace {

constexpr int coverageSteps = 64;

int coverageStep(qint64 coveredMs, qint64 lengthMs)
{
    if (coveredMs <= 0)
        return 0;
    return static_cast<int>(std::clamp<qint64>(coveredMs * coverageSteps / lengthMs, 1, coverageSteps));
}

} // namespace

SpanIndex::SpanIndex(std::vector<Span> spans)
{
    for (auto &[start, end] : spans) {
        start = Instants::bounded(start);
        end = Instants::bounded(end);
    }
    std::erase_if(spans, [](const Span &span) { return span.first >= span.second; });
    std::sort(spans.begin(), spans.end());

    for (const Span &span : spans) {
        if (!m_spans.empty() && span.first <= m_spans.back().second)
            m_spans.back().second = std::max(m_spans.back().second, span.second);
        else
            m_spans.push_back(span);
    }

    m_lengthBefore.reserve(m_spans.size());
    qint64 length = 0;
    for (const auto &[start, end] : m_spans) {
        m_lengthBefore.push_back(length);
        length += end - start;
    }
}

SpanIndex SpanIndex::fromVariantList(const QVariantList &spans)
{
    std::vector<Span> pairs;
    pairs.reserve(spans.size());
    for (const QVariant &entry : spans) {
        const QVariantMap map = entry.toMap();
        pairs.emplace_back(
            map.value(QStringLiteral("start")).toLongLong(), map.value(QStringLiteral("end")).toLongLong());
    }
    return SpanIndex(std::move(pairs));
}

qint64 SpanIndex::coveredBefore(qint64 ms) const
{
    const auto after = std::upper_bound(m_spans.begin(), m_spans.end(), ms,
        [](qint64 value, const Span &span) { return value < span.first; });
    if (after == m_spans.begin())
        return 0;
    const auto index = std::distance(m_spans.begin(), after) - 1;
    const auto &[start, end] = m_spans[index];
    return m_lengthBefore[index] + std::min(ms, end) - start;
}

qint64 SpanIndex::coveredMs(qint64 fromMs, qint64 toMs) const
{
    return fromMs < toMs ? coveredBefore(toMs) - coveredBefore(fromMs) : 0;
}

std::vector<SpanIndex::Run> SpanIndex::runs(qint64 fromMs, qint64 toMs, int columns) const
{
    std::vector<Run> result;
    if (m_spans.empty() || columns <= 0)
        return result;
    fromMs = Instants::bounded(fromMs);
    toMs = Instants::bounded(toMs);
    if (toMs <= fromMs)
        return result;

    const double msPerColumn = static_cast<double>(toMs - fromMs) / columns;
    int runStep = 0;
    qint64 edgeMs = fromMs;
    qint64 coveredToEdge = coveredBefore(edgeMs);
    for (int column = 0; column < columns; ++column) {
        const qint64 nextEdgeMs = fromMs + static_cast<qint64>(msPerColumn * (column + 1));
        const qint64 coveredToNext = coveredBefore(nextEdgeMs);
        const qint64 length = nextEdgeMs - edgeMs;
        const int step = length > 0 ? coverageStep(coveredToNext - coveredToEdge, length) : runStep;
        if (step > 0 && step == runStep)
            result.back().last = column;
        else if (step > 0)
            result.push_back({column, column, static_cast<float>(step) / coverageSteps});
        runStep = step;
        edgeMs = nextEdgeMs;
        coveredToEdge = coveredToNext;
    }
    return result;
}
