#include "net/ApiClient.h"
#include "support/ScriptedServer.h"

#include <QJsonDocument>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTest>
#include <QUuid>

namespace {

const QDateTime from = QDateTime::fromString("2026-05-03T16:05:00.250+02:00", Qt::ISODateWithMs);
const QDateTime to(QDate(2026, 5, 3), QTime(15, 0), Qt::UTC);
const QString id = "a/b?c d%2F&é";
const QByteArray encodedId = "a%2Fb%3Fc%20d%252F%26%C3%A9";
const QString requestId = "7|x";

using Call = void (*)(ApiClient &);
const QHash<QByteArray, Call> calls{
    {"cameras", [](ApiClient &client) { client.fetchCameras(); }},
    {"status", [](ApiClient &client) { client.fetchCamerasStatus(); }},
    {"stream", [](ApiClient &client) { client.fetchStreamUrl(id, "sub", requestId); }},
    {"range", [](ApiClient &client) { client.fetchRecordingRange(id); }},
    {"timeline", [](ApiClient &client) { client.fetchTimeline(id, from, to, requestId); }},
    {"segments", [](ApiClient &client) { client.fetchSegments(id, from, 50, requestId); }},
    {"batch",
        [](ApiClient &client) {
            client.fetchBatchTimeline({"a", id}, from, to, requestId);
        }},
    {"plans", [](ApiClient &client) { client.fetchFloorPlans(); }},
    {"plan", [](ApiClient &client) { client.fetchFloorPlan(id); }},
    {"open", [](ApiClient &client) { client.fetchOpenIncidents(); }},
    {"journal",
        [](ApiClient &client) {
            client.fetchIncidents({{"status", "a&b"}, {"limit", 50}, {"source", ""}});
        }},
    {"ack", [](ApiClient &client) { client.ackIncident(id); }},
    {"resolve", [](ApiClient &client) { client.resolveIncident(id, "done", true); }},
    {"create", [](ApiClient &client) { client.createIncident("t", "d", 6, "cam", "gate"); }},
    {"preferences", [](ApiClient &client) { client.fetchPreferences(); }},
    {"save", [](ApiClient &client) { client.savePreferences(R"({"a": [1]})"); }},
};

// What the calls that report their failure report.
const QHash<QByteArray, QString> failureSignals{
    {"stream", "stream failed|" + id + "|TEXT|7|x"},
    {"range", "range failed|" + id + "|TEXT"},
    {"timeline", "timeline failed|" + id + "|TEXT|7|x"},
    {"segments", "segments failed|" + id + "|TEXT|7|x"},
    {"batch", "batch failed|TEXT|7|x"},
    {"plan", "plan failed|" + id + "|TEXT"},
    {"ack", "action failed|" + id + "|TEXT"},
    {"resolve", "action failed|" + id + "|TEXT"},
    {"create", "action failed||TEXT"},
};

// The data signals of a client, one line each, as they come.
class Answers : public QObject
{
public:
    explicit Answers(ApiClient &client)
    {
        note(client, &ApiClient::camerasReceived, "cameras");
        note(client, &ApiClient::cameraStatusReceived, "status");
        note(client, &ApiClient::streamUrlReceived, "stream");
        note(client, &ApiClient::streamUrlFailed, "stream failed");
        note(client, &ApiClient::recordingRangeReceived, "range");
        note(client, &ApiClient::recordingRangeFailed, "range failed");
        note(client, &ApiClient::timelineReceived, "timeline");
        note(client, &ApiClient::timelineFailed, "timeline failed");
        note(client, &ApiClient::segmentsReceived, "segments");
        note(client, &ApiClient::segmentsFailed, "segments failed");
        note(client, &ApiClient::batchTimelineReceived, "batch");
        note(client, &ApiClient::batchTimelineFailed, "batch failed");
        note(client, &ApiClient::floorPlansReceived, "plans");
        note(client, &ApiClient::floorPlanReceived, "plan");
        note(client, &ApiClient::floorPlanFailed, "plan failed");
        note(client, &ApiClient::incidentsReceived, "open");
        note(client, &ApiClient::incidentsJournalReceived, "journal");
        note(client, &ApiClient::incidentActionFailed, "action failed");
        note(client, &ApiClient::preferencesReceived, "preferences");
        connect(&client, &ApiClient::authChanged, this, [this] { lines += "session changed"; });
    }

