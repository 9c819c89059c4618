#include "api/ArchiveApi.h"

#include "archive/ExportBody.h"
#include "http/ByteRange.h"
#include "http/Router.h"
#include "state/Cameras.h"

#include <QDateTime>

#include <algorithm>

namespace demo {

namespace {

constexpr qint64 longestTimelineMs = 36'500LL * 24 * 3600 * 1000;
constexpr qint64 longestExportMs = 3600LL * 1000;
constexpr int defaultSegments = 20;
constexpr int maxSegments = 500;
constexpr qsizetype maxBatchCameras = 64;

struct Instants
{
    qint64 fromMs;
    qint64 toMs;

    /// The whole seconds that it touches.
    Seconds seconds() const { return {fromMs / 1000, (toMs + 999) / 1000}; }
};

std::optional<qint64> instantMs(const QString &text)
{
    const QDateTime instant = QDateTime::fromString(text, Qt::ISODateWithMs);
    return instant.isValid() && instant.toMSecsSinceEpoch() >= 0 ? std::optional(instant.toMSecsSinceEpoch())
                                                                 : std::nullopt;
}

std::optional<Instants> instants(const QString &from, const QString &to, qint64 longestMs)
{
    const std::optional<qint64> fromMs = instantMs(from);
    const std::optional<qint64> toMs = instantMs(to);
    if (!fromMs || !toMs || *fromMs >= *toMs || *toMs - *fromMs > longestMs)
        return std::nullopt;
    return Instants{*fromMs, *toMs};
}

QString instantText(qint64 ms)
{
    return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC).toString(Qt::ISODateWithMs);
}

/// Spans as the contract has them, cut to the instants asked for.
QJsonArray spansJson(const QList<Seconds> &stretches, const Instants &within)
{
    QJsonArray spans;
    for (const Seconds &stretch : stretches) {
        spans.append(QJsonObject{{"start", instantText(std::max(stretch.from * 1000, within.fromMs))},
            {"end", instantText(std::min(stretch.to * 1000, within.toMs))}});
    }
    return spans;
}

HttpResponse badTimes()
{
    return HttpResponse::error(
        400, "from and to must be instants in ISO 8601, from before to, and not too far apart");
}

} // namespace

ArchiveApi::ArchiveApi(const Cameras &cameras, const Recordings &recordings, Footage &footage, Router &router)
    : m_cameras(cameras)
    , m_recordings(recordings)
    , m_files(footage)
{
    using ForCamera = std::function<HttpResponse(const Call &, const Camera &)>;
    const auto addForCamera = [&](const QString &what, const ForCamera &action) {
        router.add("GET", "/client-api/cameras/{id}/" + what, [this, action](const Call &call) {
            const Camera *camera = m_cameras.byId(call.args.first());
            return camera ? action(call, *camera) : HttpResponse::error(404, "There is no such camera");
        });
    };
    addForCamera(
        "recording-range", [this](const Call &, const Camera &camera) { return recordingRange(camera); });
    addForCamera(
        "timeline", [this](const Call &call, const Camera &camera) { return timeline(call, camera); });
    addForCamera(
        "segments", [this](const Call &call, const Camera &camera) { return segments(call, camera); });
    router.add("POST", "/client-api/playback/batch-timeline",
        [this](const Call &call) { return batchTimeline(call); });
    router.add(
        "GET", "/client-api/segments/{id}/file", [this](const Call &call) { return segmentFile(call); });
    router.add("GET", "/client-api/export/stream", [this](const Call &call) { return exportStream(call); });
}

HttpResponse ArchiveApi::recordingRange(const Camera &camera) const
{
    const std::optional<Seconds> range = m_recordings.range(camera);
    if (!range)
        return HttpResponse::json(QJsonObject{{"earliest", QJsonValue::Null}, {"latest", QJsonValue::Null}});
    return HttpResponse::json(QJsonObject{
        {"earliest", instantText(range->from * 1000)}, {"latest", instantText(range->to * 1000)}});
}

HttpResponse ArchiveApi::timeline(const Call &call, const Camera &camera) const
{
    const std::optional<Instants> asked
        = instants(call.request.queryValue("from"), call.request.queryValue("to"), longestTimelineMs);
    if (!asked)
        return badTimes();
    return HttpResponse::json(spansJson(m_recordings.recorded(camera, asked->seconds()), *asked));
}

