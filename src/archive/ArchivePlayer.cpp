#include "archive/ArchivePlayer.h"

#include "archive/ArchivePlayerTerms.h"
#include "archive/Instants.h"
#include "live/MpvObject.h"
#include "net/ApiClient.h"

#include <cmath>

using namespace ArchivePlayerTerms;

namespace {

constexpr qint64 driftMs = 2000;
constexpr int firstLimit = 1;
constexpr int prefetchDistance = 8;
constexpr double seekThreshold = 0.1;
constexpr double longestLead = 0.5;
constexpr double longestPosition = 1e9;

double secondsBetween(qint64 fromMs, qint64 toMs)
{
    return static_cast<double>(toMs - fromMs) / 1000.0;
}

} // namespace

ArchivePlayer::ArchivePlayer(QObject *parent)
    : QObject(parent)
    , m_state(idle)
{
    m_retryTimer.setSingleShot(true);
    connect(&m_retryTimer, &QTimer::timeout, this, &ArchivePlayer::loadAgain);
}

bool ArchivePlayer::playing() const
{
    return m_state == ArchivePlayerTerms::playing;
}

bool ArchivePlayer::isFileOpen() const
{
    return m_player && m_player->state() != idle && !hasBrokenOff() && m_state != ended && m_state != failed;
}

bool ArchivePlayer::hasBrokenOff() const
{
    return m_player && m_player->state() == failed;
}

void ArchivePlayer::setSpeed(double rate)
{
    if (rate == m_speed || !std::isfinite(rate) || rate <= 0)
        return;
    m_speed = rate;
    applyRate(rate);
    emit speedChanged();
}

void ArchivePlayer::applyRate(double rate)
{
    m_appliedRate = rate;
    if (m_player)
        m_player->setSpeed(rate);
}

void ArchivePlayer::init(QObject *apiClient)
{
    auto *client = qobject_cast<ApiClient *>(apiClient);
    if (!client || client == m_apiClient)
        return;
    if (m_apiClient)
        m_apiClient->disconnect(this);
    m_apiClient = client;
    connect(client, &ApiClient::segmentsReceived, this, &ArchivePlayer::onSegmentsReceived);
    connect(client, &ApiClient::segmentsFailed, this, &ArchivePlayer::onSegmentsFailed);
}

void ArchivePlayer::setPlayer(QObject *player)
{
    if (m_player)
        m_player->disconnect(this);
    m_player = qobject_cast<MpvObject *>(player);
    if (!m_player)
        return;
    connect(m_player, &MpvObject::positionChanged, this, &ArchivePlayer::onPositionChanged);
    connect(m_player, &MpvObject::fileEnded, this, &ArchivePlayer::onFileEnded);
    connect(m_player, &MpvObject::firstFrameRendered, this, &ArchivePlayer::onFirstFrame);
    connect(m_player, &MpvObject::stateChanged, this, &ArchivePlayer::onItemStateChanged);
    if (m_apiClient)
        passToken();
}

void ArchivePlayer::passToken()
{
    m_player->setHttpHeaderFields(QStringLiteral("Authorization: Bearer %1").arg(m_apiClient->accessToken()));
}

void ArchivePlayer::setCoverage(const QVariantList &spans)
{
    m_coverage = SpanIndex::fromVariantList(spans);
    forgetGaps();
}

void ArchivePlayer::forgetGaps()
{
    m_emptyResult = false;
    m_gapToMs = 0;
}

void ArchivePlayer::startFrom(const QString &cameraId, qint64 timestampMs)
{
    if (!m_apiClient)
        return;
    forgetSegments();
    if (m_player) {
        m_player->stop();
        m_player->prepare();
    }
    m_cameraId = cameraId;
    m_exhausted = false;
    m_pendingSeekMs = timestampMs;
    forgetGaps();
    m_lastShowAtMs = timestampMs;
    m_jumped = false;
    m_failure.invalidate();
    setCurrentTime(timestampMs);
    m_firstFrameTimer.start();
    m_awaitingFirstFrame = true;
    m_metadataMs = -1;
    m_asker = std::make_unique<QObject>();
    m_requestId = QString::number(++m_requestCounter);
    logInfo(QStringLiteral("startFrom cam=%1 ts=%2").arg(cameraId, Instants::logText(timestampMs)));
    setState(loading);
    m_fetchingFirst = true;
    m_apiClient->fetchSegments(
        cameraId, Instants::toDateTime(timestampMs), firstLimit, m_requestId, m_asker.get());
}

