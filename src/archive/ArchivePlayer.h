#pragma once

#include "archive/ClockFollower.h"
#include "archive/SegmentWindow.h"
#include "archive/SpanIndex.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QVariantList>

#include <memory>

class ApiClient;
class MpvObject;

/**
 * Plays one camera's recording from a given instant.
 *
 * A recording is a row of segment files. The player asks the client for a short run of them, hands one file
 * at a time to a video item, maps the item's position back to wall-clock time, and fetches further pages
 * before the run is over; played segments are dropped, so that the loaded window stays bounded.
 *
 * In free mode it runs on its own and skips what was not recorded. In synchronised mode a clock outside is
 * the master: showAt() is called on every tick, the player follows and shows "no_footage" where nothing was
 * recorded.
 *
 * All instants are milliseconds since the epoch, UTC; a segment covers [start, end). Each archive cell owns
 * one and calls stop() and setPlayer(null) before it goes. Client and video item are borrowed; an item that
 * is destroyed is forgotten. Operations that lack what they need do nothing.
 */
class ArchivePlayer : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString state READ state NOTIFY stateChanged)
    Q_PROPERTY(qint64 currentTime READ currentTime NOTIFY currentTimeChanged)
    Q_PROPERTY(bool playing READ playing NOTIFY stateChanged)
    Q_PROPERTY(double speed READ speed NOTIFY speedChanged)

public:
    explicit ArchivePlayer(QObject *parent = nullptr);

    /// "idle", "loading", "playing", "paused", "ended", "no_footage" or "error".
    QString state() const { return m_state; }
    /// The instant of the frame on the screen.
    qint64 currentTime() const { return m_currentTime; }
    bool playing() const;
    double speed() const { return m_speed; }
    Q_INVOKABLE void setSpeed(double rate);

    /// Takes the ApiClient that segments are asked of; anything else is ignored.
    Q_INVOKABLE void init(QObject *apiClient);
    /// Takes the MpvObject to play in, or detaches from the present one.
    Q_INVOKABLE void setPlayer(QObject *player);
    Q_INVOKABLE void setSynchronized(bool on) { m_synchronized = on; }
    /// The camera's recorded spans, maps {"start", "end"}; reversed and empty ones are left out.
    Q_INVOKABLE void setCoverage(const QVariantList &spans);
    Q_INVOKABLE QString loadedCameraId() const { return m_cameraId; }

    /// Plays the camera from the instant, asking the server anew.
    Q_INVOKABLE void startFrom(const QString &cameraId, qint64 timestampMs);
    /// Free mode: moves within the loaded file, else to a loaded segment, else asks the server.
    Q_INVOKABLE void seek(qint64 timestampMs);
    /// Synchronised mode: the master clock shows this instant now.
    Q_INVOKABLE void showAt(qint64 timestampMs);
    Q_INVOKABLE void pause();
    Q_INVOKABLE void resume();
    Q_INVOKABLE void stop();

public slots:
    void onSegmentsReceived(
        const QString &cameraId, const QList<SegmentData> &segments, const QString &requestId);
    void onSegmentsFailed(const QString &cameraId, const QString &error, const QString &requestId);
    void onPositionChanged();
    void onFileEnded();

signals:
    void stateChanged();
    void currentTimeChanged();
    void speedChanged();

private:
    bool isFileOpen() const;
    bool hasBrokenOff() const;
    void onFirstFrame();
    void onItemStateChanged();
    void loadAgain();
    void passToken();
    void forgetSegments();
    void append(const QList<SegmentData> &segments);
    void playPending();
    void playFromTarget();
    void playAfter(int index);
    void playSegment(int index, bool showLoading);
    bool fetchMore();
    void followClock();
    void showNothingAt(qint64 timestampMs);
    void forgetGaps();
    void applyRate(double rate);
    bool failedLately() const { return m_failure.isValid() && !m_failure.hasExpired(failurePauseMs); }
    bool isCovered(qint64 ms) const;
    bool isInKnownGap(qint64 ms) const { return m_gapFromMs <= ms && ms < m_gapToMs; }
    bool isAwaited(const QString &cameraId, const QString &requestId) const;
    void setState(const QString &state);
    void setCurrentTime(qint64 ms);

    /// How long a failing server is left alone, unless there is nothing else to play, and a file that cannot
    /// be opened or broke off while playing.
    static constexpr int failurePauseMs = 2000;

    QPointer<ApiClient> m_apiClient;
    QPointer<MpvObject> m_player;
    QString m_cameraId;
    QString m_state;
    qint64 m_currentTime = 0;
    double m_speed = 1.0;
    double m_appliedRate = 1.0;
    bool m_synchronized = false;
    SegmentWindow m_segments;
    int m_currentIndex = -1;
    int m_pendingIndex = -1;
    bool m_fetchingFirst = false;
    bool m_fetchingMore = false;
    bool m_exhausted = false;
    qint64 m_pendingSeekMs = -1;
    bool m_emptyResult = false;
    // The gap, [from, to), that the last answer or the last file's end told of.
    qint64 m_gapFromMs = 0;
    qint64 m_gapToMs = 0;
    SpanIndex m_coverage;
    qint64 m_lastShowAtMs = 0;
    bool m_jumped = false;
    ClockFollower m_clock;
    qint32 m_requestCounter = 0;
    QString m_requestId;
    // Stands for one startFrom: what it asked for is withdrawn with it. Other players of the camera count
    // their requests from one, too.
    std::unique_ptr<QObject> m_asker;
    QElapsedTimer m_firstFrameTimer;
    QElapsedTimer m_failure;
    QTimer m_retryTimer{this};
    bool m_awaitingFirstFrame = false;
    qint64 m_metadataMs = -1;
};
