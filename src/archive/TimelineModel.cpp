#include "archive/TimelineModel.h"

#include "app/Logging.h"
#include "archive/ArchivePlayer.h"
#include "archive/Instants.h"
#include "net/ApiClient.h"

#include <QSet>
#include <QThreadPool>

#include <utility>

namespace {

constexpr qint64 firstRangeMs = 21'600'000;
constexpr int rangeDelayMs = 150;

QVariantMap spanMap(qint64 startMs, qint64 endMs)
{
    return {{QStringLiteral("start"), startMs}, {QStringLiteral("end"), endMs}};
}

} // namespace

TimelineModel::TimelineModel(ApiClient *apiClient, QObject *parent)
    : QObject(parent)
    , m_apiClient(apiClient)
{
    m_rangeTimer.setSingleShot(true);
    m_rangeTimer.setInterval(rangeDelayMs);
    connect(&m_rangeTimer, &QTimer::timeout, this, &TimelineModel::requestPending);

    connect(apiClient, &ApiClient::recordingRangeReceived, this, &TimelineModel::onRecordingRangeReceived);
    connect(apiClient, &ApiClient::recordingRangeFailed, this, &TimelineModel::onRecordingRangeFailed);
    connect(apiClient, &ApiClient::timelineReceived, this, &TimelineModel::onTimelineReceived);
    connect(apiClient, &ApiClient::timelineFailed, this, &TimelineModel::onTimelineFailed);
    connect(apiClient, &ApiClient::batchTimelineReceived, this, &TimelineModel::onBatchTimelineReceived);
    connect(apiClient, &ApiClient::batchTimelineFailed, this, &TimelineModel::onBatchTimelineFailed);
}

void TimelineModel::loadTimeline(const QString &cameraId)
{
    if (cameraId == m_cameraId && !m_batch)
        return;
    clear();
    if (cameraId.isEmpty())
        return;
    m_cameraId = cameraId;
    emit cameraIdChanged();
    qCInfo(lcPlayback).noquote() << QStringLiteral("loadTimeline cam=%1").arg(cameraId);
    setLoading(true);
    m_apiClient->fetchRecordingRange(cameraId);
}

void TimelineModel::loadBatchTimeline(const QStringList &cameraIds)
{
    clear();
    if (cameraIds.isEmpty())
        return;
    m_batch = true;
    m_cameraIds = cameraIds;
    m_cameraId = cameraIds.first();
    emit cameraIdChanged();
    qCInfo(lcPlayback).noquote() << QStringLiteral("loadBatchTimeline cams=%1").arg(cameraIds.size());
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    request(now - firstRangeMs, now);
}

void TimelineModel::loadRange(qint64 fromMs, qint64 toMs)
{
    m_viewFrom = Instants::bounded(fromMs);
    m_viewTo = Instants::bounded(toMs);
    if (m_loadedTo > m_loadedFrom && fromMs >= m_loadedFrom && toMs <= m_loadedTo) {
        m_rangeTimer.stop();
        // What was asked for another view would take the place of what this one shows.
        if (m_loading && (m_viewFrom < m_requestedFrom || m_viewTo > m_requestedTo)) {
            m_requestId.clear();
            setLoading(false);
        }
        return;
    }
    m_pendingFrom = m_viewFrom;
    m_pendingTo = m_viewTo;
    m_rangeTimer.start();
}

bool TimelineModel::isViewMissing() const
{
    return m_viewTo > m_viewFrom && (m_viewFrom < m_loadedFrom || m_viewTo > m_loadedTo);
}

void TimelineModel::requestView(qint64 fromMs, qint64 toMs)
{
    const qint64 width = toMs - fromMs;
    request(fromMs - width, toMs + width);
}

void TimelineModel::requestPending()
{
    if (m_pendingTo > m_pendingFrom && !m_cameraId.isEmpty())
        requestView(m_pendingFrom, m_pendingTo);
}

void TimelineModel::refresh()
{
    if (m_cameraId.isEmpty() || m_loading || m_refreshing)
        return;
    if (!m_batch) {
        m_refreshing = true;
        m_apiClient->fetchRecordingRange(m_cameraId);
    } else if (isViewMissing()) {
        requestView(m_viewFrom, m_viewTo);
    } else if (m_loadedTo >= m_latest) {
        const qint64 now = QDateTime::currentMSecsSinceEpoch();
        request(m_loadedTo > m_loadedFrom ? m_loadedFrom : now - firstRangeMs, std::max(m_loadedTo, now));
    } else {
        requestGrowth();
    }
}