void ArchivePlayer::seek(qint64 timestampMs)
{
    if (m_cameraId.isEmpty())
        return;
    setCurrentTime(timestampMs);
    if (isFileOpen() && m_currentIndex >= 0 && m_segments.at(m_currentIndex).covers(timestampMs)) {
        const double offset = secondsBetween(m_segments.at(m_currentIndex).startMs, timestampMs);
        logDebug(QStringLiteral("seek ts=%1 within current segment (%2s)")
                     .arg(Instants::logText(timestampMs))
                     .arg(offset, 0, 'f', 1));
        m_player->seekTo(offset);
        return;
    }
    const int index = m_segments.covering(timestampMs);
    if (index >= 0) {
        logInfo(QStringLiteral("seek ts=%1 → loaded segment idx=%2")
                    .arg(Instants::logText(timestampMs))
                    .arg(index));
        m_pendingSeekMs = timestampMs;
        m_pendingIndex = -1;
        playSegment(index, true);
        return;
    }
    logInfo(QStringLiteral("seek ts=%1 outside loaded window → refetch").arg(Instants::logText(timestampMs)));
    startFrom(m_cameraId, timestampMs);
}

void ArchivePlayer::showAt(qint64 timestampMs)
{
    if (m_cameraId.isEmpty() || timestampMs <= 0)
        return;
    if (!isCovered(timestampMs)) {
        showNothingAt(timestampMs);
        return;
    }
    // A jump that could not be followed at once, as a file was loading or the server failing, is not lost.
    if (std::abs(timestampMs - m_lastShowAtMs) > driftMs)
        m_jumped = true;
    m_lastShowAtMs = timestampMs;
    m_clock.setClock(timestampMs);
    const bool showing = m_state == ArchivePlayerTerms::playing || m_state == paused;
    if ((showing && !m_jumped) || m_state == loading)
        return;

    const int index = m_segments.covering(timestampMs);
    if (index < 0) {
        if (isInKnownGap(timestampMs))
            showNothingAt(timestampMs);
        else if (!m_emptyResult && !failedLately())
            startFrom(m_cameraId, timestampMs);
        return;
    }
    // A player is ahead of the clock when its file ends; the rest of the file is not played again.
    if (m_state == failed && !m_jumped && index == m_currentIndex && failedLately())
        return;
    const bool over = m_state == noFootage || m_state == ended;
    if (over && !m_jumped && index == m_currentIndex
        && secondsBetween(timestampMs, m_segments.at(index).endMs) < longestLead * m_speed)
        return;
    m_jumped = false;
    setCurrentTime(timestampMs);
    if (showing && index == m_currentIndex && isFileOpen()) {
        m_player->seekTo(secondsBetween(m_segments.at(index).startMs, timestampMs));
        return;
    }
    m_pendingSeekMs = timestampMs;
    m_pendingIndex = -1;
    setState(loading);
    playSegment(index, true);
}

void ArchivePlayer::showNothingAt(qint64 timestampMs)
{
    setCurrentTime(timestampMs);
    if (m_state == noFootage)
        return;
    m_fetchingFirst = false;
    m_currentIndex = -1;
    m_pendingIndex = -1;
    m_pendingSeekMs = -1;
    if (m_player)
        m_player->setPaused(true);
    setState(noFootage);
}

void ArchivePlayer::pause()
{
    if (!m_player || m_state != ArchivePlayerTerms::playing)
        return;
    m_player->setPaused(true);
    setState(paused);
}

void ArchivePlayer::resume()
{
    if (!m_player || m_state != paused)
        return;
    m_clock.reset();
    m_player->setPaused(false);
    setState(ArchivePlayerTerms::playing);
    if (!m_fetchingMore && m_segments.holds(m_pendingIndex))
        playPending();
    else if (!m_retryTimer.isActive())
        loadAgain();
}

void ArchivePlayer::stop()
{
    forgetSegments();
    if (m_player)
        m_player->stop();
    m_awaitingFirstFrame = false;
    m_cameraId.clear();
    m_pendingSeekMs = -1;
    setCurrentTime(0);
    setState(idle);
}

void ArchivePlayer::forgetSegments()
{
    m_asker.reset();
    m_segments.clear();
    m_currentIndex = -1;
    m_pendingIndex = -1;
    m_fetchingFirst = false;
    m_fetchingMore = false;
}

void ArchivePlayer::playSegment(int index, bool showLoading)
{
    if (!m_segments.holds(index) || !m_player || !m_apiClient)
        return;
    m_currentIndex = index;
    const SegmentWindow::Segment &segment = m_segments.at(index);
    double offset = 0;
    if (m_pendingSeekMs >= 0) {
        offset
            = secondsBetween(0, std::clamp<qint64>(m_pendingSeekMs - segment.startMs, 0, segment.lengthMs()));
        m_pendingSeekMs = -1;
    }
    logInfo(QStringLiteral("play segment idx=%1 id=%2 start=%3 seek=%4s")
                .arg(index)
                .arg(segment.id)
                .arg(Instants::logText(segment.startMs))
                .arg(offset, 0, 'f', 1));
    passToken();
    const QString url = m_apiClient->segmentFileUrl(segment.id, segment.nodeId);
    logDebug(QStringLiteral("  url=%1").arg(url));
    m_player->setPaused(false);
    if (offset > seekThreshold)
        m_player->setSourceAndSeek(url, offset);
    else
        m_player->setSource(url);
    applyRate(m_speed);
    if (showLoading)
        m_awaitingFirstFrame = true;
    setState(showLoading ? loading : ArchivePlayerTerms::playing);
}