    QStringList lines;

private:
    template <typename... Arguments>
    void note(ApiClient &client, void (ApiClient::*signal)(Arguments...), const QString &name)
    {
        connect(&client, signal, this, [this, name](const auto &...arguments) {
            lines += (QStringList(name) + ... + QStringList(text(arguments))).join(u'|');
        });
    }

    static QString text(const QString &value) { return value; }
    static QString text(const QDateTime &value)
    {
        return value.isValid() ? QString::number(value.toMSecsSinceEpoch()) : QString();
    }
    static QString text(const QVariantMap &value) { return json(QJsonObject::fromVariantMap(value)); }
    static QString text(const QVariantList &value) { return json(QJsonArray::fromVariantList(value)); }
    static QString text(const CameraData &camera)
    {
        return words(camera.id, camera.name, camera.ipAddress, camera.assignedNodeId,
            QString::number(camera.enabled), QString::number(camera.hasSubStream), json(camera.cameraGroups));
    }
    static QString text(const CameraStatusData &status)
    {
        return words(status.cameraId, status.state, status.error);
    }
    static QString text(const RecordingRangeData &range)
    {
        return words(text(range.earliest), text(range.latest), QString::number(range.hasData));
    }
    static QString text(const TimeSpanData &span) { return text(span.start) + '/' + text(span.end); }
    static QString text(const SegmentData &segment)
    {
        return words(QString::number(segment.id), segment.nodeId,
            text(TimeSpanData{segment.startTime, segment.endTime}), QString::number(segment.fileSize));
    }
    static QString text(const FloorPlanSummary &plan)
    {
        return words(plan.id, plan.name, json(plan.cameras));
    }
    template <typename Record>
    static QString text(const QList<Record> &records)
    {
        QStringList texts;
        for (const Record &record : records) {
            texts += text(record);
        }
        return '[' + texts.join(u',') + ']';
    }
    template <typename... Words>
    static QString words(const Words &...words)
    {
        return QStringList({words...}).join(u' ');
    }
    template <typename Json>
    static QString json(const Json &value)
    {
        return QString::fromUtf8(QJsonDocument(value).toJson(QJsonDocument::Compact));
    }
};

} // namespace

class DataCallsTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void requests_data();
    void requests();
    void answers_data();
    void answers();
    void unusableAnswers_data();
    void unusableAnswers();
    void failures_data();
    void failures();
    void instants_data();
    void instants();
    void hugeAnswers();
    void answersOfAnEarlierSession();
    void idsAndAddresses();
    void exportStream();
    void clientGoneBeforeTheAnswer();

private:
    void answerAll(const ScriptedServer::Answer &answer)
    {
        m_server->otherwise([answer](const ScriptedServer::Request &) { return answer; });
    }

    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<ApiClient> m_client;
    std::unique_ptr<Answers> m_answers;
};

void DataCallsTest::init()
{
    m_server = std::make_unique<ScriptedServer>();
    m_server->on("POST /client-api/auth/login", R"({"access_token":"tökén"})");
    m_client = std::make_unique<ApiClient>();
    QSignalSpy signedIn(m_client.get(), &ApiClient::loginSucceeded);
    m_client->doLogin(m_server->url(), "olga", "geheim");
    QVERIFY(signedIn.wait());
    m_answers = std::make_unique<Answers>(*m_client);
}

void DataCallsTest::cleanup()
{
    m_answers.reset();
    m_client.reset();
    m_server.reset();
}

