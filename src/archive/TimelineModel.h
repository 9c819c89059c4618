#pragma once

#include "archive/SpanIndex.h"
#include "net/Records.h"

#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QVariantList>
#include <QVariantMap>

#include <vector>

class ApiClient;

/**
 * What the playback screen draws along its time axis.
 *
 * Holds the recorded spans of one camera, or in batch mode the joined spans of several cameras together with
 * each camera's own, and the recording range. It asks the client for them and asks again, debounced, when the
 * visible range leaves what is loaded. Answers that belong to an earlier question are dropped; a failed
 * request is logged and leaves the spans as they are.
 *
 * All instants are milliseconds since the epoch, UTC; a span is a map {"start", "end"} covering [start, end).
 * Owned by the application, known to QML as `timelineModel`.
 */
class TimelineModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString cameraId READ cameraId NOTIFY cameraIdChanged)
    Q_PROPERTY(QVariantList spans READ spans NOTIFY spansChanged)
    Q_PROPERTY(QVariant index READ index NOTIFY spansChanged)
    Q_PROPERTY(qint64 earliest READ earliest NOTIFY rangeChanged)
    Q_PROPERTY(qint64 latest READ latest NOTIFY rangeChanged)
    Q_PROPERTY(bool hasData READ hasData NOTIFY rangeChanged)
    Q_PROPERTY(qint64 loadedFrom READ loadedFrom NOTIFY spansChanged)
    Q_PROPERTY(qint64 loadedTo READ loadedTo NOTIFY spansChanged)
    Q_PROPERTY(bool loading READ loading NOTIFY loadingChanged)

public:
    /// The client is borrowed and must outlive the model.
    explicit TimelineModel(ApiClient *apiClient, QObject *parent = nullptr);

    /// The camera shown; in batch mode the first of them.
    QString cameraId() const { return m_cameraId; }
    /// The spans to draw, in the order received.
    QVariantList spans() const;
    /// The same as a SpanIndex, which costs nothing to pass on however many there are.
    QVariant index() const { return QVariant::fromValue(m_index); }
    /// The first and the last recorded instant; 0 and 0 while unknown or without data.
    qint64 earliest() const { return m_earliest; }
    qint64 latest() const { return m_latest; }
    /// Whether there is any recording.
    bool hasData() const { return m_hasData; }
    /// The range that the spans tell about; outside of it nothing is known.
    qint64 loadedFrom() const { return m_loadedFrom; }
    qint64 loadedTo() const { return m_loadedTo; }
    /// Whether a request is outstanding.
    bool loading() const { return m_loading; }

    /// Shows one camera: asks for its range and then for the last six hours of its recording. Nothing happens
    /// when it is shown already.
    Q_INVOKABLE void loadTimeline(const QString &cameraId);
    /// Shows several cameras: asks for the last six hours; the range follows from the answer. An empty list
    /// clears.
    Q_INVOKABLE void loadBatchTimeline(const QStringList &cameraIds);
    /// The visible range has become [fromMs, toMs]. When it leaves what is loaded, three times its width is
    /// asked for, 150 ms after the last call; when it is back before the answer, the answer is dropped.
    Q_INVOKABLE void loadRange(qint64 fromMs, qint64 toMs);
    /// Asks what the recording has grown by since, or for the visible range when that is not loaded, as its
    /// request failed. What is shown stays until the answer is there; when it fails, the next one may do
    /// better. Nothing happens while a request is outstanding.
    Q_INVOKABLE void refresh();
    Q_INVOKABLE void clear();

    /// The camera's own spans in batch mode, otherwise none.
    Q_INVOKABLE QVariantList coverageFor(const QString &cameraId) const;
    /// Calls the setCoverage() of an ArchivePlayer with those spans. To a player an empty list means that
    /// nothing is known: it gets one for a camera that no answer told of, and a span in 1970 where nothing is
    /// recorded. Nothing of it passes through QML.
    Q_INVOKABLE void handCoverage(QObject *player, const QString &cameraId) const;
    /// Where playback starts unless the user says otherwise: `lookbackMs` before the end of the recording,
    /// but never before its beginning; 0 without data.
    Q_INVOKABLE qint64 computeStartTime(qint64 lookbackMs = 3'600'000) const;

public slots:
    void onRecordingRangeReceived(const QString &cameraId, const RecordingRangeData &range);
    void onRecordingRangeFailed(const QString &cameraId, const QString &error);
    void onTimelineReceived(
        const QString &cameraId, const QList<TimeSpanData> &timeSpans, const QString &requestId);
    void onTimelineFailed(const QString &cameraId, const QString &error, const QString &requestId);
    void onBatchTimelineReceived(
        const QVariantMap &perCamera, const QVariantList &merged, const QString &requestId);
    void onBatchTimelineFailed(const QString &error, const QString &requestId);

signals:
    void cameraIdChanged();
    void spansChanged();
    void rangeChanged();
    void loadingChanged();

private:
    void request(qint64 fromMs, qint64 toMs);
    void requestPending();
    void requestView(qint64 fromMs, qint64 toMs);
    // Whether something of the visible range is not loaded.
    bool isViewMissing() const;
    void setHasData(bool hasData);
    void setRange(const RecordingRangeData &range);
    void setSpans(
        std::vector<SpanIndex::Span> spans, const QVariantList &maps = {}, const QVariantMap &perCamera = {});
    void requestGrowth();
    void widenRange(const std::vector<SpanIndex::Span> &spans);
    void setLoading(bool loading);
    bool isCurrent(const QString &requestId) const;

    ApiClient *m_apiClient;
    QString m_cameraId;
    QStringList m_cameraIds;
    bool m_batch = false;
    // The spans as they were received, and as maps once these are asked for.
    std::vector<SpanIndex::Span> m_received;
    mutable QVariantList m_spans;
    SpanIndex m_index;
    QVariantMap m_perCamera;
    qint64 m_earliest = 0;
    qint64 m_latest = 0;
    bool m_hasData = false;
    bool m_loading = false;
    bool m_refreshing = false;
    // What is visible, as far as it is known.
    qint64 m_viewFrom = 0;
    qint64 m_viewTo = 0;
    QTimer m_rangeTimer{this};
    qint64 m_pendingFrom = 0;
    qint64 m_pendingTo = 0;
    qint64 m_loadedFrom = 0;
    qint64 m_loadedTo = 0;
    qint64 m_requestedFrom = 0;
    qint64 m_requestedTo = 0;
    qint32 m_requestCounter = 0;
    QString m_requestId;
    // Of the last question in batch mode for what was recorded after `m_latest`.
    QString m_growthId;
};
