#include "net/ApiClient.h"

#include "app/Logging.h"
#include "net/Json.h"

#include <QFutureWatcher>
#include <QJsonDocument>
#include <QNetworkReply>
#include <QPromise>
#include <QThreadPool>

#include <memory>
#include <utility>

namespace {

// What is cut off could be the rest of an address with a password, so more is read than shown.
constexpr qsizetype longestLoggedBody = 2048;

const QString invalidResponse = QStringLiteral("invalid response");
const QString sessionEnded = QStringLiteral("Session ended");

QString cameraPath(const QString &cameraId, const QString &call)
{
    return QStringLiteral("/client-api/cameras/") + Requests::encoded(cameraId) + call;
}

QString encoded(const QDateTime &instant)
{
    return Requests::encoded(Json::instantText(instant));
}

template <typename Record>
QList<Record> recordsOf(const QJsonArray &array)
{
    QList<Record> records;
    records.reserve(array.size());
    for (const QJsonValue element : array) {
        if (!element.isObject()) {
            continue;
        }
        Record record = Record::fromJson(element.toObject());
        if constexpr (requires { record.isValid(); }) {
            if (!record.isValid()) {
                continue;
            }
        }
        records.append(std::move(record));
    }
    return records;
}

QVariantList spanMapsOf(const QJsonArray &array)
{
    QVariantList maps;
    for (const TimeSpanData &span : recordsOf<TimeSpanData>(array)) {
        maps.append(QVariantMap{{QStringLiteral("start"), span.start.toMSecsSinceEpoch()},
            {QStringLiteral("end"), span.end.toMSecsSinceEpoch()}});
    }
    return maps;
}

bool isMissing(const QJsonValue &value)
{
    return value.isUndefined() || value.isNull();
}

void logFailure(const char *call, const QString &error)
{
    qCWarning(lcApi).noquote() << QLatin1StringView(call) + QStringLiteral(" failed:") << error;
}

} // namespace

QString ApiClient::nextRequestId(const QString &prefix)
{
    const QString number = QString::number(++m_lastRequestId);
    return prefix.isEmpty() ? number : prefix + u'-' + number;
}

bool ApiClient::CallOrder::accepts(quint64 call)
{
    if (call < answered) {
        return false;
    }
    answered = call;
    return true;
}

void ApiClient::fetchCameras()
{
    readList<CameraData>(
        get(QStringLiteral("/client-api/cameras")),
        [this, call = ++m_cameraCalls.asked](const QList<CameraData> &cameras) {
            if (m_cameraCalls.accepts(call)) {
                emit camerasReceived(cameras);
            }
        },
        [](const QString &error) { logFailure("fetchCameras", error); });
}

void ApiClient::fetchCamerasStatus()
{
    readAnswer(
        get(QStringLiteral("/client-api/cameras/status")),
        [this, call = ++m_statusCalls.asked](const QByteArray &body) {
            const auto array = Json::array(body);
            if (!array) {
                qCWarning(lcStatus).noquote()
                    << "fetchCamerasStatus: response is not a JSON array:"
                    << redactUrl(QString::fromUtf8(body.first(std::min(body.size(), 2 * longestLoggedBody))))
                           .left(longestLoggedBody);
                return;
            }
            if (!m_statusCalls.accepts(call)) {
                return;
            }
            const auto statuses = recordsOf<CameraStatusData>(*array);
            for (const CameraStatusData &status : statuses) {
                qCDebug(lcStatus).noquote()
                    << QStringLiteral("fetchCamerasStatus: parsed id=%1 state=%2 error=%3")
                           .arg(status.cameraId, status.state, redactUrl(status.error));
            }
            qCInfo(lcStatus).noquote()
                << QStringLiteral("fetchCamerasStatus: received %1 statuses").arg(statuses.size());
            emit cameraStatusReceived(statuses);
        },
        [](const QString &error) {
            qCWarning(lcStatus).noquote() << "fetchCamerasStatus: HTTP error:" << error;
        });
}

void ApiClient::fetchStreamUrl(const QString &cameraId, const QString &role, const QString &requestId)
{
    const auto fail = [this, cameraId, requestId](
                          const QString &error) { emit streamUrlFailed(cameraId, error, requestId); };
    readAnswer(
        get(cameraPath(cameraId, QStringLiteral("/stream-url?role=") + Requests::encoded(role))),
        [this, cameraId, requestId, fail](const QByteArray &body) {
            const auto answer = Json::object(body);
            if (!answer) {
                fail(QStringLiteral("Invalid response"));
                return;
            }
            const QString url = answer->value(u"url").toString();
            if (url.isEmpty()) {
                fail(QStringLiteral("Empty stream URL"));
                return;
            }
            emit streamUrlReceived(cameraId, url, requestId);
        },
        fail, ErrorText::Server);
}