void DataCallsTest::requests_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("body");
    const auto row = [](const char *call, const QByteArray &request, const QByteArray &body = {}) {
        QTest::newRow(call) << request << body;
    };
    const QByteArray camera = "/client-api/cameras/" + encodedId;
    const QByteArray start = "2026-05-03T14%3A05%3A00.250Z";
    const QByteArray end = "2026-05-03T15%3A00%3A00.000Z";
    row("cameras", "GET /client-api/cameras");
    row("status", "GET /client-api/cameras/status");
    row("stream", "GET " + camera + "/stream-url?role=sub");
    row("range", "GET " + camera + "/recording-range");
    row("timeline", "GET " + camera + "/timeline?from=" + start + "&to=" + end);
    row("segments", "GET " + camera + "/segments?from=" + start + "&limit=50");
    row("batch", "POST /client-api/playback/batch-timeline",
        R"({"camera_ids":["a","a/b?c d%2F&é"],"from":"2026-05-03T14:05:00.250Z","to":"2026-05-03T15:00:00.000Z"})");
    row("plans", "GET /client-api/floor-plans");
    row("plan", "GET /client-api/floor-plans/" + encodedId);
    row("open", "GET /client-api/incidents?status=open,acked");
    row("journal", "GET /client-api/incidents?limit=50&status=a%26b");
    row("ack", "POST /client-api/incidents/" + encodedId + "/ack", "{}");
    row("resolve", "POST /client-api/incidents/" + encodedId + "/resolve",
        R"({"false_positive":true,"resolution":"done"})");
    row("create", "POST /client-api/incidents",
        R"({"camera_id":"cam","description":"d","severity":6,"title":"t","zone":"gate"})");
    row("preferences", "GET /client-api/preferences");
    row("save", "PUT /client-api/preferences", R"({"a": [1]})");
}

void DataCallsTest::requests()
{
    answerAll({.body = "{}"});
    QSignalSpy received(m_server.get(), &ScriptedServer::received);
    calls[QTest::currentDataTag()](*m_client);
    QVERIFY(received.wait());
    const ScriptedServer::Request request = m_server->requests().last();
    QTEST(request.method + ' ' + request.target, "request");
    QTEST(request.body, "body");
    QCOMPARE(request.headers["authorization"], "Bearer tökén");
    QCOMPARE(request.headers.value("content-type"), request.method == "GET" ? "" : "application/json");
    QVERIFY(!QUuid::fromString(QString::fromLatin1('{' + request.headers["x-request-id"] + '}')).isNull());
}