HttpResponse ArchiveApi::batchTimeline(const Call &call) const
{
    const QJsonObject body = call.request.jsonObject().value_or(QJsonObject());
    const std::optional<Instants> asked
        = instants(body["from"].toString(), body["to"].toString(), longestTimelineMs);
    const QJsonArray ids = body["camera_ids"].toArray();
    if (!asked)
        return badTimes();
    if (ids.isEmpty() || ids.size() > maxBatchCameras)
        return HttpResponse::error(400, QString("camera_ids must name 1 to %1 cameras").arg(maxBatchCameras));
    QJsonObject perCamera;
    QList<Seconds> all;
    for (const auto &id : ids) {
        const Camera *camera = m_cameras.byId(id.toString());
        const QList<Seconds> recorded
            = camera ? m_recordings.recorded(*camera, asked->seconds()) : QList<Seconds>();
        perCamera.insert(id.toString(), spansJson(recorded, *asked));
        all += recorded;
    }
    return HttpResponse::json(
        QJsonObject{{"per_camera", perCamera}, {"merged", spansJson(RecordingPlan::merge(all), *asked)}});
}

HttpResponse ArchiveApi::segments(const Call &call, const Camera &camera)
{
    const std::optional<qint64> fromMs = instantMs(call.request.queryValue("from"));
    if (!fromMs)
        return HttpResponse::error(400, "from must be an instant in ISO 8601");
    const QString limitText = call.request.queryValue("limit");
    bool isNumber = false;
    const int limit = limitText.isEmpty() ? defaultSegments : limitText.toInt(&isNumber);
    if ((!limitText.isEmpty() && !isNumber) || limit < 1)
        return HttpResponse::error(400, "limit must be a positive number");

    QJsonArray list;
    const QList<Segment> found = m_recordings.segments(camera, *fromMs, std::min(limit, maxSegments));
    for (const Segment &segment : found) {
        list.append(QJsonObject{{"id", segment.id}, {"node_id", camera.nodeId()},
            {"start_time", instantText(segment.time.from * 1000)},
            {"end_time", instantText(segment.time.to * 1000)},
            {"file_size", m_files.size(segment, camera.name)}});
    }
    return HttpResponse::json(list);
}

HttpResponse ArchiveApi::segmentFile(const Call &call)
{
    const std::optional<Segment> segment = m_recordings.segment(call.args.first().toLongLong());
    const Camera *camera = segment ? m_cameras.byNumber(segment->cameraNumber) : nullptr;
    const QString node = call.request.queryValue("node");
    if (!camera || (!node.isEmpty() && node != camera->nodeId()))
        return HttpResponse::error(404, "There is no such segment");
    return answerWithFile(call.request, m_files.file(*segment, camera->name), "video/mp4");
}

// A window takes the seconds that begin in it; the first one takes the second that holds its start as well,
// so that windows follow each other without a gap and without showing anything twice.
HttpResponse ArchiveApi::exportStream(const Call &call)
{
    const HttpRequest &request = call.request;
    const Camera *camera = m_cameras.byId(request.queryValue("camera_id"));
    const std::optional<Instants> asked
        = instants(request.queryValue("from"), request.queryValue("to"), longestExportMs);
    const std::optional<qint64> originMs = instantMs(request.queryValue("origin"));
    if (!camera)
        return HttpResponse::error(404, "There is no such camera");
    if (!asked || !originMs || *originMs > asked->fromMs)
        return badTimes();
    if (*m_runningExports >= maxExports) {
        HttpResponse busy = HttpResponse::error(429, "Too many exports are running, try again later");
        busy.setHeader("Retry-After", "5");
        return busy;
    }

    Seconds window = asked->seconds();
    if (asked->fromMs > *originMs)
        window.from = (asked->fromMs + 999) / 1000;
    const QList<Seconds> recorded = m_recordings.recorded(*camera, window);
    HttpResponse response;
    if (window.from < window.to && recorded != QList<Seconds>{window})
        response.setHeader("X-Export-Partial", "true");
    if (recorded.isEmpty()) {
        response.status = 204;
        return response;
    }
    response.setHeader("Content-Type", "video/mp4");
    response.stream = std::make_shared<ExportBody>(m_files,
        ExportBody::Window{
            camera->number, camera->name, recorded, *originMs / 1000, request.queryValue("init") == "1"},
        m_runningExports);
    return response;
}

} // namespace demo