void ApiClient::fetchRecordingRange(const QString &cameraId)
{
    const auto fail = [this, cameraId](const QString &error) {
        qCWarning(lcPlayback).noquote()
            << QStringLiteral("recording-range failed cam=%1: %2").arg(cameraId, error);
        emit recordingRangeFailed(cameraId, error);
    };
    readAnswer(
        get(cameraPath(cameraId, QStringLiteral("/recording-range"))),
        [this, cameraId, fail](const QByteArray &body) {
            if (const auto answer = Json::object(body)) {
                emit recordingRangeReceived(cameraId, RecordingRangeData::fromJson(*answer));
            } else {
                fail(invalidResponse);
            }
        },
        fail);
}

void ApiClient::fetchTimeline(
    const QString &cameraId, const QDateTime &from, const QDateTime &to, const QString &requestId)
{
    const auto fail = [this, cameraId, requestId](const QString &error) {
        qCWarning(lcPlayback).noquote() << QStringLiteral("timeline failed cam=%1: %2").arg(cameraId, error);
        emit timelineFailed(cameraId, error, requestId);
    };
    readAnswer(
        get(cameraPath(cameraId, QStringLiteral("/timeline?from=%1&to=%2").arg(encoded(from), encoded(to)))),
        [this, cameraId, requestId, fail](const QByteArray &body) {
            readAside(
                [this, cameraId, requestId, fail, body]() -> std::function<void()> {
                    const auto array = Json::array(body);
                    if (!array) {
                        return [fail] { fail(invalidResponse); };
                    }
                    return [this, cameraId, requestId, spans = recordsOf<TimeSpanData>(*array)] {
                        emit timelineReceived(cameraId, spans, requestId);
                    };
                },
                fail);
        },
        fail);
}

void ApiClient::fetchSegments(
    const QString &cameraId, const QDateTime &from, int limit, const QString &requestId, QObject *asker)
{
    const auto fail = [this, cameraId, requestId](const QString &error) {
        qCWarning(lcPlayback).noquote() << QStringLiteral("segments failed cam=%1: %2").arg(cameraId, error);
        emit segmentsFailed(cameraId, error, requestId);
    };
    QNetworkReply *reply = get(cameraPath(
        cameraId, QStringLiteral("/segments?from=%1&limit=%2").arg(encoded(from), QString::number(limit))));
    if (asker) {
        connect(asker, &QObject::destroyed, reply, [this, reply] { withdraw(reply); });
    }
    readList<SegmentData>(
        reply,
        [this, cameraId, requestId](
            const QList<SegmentData> &segments) { emit segmentsReceived(cameraId, segments, requestId); },
        fail);
}

void ApiClient::fetchBatchTimeline(
    const QStringList &cameraIds, const QDateTime &from, const QDateTime &to, const QString &requestId)
{
    const auto fail = [this, requestId](const QString &error) {
        qCWarning(lcPlayback).noquote() << QStringLiteral("batch timeline failed: %1").arg(error);
        emit batchTimelineFailed(error, requestId);
    };
    const QJsonObject query{
        {QStringLiteral("camera_ids"), QJsonArray::fromStringList(cameraIds)},
        {QStringLiteral("from"), Json::instantText(from)},
        {QStringLiteral("to"), Json::instantText(to)},
    };
    readAnswer(
        post(QStringLiteral("/client-api/playback/batch-timeline"), query),
        [this, requestId, fail](const QByteArray &body) {
            readAside(
                [this, requestId, fail, body]() -> std::function<void()> {
                    const auto answer = Json::object(body);
                    const QJsonValue ofCameras = answer ? answer->value(u"per_camera") : QJsonValue();
                    const QJsonValue merged = answer ? answer->value(u"merged") : QJsonValue();
                    if (!answer || !(ofCameras.isObject() || isMissing(ofCameras))
                        || !(merged.isArray() || isMissing(merged))) {
                        return [fail] { fail(invalidResponse); };
                    }
                    QVariantMap perCamera;
                    const QJsonObject spans = ofCameras.toObject();
                    for (auto camera = spans.begin(); camera != spans.end(); ++camera) {
                        if (!camera->isArray() && !isMissing(*camera)) {
                            return [fail] { fail(invalidResponse); };
                        }
                        perCamera.insert(camera.key(), spanMapsOf(camera->toArray()));
                    }
                    return [this, requestId, perCamera, spans = spanMapsOf(merged.toArray())] {
                        emit batchTimelineReceived(perCamera, spans, requestId);
                    };
                },
                fail);
        },
        fail);
}