// A row is named after its call, and after what is special.
void DataCallsTest::answers_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("signal");
    const auto row = [](const char *name, const QByteArray &body, const QString &signal) {
        QTest::newRow(name) << body << signal;
    };
    row("cameras",
        R"([{"id":"1","name":"Gate","ip_address":"10.0.0.1","assigned_node_id":"n","enabled":true,
        "has_sub_stream":true,"camera_groups":["g",2]},{}])",
        R"(cameras|[1 Gate 10.0.0.1 n 1 1 ["g",2],    0 0 []])");
    row("cameras among others", R"([1,"x",null,[],{"id":7,"name":{},"enabled":"yes","camera_groups":{}}])",
        "cameras|[    0 0 []]");
    row("status", R"([{"camera_id":"1","state":"offline","error":"timeout"}])", "status|[1 offline timeout]");
    row("status of none", "[]", "status|[]");
    row("status among others", R"([[],{"camera_id":["1"],"state":2}])", "status|[  ]");
    row("stream", R"({"url":"rtsp://u:p@h/1"})", "stream|" + id + "|rtsp://u:p@h/1|7|x");
    row("stream without url", R"({"url":""})", "stream failed|" + id + "|Empty stream URL|7|x");
    row("stream of a wrong type", R"({"url":["rtsp://h"]})", "stream failed|" + id + "|Empty stream URL|7|x");
    row("range", R"({"earliest":"1970-01-01T00:00:01Z","latest":2000})", "range|" + id + "|1000 2000 1");
    row("range of nulls", R"({"earliest":null,"latest":null})", "range|" + id + "|  0");
    row("range by half", R"({"earliest":1000})", "range|" + id + "|1000  0");
    row("timeline",
        R"([{"start":"1970-01-01T03:00:01+03:00","end":"1970-01-01T00:00:02Z"},{"start":3,"end":4}])",
        "timeline|" + id + "|[1000/2000,3/4]|7|x");
    row("timeline among others",
        R"([7,{},{"start":1},{"start":"x","end":2},{"start":5,"end":4},{"start":1e300,"end":1e301},
        {"start":1,"end":1}])",
        "timeline|" + id + "|[1/1]|7|x");
    row("segments",
        R"([{"id":9223372036854775807,"node_id":"n","start_time":0,"end_time":1500,"file_size":5000000000},
        {"id":9007199254740993,"start_time":1500,"end_time":1500,"file_size":-1},
        {"id":"42","node_id":5,"start_time":1,"end_time":2,"file_size":1e3}])",
        "segments|" + id
            + "|[9223372036854775807 n 0/1500 5000000000,9007199254740993  1500/1500 0,42  1/2 1000]|7|x");
    row("segments of no use",
        R"([null,{"start_time":1,"end_time":2},{"id":9223372036854775808,"start_time":1,"end_time":2},
        {"id":1.5,"start_time":1,"end_time":2},{"id":-4,"start_time":1,"end_time":2},
        {"id":3,"start_time":2,"end_time":1},{"id":4,"start_time":1,"end_time":null}])",
        "segments|" + id + "|[]|7|x");
    row("batch", R"({"per_camera":{"a":[{"start":1,"end":2}],"b":[],"c":7},"merged":[{"start":1,"end":2}]})",
        R"(batch|{"a":[{"end":2,"start":1}],"b":[],"c":[]}|[{"end":2,"start":1}]|7|x)");
    row("batch without merged", R"({"per_camera":{}})", "batch failed|invalid response|7|x");
    row("batch of arrays", R"({"per_camera":[],"merged":[]})", "batch failed|invalid response|7|x");
    row("plans", R"([{"id":"p","name":"Hall","cameras":[{"id":"1"}]}])", R"(plans|[p Hall [{"id":"1"}]])");
    row("plan", R"({"id":"other","elements":[1]})", "plan|" + id + R"(|{"elements":[1],"id":"other"})");
    row("open", R"([{"id":"i"},5])", R"(open|[{"id":"i"},5])");
    row("journal", "[]", "journal|[]");
    row("preferences", R"({ "not" : even parsed )", R"(preferences|{ "not" : even parsed )");
}

void DataCallsTest::answers()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, signal);
    answerAll({.body = body});
    calls[QByteArray(QTest::currentDataTag()).split(' ').first()](*m_client);
    QTRY_COMPARE(m_answers->lines, QStringList(signal));
}

void DataCallsTest::unusableAnswers_data()
{
    QTest::addColumn<bool>("isList");
    for (const char *call : {"cameras", "status", "timeline", "segments", "plans", "open", "journal"}) {
        QTest::newRow(call) << true;
    }
    for (const char *call : {"stream", "range", "batch", "plan"}) {
        QTest::newRow(call) << false;
    }
}