void ArchivePlayer::onFirstFrame()
{
    if (!m_awaitingFirstFrame)
        return;
    m_awaitingFirstFrame = false;
    const qint64 total = m_firstFrameTimer.elapsed();
    const qint64 metadata = std::max<qint64>(m_metadataMs, 0);
    logInfo(QStringLiteral("first frame in %1 ms (metadata %2 + open/decode %3)")
                .arg(total)
                .arg(metadata)
                .arg(total - metadata));
    if (m_state == loading)
        setState(ArchivePlayerTerms::playing);
}

void ArchivePlayer::onItemStateChanged()
{
    if (!hasBrokenOff())
        return;
    if (!std::exchange(m_awaitingFirstFrame, false)) {
        m_retryTimer.start(failurePauseMs);
        return;
    }
    m_failure.start();
    setState(failed);
}

void ArchivePlayer::loadAgain()
{
    if (m_state != ArchivePlayerTerms::playing || !hasBrokenOff())
        return;
    m_pendingSeekMs = m_currentTime;
    playSegment(m_currentIndex, true);
}

void ArchivePlayer::onPositionChanged()
{
    if (!m_player || !m_segments.holds(m_currentIndex))
        return;
    // Until the next file is open, a position still belongs to the one before.
    const double position = m_player->position();
    if (std::abs(position) < longestPosition && (m_player->state() != loading || position == 0)) {
        setCurrentTime(m_segments.at(m_currentIndex).startMs + static_cast<qint64>(position * 1000));
        followClock();
    }
    if (!m_fetchingMore && !m_exhausted && !failedLately()
        && m_currentIndex >= m_segments.size() - prefetchDistance)
        fetchMore();
}

void ArchivePlayer::followClock()
{
    if (!m_synchronized || m_state != ArchivePlayerTerms::playing)
        return;
    const double rate = m_clock.rateFor(m_currentTime, m_segments.at(m_currentIndex).endMs, m_speed);
    if (rate != m_appliedRate)
        applyRate(rate);
}

void ArchivePlayer::onFileEnded()
{
    const int index = m_currentIndex;
    if (!m_segments.holds(index))
        return;
    const bool waits = m_state == paused;
    if (index + 1 < m_segments.size() && !waits) {
        playAfter(index);
        return;
    }
    m_pendingIndex = index + 1;
    if (m_fetchingMore || m_segments.holds(m_pendingIndex))
        return;
    const bool fetching = fetchMore();
    if (!fetching)
        m_pendingIndex = -1;
    if (!waits || !fetching)
        setState(fetching ? loading : ended);
}

void ArchivePlayer::playAfter(int index)
{
    const qint64 gap = m_segments.at(index + 1).startMs - m_segments.at(index).endMs;
    if (gap <= gapMs) {
        logDebug(QStringLiteral("segment ended idx=%1 → next idx=%2").arg(index).arg(index + 1));
    } else if (m_synchronized) {
        logInfo(
            QStringLiteral("sync: segment idx=%1 ended into a %2ms gap → no_footage").arg(index).arg(gap));
        if (m_player)
            m_player->setPaused(true);
        m_gapFromMs = m_segments.at(index).endMs;
        m_gapToMs = m_segments.at(index + 1).startMs;
        setState(noFootage);
        return;
    } else {
        logInfo(QStringLiteral("segment ended idx=%1 → gap %2ms, jump to next idx=%3")
                    .arg(index)
                    .arg(gap)
                    .arg(index + 1));
        setCurrentTime(m_segments.at(index + 1).startMs);
    }
    m_pendingSeekMs = -1;
    playSegment(index + 1, false);
}

bool ArchivePlayer::isCovered(qint64 ms) const
{
    return m_coverage.isEmpty() || m_coverage.coveredMs(ms, ms + 1) > 0;
}

void ArchivePlayer::setState(const QString &state)
{
    if (m_state == state)
        return;
    m_state = state;
    emit stateChanged();
}

void ArchivePlayer::setCurrentTime(qint64 ms)
{
    if (m_currentTime == ms)
        return;
    m_currentTime = ms;
    emit currentTimeChanged();
}