void TimelineModel::requestGrowth()
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (now <= m_latest)
        return;
    m_growthId = QString::number(++m_requestCounter);
    m_apiClient->fetchBatchTimeline(
        m_cameraIds, Instants::toDateTime(m_latest), Instants::toDateTime(now), m_growthId);
}

void TimelineModel::clear()
{
    m_cameraId.clear();
    m_cameraIds.clear();
    m_batch = false;
    setSpans({});
    m_earliest = m_latest = 0;
    m_hasData = false;
    m_rangeTimer.stop();
    m_viewFrom = m_viewTo = 0;
    m_pendingFrom = m_pendingTo = 0;
    m_loadedFrom = m_loadedTo = 0;
    m_requestedFrom = m_requestedTo = 0;
    m_requestId.clear();
    m_growthId.clear();
    m_refreshing = false;
    const bool wasLoading = std::exchange(m_loading, false);
    emit cameraIdChanged();
    emit spansChanged();
    emit rangeChanged();
    if (wasLoading)
        emit loadingChanged();
}

QVariantList TimelineModel::spans() const
{
    if (m_spans.isEmpty() && !m_received.empty()) {
        m_spans.reserve(m_received.size());
        for (const auto &[start, end] : m_received)
            m_spans.append(spanMap(start, end));
    }
    return m_spans;
}

void TimelineModel::setSpans(
    std::vector<SpanIndex::Span> spans, const QVariantList &maps, const QVariantMap &perCamera)
{
    m_index = SpanIndex(spans);
    m_received = std::move(spans);
    // To free a hundred thousand maps takes longer than all the rest: not on this thread.
    QThreadPool::globalInstance()->start(
        [oldSpans = std::exchange(m_spans, maps), oldPerCamera = std::exchange(m_perCamera, perCamera)] {});
}

QVariantList TimelineModel::coverageFor(const QString &cameraId) const
{
    return m_perCamera.value(cameraId).toList();
}

void TimelineModel::handCoverage(QObject *player, const QString &cameraId) const
{
    auto *archivePlayer = qobject_cast<ArchivePlayer *>(player);
    if (!archivePlayer)
        return;
    QVariantList spans = coverageFor(cameraId);
    if (spans.isEmpty() && m_perCamera.contains(cameraId))
        spans.append(spanMap(0, 1));
    archivePlayer->setCoverage(spans);
}

qint64 TimelineModel::computeStartTime(qint64 lookbackMs) const
{
    return m_hasData ? std::max(m_earliest, m_latest - Instants::bounded(lookbackMs)) : 0;
}

void TimelineModel::onRecordingRangeReceived(const QString &cameraId, const RecordingRangeData &range)
{
    if (cameraId != m_cameraId || m_batch)
        return;
    const bool refreshed = std::exchange(m_refreshing, false) && m_hasData;
    const qint64 knownLatest = m_latest;
    setRange(range);
    if (m_cameraId != cameraId)
        return;
    if (!m_hasData) {
        setLoading(false);
    } else if (refreshed && m_loading) {
        return;
    } else if (refreshed && isViewMissing()) {
        requestView(m_viewFrom, m_viewTo);
    } else if (!refreshed || m_loadedTo <= m_loadedFrom) {
        request(std::max(m_earliest, m_latest - firstRangeMs), m_latest);
    } else if (m_latest > knownLatest && m_loadedTo >= knownLatest) {
        request(m_loadedFrom, std::max(m_loadedTo, m_latest));
    }
}

void TimelineModel::setRange(const RecordingRangeData &range)
{
    const qint64 earliest = Instants::fromDateTime(range.earliest);
    const qint64 latest = Instants::fromDateTime(range.latest);
    setHasData(range.hasData && earliest <= latest);
    m_earliest = m_hasData ? earliest : 0;
    m_latest = m_hasData ? latest : 0;
    qCInfo(lcPlayback).noquote() << QStringLiteral("recording range cam=%1 hasData=%2 earliest=%3 latest=%4")
                                        .arg(m_cameraId,
                                            m_hasData ? QStringLiteral("yes") : QStringLiteral("no"),
                                            m_hasData ? Instants::logText(m_earliest) : QStringLiteral("-"),
                                            m_hasData ? Instants::logText(m_latest) : QStringLiteral("-"));
    emit rangeChanged();
}

void TimelineModel::setHasData(bool hasData)
{
    // The first data brings a view of its own.
    if (hasData && !m_hasData)
        m_viewFrom = m_viewTo = 0;
    m_hasData = hasData;
}