void DataCallsTest::unusableAnswers()
{
    QFETCH(bool, isList);
    const QByteArray call = QTest::currentDataTag();
    const QByteArrayList bodies{"", isList ? "{}" : "[]", "null", "\"x\"", "<html>", R"([{"id":)", "[{}] []",
        isList ? QByteArray(100'000, '[') : QByteArray(R"({"a":)").repeated(50'000)};
    QSignalSpy received(m_server.get(), &ScriptedServer::received);
    for (const QByteArray &body : bodies) {
        answerAll({.body = body});
        calls[call](*m_client);
        QVERIFY(received.wait());
    }
    QTest::qWait(50);
    const QString text = call == "stream" ? "Invalid response" : "invalid response";
    const QString signal = failureSignals.value(call).replace("TEXT", text);
    QCOMPARE(m_answers->lines, signal.isEmpty() ? QStringList() : QStringList(bodies.size(), signal));
}

void DataCallsTest::failures_data()
{
    QTest::addColumn<QString>("log");
    const auto row = [](const char *call, const QString &log) { QTest::newRow(call) << log; };
    row("cameras", "fetchCameras failed: TEXT");
    row("status", "fetchCamerasStatus: HTTP error: TEXT");
    row("stream", {});
    row("range", "recording-range failed cam=" + id + ": TEXT");
    row("timeline", "timeline failed cam=" + id + ": TEXT");
    row("segments", "segments failed cam=" + id + ": TEXT");
    row("batch", "batch timeline failed: TEXT");
    row("plans", "fetchFloorPlans failed: TEXT");
    row("plan", "fetchFloorPlan failed: TEXT");
    row("open", "fetchOpenIncidents failed: TEXT");
    row("journal", "fetchIncidents failed: TEXT");
    row("ack", "ackIncident failed: TEXT");
    row("resolve", "resolveIncident failed: TEXT");
    row("create", "createIncident failed: TEXT");
    row("preferences", "fetchPreferences failed: TEXT");
    row("save", "savePreferences failed: TEXT");
}

void DataCallsTest::failures()
{
    QFETCH(QString, log);
    const QByteArray call = QTest::currentDataTag();
    answerAll({.status = 404, .body = R"({"error":"no such camera"})"});
    const QString text = call == "stream"
        ? "no such camera"
        : "HTTP 404: Error transferring " + m_server->url() + ".* - server replied: Scripted";
    const auto pattern = [text](const QString &line) {
        return QRegularExpression(
            QRegularExpression::anchoredPattern(QRegularExpression::escape(line).replace("TEXT", text)));
    };
    if (!log.isEmpty()) {
        QTest::ignoreMessage(QtWarningMsg, pattern(log));
    }
    QSignalSpy received(m_server.get(), &ScriptedServer::received);
    calls[call](*m_client);
    QVERIFY(received.wait());
    QTest::qWait(50);
    const QString line = m_answers->lines.join(u'\n');
    QVERIFY2(pattern(failureSignals.value(call)).match(line).hasMatch(), qPrintable(line));
    QVERIFY(m_client->isAuthenticated());
}

void DataCallsTest::instants_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QString>("instant");
    const auto row = [](const QByteArray &value, const QString &instant) {
        QTest::newRow(value.constData()) << value << instant;
    };
    row(R"("2026-05-03T14:05:00Z")", "2026-05-03T14:05:00.000Z");
    row(R"("2026-05-03T14:05:00.123456789Z")", "2026-05-03T14:05:00.123Z");
    row(R"("2026-05-03T14:05:00.5-05:30")", "2026-05-03T19:35:00.500Z");
    row("1777852800000", "2026-05-04T00:00:00.000Z");
    row("-1", "1969-12-31T23:59:59.999Z");
    row("253402300799999", "9999-12-31T23:59:59.999Z");
    // Without an offset nobody knows which instant is meant.
    for (const char *invalid :
        {R"("2026-05-03T14:05:00")", R"("2026-13-03T14:05:00Z")", R"("now")", R"("")", "true", "{}", "[1]",
            "null", "253402300800000", "-9223372036854775808", "9223372036854775807", "1e300"}) {
        row(invalid, "");
    }
}

void DataCallsTest::instants()
{
    QFETCH(QByteArray, value);
    QFETCH(QString, instant);
    const QJsonObject object = QJsonDocument::fromJson(R"({"earliest":)" + value + '}').object();
    const QDateTime earliest = RecordingRangeData::fromJson(object).earliest;
    QCOMPARE(earliest.toString(Qt::ISODateWithMs), instant);
    QVERIFY(!earliest.isValid() || earliest.timeSpec() == Qt::UTC);
}

