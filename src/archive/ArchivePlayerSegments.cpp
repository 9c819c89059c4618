// What the archive player asks the server for, and what it does with the answers.
#include "archive/ArchivePlayer.h"
#include "archive/ArchivePlayerTerms.h"
#include "archive/Instants.h"
#include "net/ApiClient.h"

using namespace ArchivePlayerTerms;

namespace {

constexpr int pageLimit = 20;

} // namespace

void ArchivePlayer::onSegmentsReceived(
    const QString &cameraId, const QList<SegmentData> &segments, const QString &requestId)
{
    if (!isAwaited(cameraId, requestId))
        return;
    if (m_awaitingFirstFrame && !m_fetchingMore && m_metadataMs < 0)
        m_metadataMs = m_firstFrameTimer.elapsed();
    m_fetchingFirst = false;
    const bool appending = std::exchange(m_fetchingMore, false);
    if (appending) {
        append(segments);
    } else {
        m_segments.replace(segments);
        m_currentIndex = -1;
    }
    logInfo(QStringLiteral("segments received cam=%1 got=%2 total=%3 append=%4")
                .arg(cameraId)
                .arg(segments.size())
                .arg(m_segments.size())
                .arg(appending ? QStringLiteral("yes") : QStringLiteral("no")));
    m_emptyResult = m_segments.isEmpty();
    if (m_emptyResult) {
        const QString next = m_synchronized ? noFootage : ended;
        logWarning(QStringLiteral("no segments for cam=%1 → %2 (no recording here?)").arg(cameraId, next));
        setState(next);
    } else if (m_pendingSeekMs < 0) {
        playPending();
    } else {
        playFromTarget();
    }
}

void ArchivePlayer::append(const QList<SegmentData> &segments)
{
    m_exhausted = !m_segments.append(segments);
    const int trimmed = m_segments.trim(m_currentIndex);
    if (trimmed == 0)
        return;
    m_currentIndex -= trimmed;
    if (m_pendingIndex >= 0)
        m_pendingIndex -= trimmed;
    logDebug(QStringLiteral("trimmed %1 old segments, keeping %2").arg(trimmed).arg(m_segments.size()));
}

void ArchivePlayer::playPending()
{
    // Resuming plays it.
    if (m_state == paused && m_segments.holds(m_pendingIndex))
        return;
    const int index = std::exchange(m_pendingIndex, -1);
    if (index < 0)
        return;
    if (index >= m_segments.size()) {
        logInfo(QStringLiteral("no further segments after fetch → ended"));
        setState(ended);
        return;
    }
    playAfter(index - 1);
}

void ArchivePlayer::playFromTarget()
{
    const qint64 target = m_pendingSeekMs;
    m_pendingIndex = -1;
    int index = m_segments.begunBy(target);
    if (m_synchronized && m_segments.covering(target) < 0) {
        logInfo(QStringLiteral("sync: ts=%1 not covered by any segment → no_footage")
                    .arg(Instants::logText(target)));
        if (m_segments.at(index).startMs <= target)
            ++index;
        m_gapFromMs = target;
        m_gapToMs = m_segments.holds(index) ? m_segments.at(index).startMs : target;
        m_pendingSeekMs = -1;
        setState(noFootage);
        return;
    }
    if (target > m_segments.at(index).endMs + gapMs && index + 1 < m_segments.size()) {
        ++index;
        logInfo(QStringLiteral("target ts=%1 in a gap → skip to next segment idx=%2")
                    .arg(Instants::logText(target))
                    .arg(index));
        m_pendingSeekMs = -1;
    }
    playSegment(index, true);
}

bool ArchivePlayer::fetchMore()
{
    if (m_segments.isEmpty() || m_cameraId.isEmpty() || !m_apiClient)
        return false;
    m_fetchingMore = true;
    const qint64 fromMs = m_segments.last().endMs;
    logInfo(QStringLiteral("fetch more segments from %1 (have %2)")
                .arg(Instants::logText(fromMs))
                .arg(m_segments.size()));
    m_apiClient->fetchSegments(
        m_cameraId, Instants::toDateTime(fromMs), pageLimit, m_requestId, m_asker.get());
    return true;
}

void ArchivePlayer::onSegmentsFailed(const QString &cameraId, const QString &error, const QString &requestId)
{
    if (!isAwaited(cameraId, requestId))
        return;
    logWarning(QStringLiteral("segments fetch failed cam=%1: %2").arg(cameraId, error));
    m_fetchingFirst = false;
    m_failure.start();
    if (std::exchange(m_fetchingMore, false) && std::exchange(m_pendingIndex, -1) < 0)
        return;
    m_awaitingFirstFrame = false;
    setState(failed);
}

bool ArchivePlayer::isAwaited(const QString &cameraId, const QString &requestId) const
{
    return (m_fetchingFirst || m_fetchingMore) && cameraId == m_cameraId && requestId == m_requestId;
}