void ApiClient::fetchFloorPlans()
{
    readList<FloorPlanSummary>(
        get(QStringLiteral("/client-api/floor-plans")),
        [this](const QList<FloorPlanSummary> &plans) { emit floorPlansReceived(plans); },
        [](const QString &error) { logFailure("fetchFloorPlans", error); });
}

void ApiClient::fetchFloorPlan(const QString &id)
{
    const auto fail = [this, id](const QString &error) {
        logFailure("fetchFloorPlan", error);
        emit floorPlanFailed(id, error);
    };
    readAnswer(
        get(QStringLiteral("/client-api/floor-plans/") + Requests::encoded(id)),
        [this, id, fail](const QByteArray &body) {
            if (const auto plan = Json::object(body)) {
                emit floorPlanReceived(id, plan->toVariantMap());
            } else {
                fail(invalidResponse);
            }
        },
        fail);
}

void ApiClient::fetchOpenIncidents()
{
    fetchIncidentList("fetchOpenIncidents", QStringLiteral("/client-api/incidents?status=open,acked"),
        &ApiClient::incidentsReceived);
}

void ApiClient::fetchIncidents(const QVariantMap &filter)
{
    QStringList items;
    for (auto entry = filter.begin(); entry != filter.end(); ++entry) {
        const QString value = entry->toString();
        if (!value.isEmpty()) {
            items.append(Requests::encoded(entry.key()) + u'=' + Requests::encoded(value));
        }
    }
    const QString query = items.isEmpty() ? QString() : u'?' + items.join(u'&');
    fetchIncidentList("fetchIncidents", QStringLiteral("/client-api/incidents") + query,
        &ApiClient::incidentsJournalReceived);
}

void ApiClient::ackIncident(const QString &id)
{
    sendIncidentAction("ackIncident", id, u'/' + Requests::encoded(id) + QStringLiteral("/ack"), {});
}

void ApiClient::resolveIncident(const QString &id, const QString &resolution, bool falsePositive)
{
    sendIncidentAction("resolveIncident", id, u'/' + Requests::encoded(id) + QStringLiteral("/resolve"),
        {{QStringLiteral("resolution"), resolution}, {QStringLiteral("false_positive"), falsePositive}});
}

void ApiClient::createIncident(const QString &title, const QString &description, int severity,
    const QString &cameraId, const QString &zone)
{
    sendIncidentAction("createIncident", {}, {},
        {
            {QStringLiteral("title"), title},
            {QStringLiteral("description"), description},
            {QStringLiteral("severity"), severity},
            {QStringLiteral("camera_id"), cameraId},
            {QStringLiteral("zone"), zone},
        });
}

void ApiClient::fetchPreferences()
{
    readAnswer(
        get(QStringLiteral("/client-api/preferences")),
        [this](const QByteArray &body) { emit preferencesReceived(QString::fromUtf8(body)); },
        [](const QString &error) { logFailure("fetchPreferences", error); });
}

void ApiClient::savePreferences(const QString &json)
{
    Requests::whenFinished(put(QStringLiteral("/client-api/preferences"), json.toUtf8()), this,
        [](QNetworkReply &reply, const QByteArray &) {
            if (Requests::hasFailed(reply)) {
                logFailure("savePreferences", Requests::httpErrorText(reply));
            }
        });
}

QString ApiClient::segmentFileUrl(qint64 segmentId, const QString &nodeId) const
{
    // The video item knows its sources by their scheme in lower case.
    const QString scheme = QUrl(m_serverUrl).scheme();
    const QString file = QStringLiteral("%1%2/client-api/segments/%3/file")
                             .arg(scheme, m_serverUrl.mid(scheme.size()), QString::number(segmentId));
    return nodeId.isEmpty() ? file : file + QStringLiteral("?node=") + Requests::encoded(nodeId);
}