void DataCallsTest::hugeAnswers()
{
    m_server->on("GET /client-api/cameras", '[' + QByteArray("{},").repeated(300'000) + "{}]");
    QSignalSpy received(m_client.get(), &ApiClient::camerasReceived);
    m_client->fetchCameras();
    QTRY_COMPARE(received.size(), 1);
    QCOMPARE(received[0][0].value<QList<CameraData>>().size(), 300'001);
    m_answers->lines.clear();

    answerAll({.streamBytes = Requests::answerLimit + 1});
    m_client->fetchRecordingRange(id);
    QTRY_COMPARE_WITH_TIMEOUT(m_answers->lines.size(), 1, 20'000);
    QCOMPARE(m_answers->lines[0].split(u'|')[0], "range failed");
    QVERIFY(!m_answers->lines[0].contains("invalid"));
}

void DataCallsTest::answersOfAnEarlierSession()
{
    m_server->on("GET /client-api/preferences", {.body = R"({"of":"olga"})", .held = true});
    answerAll({.body = "[]", .held = true});
    QSignalSpy received(m_server.get(), &ScriptedServer::received);
    m_client->fetchPreferences();
    m_client->fetchTimeline(id, from, to, requestId);
    QTRY_COMPARE(received.size(), 2);
    m_client->doLogin(m_server->url(), "ivan", "tajna");
    QTRY_COMPARE(m_answers->lines, QStringList("session changed"));
    m_server->release();
    QTRY_COMPARE(m_answers->lines.size(), 2);
    QTest::qWait(50);
    QCOMPARE(
        m_answers->lines, QStringList({"session changed", "timeline failed|" + id + "|Session ended|7|x"}));
}

void DataCallsTest::idsAndAddresses()
{
    QCOMPARE(m_client->nextRequestId(), "1");
    QCOMPARE(m_client->nextRequestId(""), "2");
    QCOMPARE(m_client->nextRequestId("live"), "live-3");
    QCOMPARE(m_client->segmentFileUrl(9'007'199'254'740'993, ""),
        m_server->url() + "/client-api/segments/9007199254740993/file");
    QCOMPARE(m_client->segmentFileUrl(5, "node %1&x"),
        m_server->url() + "/client-api/segments/5/file?node=node%20%251%26x");
}

void DataCallsTest::exportStream()
{
    QObject owner;
    m_server->on("GET /client-api/export/stream", {.status = 409, .body = R"({"error":"busy"})"});
    QNetworkReply *reply = m_client->openExportStream(id, from, from, to, true, &owner);
    QCOMPARE(reply->parent(), &owner);
    QTRY_VERIFY(reply->isFinished());
    const ScriptedServer::Request request = m_server->requests().last();
    QCOMPARE(request.target,
        "/client-api/export/stream?camera_id=" + encodedId
            + "&from=2026-05-03T14%3A05%3A00.250Z&to=2026-05-03T15%3A00%3A00.000Z"
              "&origin=2026-05-03T14%3A05%3A00.250Z&init=1");
    QCOMPARE(request.headers["authorization"], "Bearer tökén");
    QCOMPARE(Requests::serverErrorText(*reply, reply->readAll()), "busy");
}

void DataCallsTest::clientGoneBeforeTheAnswer()
{
    m_server->on("GET /client-api/cameras", {.body = "[]", .held = true});
    QSignalSpy received(m_server.get(), &ScriptedServer::received);
    m_client->fetchCameras();
    QTRY_COMPARE(received.size(), 1);
    m_client.reset();
    m_server->release();
    QTest::qWait(50);
    QCOMPARE(m_answers->lines, QStringList());
}

QTEST_GUILESS_MAIN(DataCallsTest)
#include "tst_DataCalls.moc"