void TimelineModel::onRecordingRangeFailed(const QString &cameraId, const QString &error)
{
    if (cameraId != m_cameraId || m_batch)
        return;
    qCWarning(lcPlayback).noquote()
        << QStringLiteral("recording range failed cam=%1: %2").arg(cameraId, error);
    if (std::exchange(m_refreshing, false) && m_hasData)
        return;
    m_earliest = m_latest = 0;
    m_hasData = false;
    emit rangeChanged();
    setLoading(false);
}

void TimelineModel::onTimelineReceived(
    const QString &cameraId, const QList<TimeSpanData> &timeSpans, const QString &requestId)
{
    if (cameraId != m_cameraId || !isCurrent(requestId))
        return;
    std::vector<SpanIndex::Span> spans;
    spans.reserve(timeSpans.size());
    for (const TimeSpanData &span : timeSpans)
        spans.emplace_back(Instants::fromDateTime(span.start), Instants::fromDateTime(span.end));
    setSpans(std::move(spans));
    m_loadedFrom = m_requestedFrom;
    m_loadedTo = m_requestedTo;
    qCInfo(lcPlayback).noquote()
        << QStringLiteral("timeline cam=%1 spans=%2").arg(cameraId).arg(timeSpans.size());
    emit spansChanged();
    setLoading(false);
}

void TimelineModel::onTimelineFailed(const QString &cameraId, const QString &error, const QString &requestId)
{
    if (cameraId != m_cameraId || !isCurrent(requestId))
        return;
    qCWarning(lcPlayback).noquote() << QStringLiteral("timeline failed cam=%1: %2").arg(cameraId, error);
    setLoading(false);
}

void TimelineModel::onBatchTimelineReceived(
    const QVariantMap &perCamera, const QVariantList &merged, const QString &requestId)
{
    const bool isGrowth = !requestId.isEmpty() && requestId == m_growthId;
    if (!m_batch || !(isGrowth || isCurrent(requestId)))
        return;
    const QStringList answered = perCamera.keys();
    if (QSet<QString>(answered.begin(), answered.end())
        != QSet<QString>(m_cameraIds.begin(), m_cameraIds.end())) {
        qCWarning(lcPlayback) << "batch timeline ignored: response cameras don't match request";
        if (requestId == m_requestId)
            setLoading(false);
        return;
    }
    qCInfo(lcPlayback).noquote()
        << QStringLiteral("batch timeline cams=%1 mergedSpans=%2").arg(perCamera.size()).arg(merged.size());
    if (isGrowth) {
        widenRange(SpanIndex::spansOf(merged));
        return;
    }
    setSpans(SpanIndex::spansOf(merged), merged, perCamera);
    m_loadedFrom = m_requestedFrom;
    m_loadedTo = m_requestedTo;
    widenRange(m_received);
    emit spansChanged();
    setLoading(false);
}

void TimelineModel::widenRange(const std::vector<SpanIndex::Span> &spans)
{
    qint64 earliest = m_earliest;
    qint64 latest = m_latest;
    bool hasData = m_hasData;
    for (const SpanIndex::Span &span : spans) {
        const qint64 start = Instants::bounded(span.first);
        const qint64 end = Instants::bounded(span.second);
        if (start > end)
            continue;
        hasData = true;
        if (earliest == 0 || start < earliest)
            earliest = start;
        if (end > latest)
            latest = end;
    }
    if (earliest == m_earliest && latest == m_latest && hasData == m_hasData)
        return;
    m_earliest = earliest;
    m_latest = latest;
    setHasData(hasData);
    emit rangeChanged();
}

void TimelineModel::onBatchTimelineFailed(const QString &error, const QString &requestId)
{
    if (!m_batch || !isCurrent(requestId))
        return;
    qCWarning(lcPlayback).noquote() << QStringLiteral("batch timeline failed: %1").arg(error);
    setLoading(false);
}

void TimelineModel::request(qint64 fromMs, qint64 toMs)
{
    m_requestId = QString::number(++m_requestCounter);
    m_requestedFrom = fromMs;
    m_requestedTo = toMs;
    setLoading(true);
    const QDateTime from = Instants::toDateTime(fromMs);
    const QDateTime to = Instants::toDateTime(toMs);
    if (m_batch)
        m_apiClient->fetchBatchTimeline(m_cameraIds, from, to, m_requestId);
    else
        m_apiClient->fetchTimeline(m_cameraId, from, to, m_requestId);
}

bool TimelineModel::isCurrent(const QString &requestId) const
{
    return requestId.isEmpty() || requestId == m_requestId;
}

void TimelineModel::setLoading(bool loading)
{
    if (m_loading == loading)
        return;
    m_loading = loading;
    emit loadingChanged();
}