QNetworkReply *ApiClient::openExportStream(const QString &cameraId, const QDateTime &origin,
    const QDateTime &from, const QDateTime &to, bool init, QObject *owner)
{
    QNetworkRequest request = authorizedRequest(
        QStringLiteral("/client-api/export/stream?camera_id=%1&from=%2&to=%3&origin=%4&init=%5")
            .arg(Requests::encoded(cameraId), encoded(from), encoded(to), encoded(origin),
                init ? QStringLiteral("1") : QStringLiteral("0")));
    request.setTransferTimeout(0);
    QNetworkReply *reply = m_network.get(request);
    reply->setParent(owner);
    return reply;
}

QNetworkReply *ApiClient::get(const QString &path)
{
    return m_network.get(authorizedRequest(path));
}

QNetworkReply *ApiClient::post(const QString &path, const QJsonObject &body)
{
    return m_network.post(
        authorizedRequest(path, Requests::Body::Json), QJsonDocument(body).toJson(QJsonDocument::Compact));
}

QNetworkReply *ApiClient::put(const QString &path, const QByteArray &json)
{
    return m_network.put(authorizedRequest(path, Requests::Body::Json), json);
}

void ApiClient::readAnswer(
    QNetworkReply *reply, const OnBody &onBody, const OnFailure &onFailure, ErrorText errorText)
{
    m_outstanding.insert(reply, onFailure);
    Requests::whenFinished(
        reply, this, [this, onBody, onFailure, errorText](QNetworkReply &finished, const QByteArray &body) {
            m_outstanding.remove(&finished);
            if (!Requests::hasFailed(finished)) {
                onBody(body);
            } else if (errorText == ErrorText::Server) {
                onFailure(Requests::serverErrorText(finished, body));
            } else {
                onFailure(Requests::httpErrorText(finished));
            }
        });
}

template <typename Record>
void ApiClient::readList(QNetworkReply *reply,
    const std::function<void(const QList<Record> &records)> &onRecords, const OnFailure &onFailure)
{
    readAnswer(
        reply,
        [onRecords, onFailure](const QByteArray &body) {
            if (const auto array = Json::array(body)) {
                onRecords(recordsOf<Record>(*array));
            } else {
                onFailure(invalidResponse);
            }
        },
        onFailure);
}

void ApiClient::readAside(std::function<std::function<void()>()> read, const OnFailure &onFailure)
{
    using Outcome = std::function<void()>;
    auto *watcher = new QFutureWatcher<Outcome>(this);
    m_outstanding.insert(watcher, onFailure);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher] {
        m_outstanding.remove(watcher);
        watcher->deleteLater();
        watcher->result()();
    });
    const auto promise = std::make_shared<QPromise<Outcome>>();
    promise->start();
    watcher->setFuture(promise->future());
    QThreadPool::globalInstance()->start([promise, read = std::move(read)] {
        promise->addResult(read());
        promise->finish();
    });
}

void ApiClient::withdraw(QObject *job)
{
    m_outstanding.remove(job);
    job->disconnect(this);
    if (auto *reply = qobject_cast<QNetworkReply *>(job)) {
        reply->abort();
    }
    job->deleteLater();
}

void ApiClient::failOutstanding()
{
    const auto outstanding = std::exchange(m_outstanding, {});
    for (auto job = outstanding.begin(); job != outstanding.end(); ++job) {
        withdraw(job.key());
    }
    for (const OnFailure &onFailure : outstanding) {
        onFailure(sessionEnded);
    }
}

void ApiClient::fetchIncidentList(
    const char *call, const QString &path, void (ApiClient::*received)(const QVariantList &))
{
    const auto fail = [call](const QString &error) { logFailure(call, error); };
    readAnswer(
        get(path),
        [this, received, fail](const QByteArray &body) {
            const auto array = Json::array(body);
            if (!array) {
                fail(invalidResponse);
                return;
            }
            QVariantList incidents;
            for (const QJsonValue incident : *array) {
                if (incident.isObject()) {
                    incidents.append(incident.toObject().toVariantMap());
                }
            }
            emit(this->*received)(incidents);
        },
        fail);
}

void ApiClient::sendIncidentAction(
    const char *call, const QString &id, const QString &path, const QJsonObject &body)
{
    Requests::whenFinished(post(QStringLiteral("/client-api/incidents") + path, body), this,
        [this, session = m_session, call, id](QNetworkReply &reply, const QByteArray &) {
            if (!Requests::hasFailed(reply)) {
                return;
            }
            const QString error = Requests::httpErrorText(reply);
            logFailure(call, error);
            if (session == m_session) {
                emit incidentActionFailed(id, error);
            }
        });
}
