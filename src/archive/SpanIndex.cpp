#include "archive/SpanIndex.h"

#include "archive/Instants.h"

#include <QVariantMap>

#include <algorithm>

namespace {

constexpr int coverageSteps = 64;

const QString startKey = QStringLiteral("start");
const QString endKey = QStringLiteral("end");

int coverageStep(qint64 coveredMs, qint64 lengthMs)
{
    if (coveredMs <= 0)
        return 0;
    return static_cast<int>(std::clamp<qint64>(coveredMs * coverageSteps / lengthMs, 1, coverageSteps));
}

qint64 msOf(const QVariantMap &span, const QString &key)
{
    const auto found = span.constFind(key);
    return found == span.cend() ? 0 : found->toLongLong();
}

} // namespace

SpanIndex::SpanIndex()
{
    static const auto none = std::make_shared<const Data>();
    m_data = none;
}

SpanIndex::SpanIndex(std::vector<Span> spans)
    : SpanIndex()
{
    for (auto &[start, end] : spans) {
        start = Instants::bounded(start);
        end = Instants::bounded(end);
    }
    std::erase_if(spans, [](const Span &span) { return span.first >= span.second; });
    if (spans.empty())
        return;
    if (!std::is_sorted(spans.begin(), spans.end()))
        std::sort(spans.begin(), spans.end());

    auto joined = spans.begin();
    for (const Span &span : spans) {
        if (span.first <= joined->second)
            joined->second = std::max(joined->second, span.second);
        else
            *++joined = span;
    }
    spans.erase(joined + 1, spans.end());

    const auto data = std::make_shared<Data>();
    data->lengthBefore.reserve(spans.size());
    qint64 length = 0;
    for (const auto &[start, end] : spans) {
        data->lengthBefore.push_back(length);
        length += end - start;
    }
    data->spans = std::move(spans);
    m_data = data;
}

SpanIndex SpanIndex::fromVariantList(const QVariantList &spans)
{
    return SpanIndex(spansOf(spans));
}

std::vector<SpanIndex::Span> SpanIndex::spansOf(const QVariantList &maps)
{
    std::vector<Span> spans;
    spans.reserve(maps.size());
    for (const QVariant &entry : maps) {
        if (entry.metaType() != QMetaType::fromType<QVariantMap>())
            continue;
        const auto &map = *static_cast<const QVariantMap *>(entry.constData());
        spans.emplace_back(msOf(map, startKey), msOf(map, endKey));
    }
    return spans;
}

qint64 SpanIndex::coveredBefore(qint64 ms) const
{
    const std::vector<Span> &spans = m_data->spans;
    const auto after = std::upper_bound(
        spans.begin(), spans.end(), ms, [](qint64 value, const Span &span) { return value < span.first; });
    if (after == spans.begin())
        return 0;
    const auto index = std::distance(spans.begin(), after) - 1;
    const auto &[start, end] = spans[index];
    return m_data->lengthBefore[index] + std::min(ms, end) - start;
}

qint64 SpanIndex::coveredMs(qint64 fromMs, qint64 toMs) const
{
    return fromMs < toMs ? coveredBefore(toMs) - coveredBefore(fromMs) : 0;
}

std::vector<SpanIndex::Run> SpanIndex::runs(qint64 fromMs, qint64 toMs, int columns) const
{
    std::vector<Run> result;
    if (isEmpty() || columns <= 0)
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
