#include "net/ApiClient.h"
#include "support/LogCapture.h"
#include "support/ScriptedServer.h"
#include "support/SignalLines.h"

#include <QFutureWatcher>
#include <QNetworkReply>
#include <QTest>

namespace {

const QDateTime from = QDateTime::fromString("2026-05-03T16:05:00.250+02:00", Qt::ISODateWithMs);
const QDateTime to(QDate(2026, 5, 3), QTime(15, 0), Qt::UTC);
const QString id = "a/b?c d%2F&é";
const QByteArray encodedId = "a%2Fb%3Fc%20d%252F%26%C3%A9";
const QByteArray start = "2026-05-03T14%3A05%3A00.250Z";
const QByteArray end = "2026-05-03T15%3A00%3A00.000Z";
const QString requestId = "7|x";

struct Call
{
    std::function<void(ApiClient &)> make;
    // Below /client-api/.
    QByteArray request;
    QByteArray body;
    // How a failure is told, where it is told by a signal; ID is the camera's or the plan's.
    QString signal;
    // An answer of the other kind of JSON, where the kind matters.
    QByteArray wrongAnswer;
};

const QMap<QByteArray, Call> calls{
    {"cameras", {[](ApiClient &client) { client.fetchCameras(); }, "GET cameras", {}, {}, "{}"}},
    {"status", {[](ApiClient &client) { client.fetchCamerasStatus(); }, "GET cameras/status", {}, {}, "{}"}},
    {"stream",
        {[](ApiClient &client) { client.fetchStreamUrl(id, "sub", requestId); },
            "GET cameras/ID/stream-url?role=sub", {}, "streamUrlFailed|ID|TEXT|7|x", "[]"}},
    {"range",
        {[](ApiClient &client) { client.fetchRecordingRange(id); }, "GET cameras/ID/recording-range", {},
            "recordingRangeFailed|ID|TEXT", "[]"}},
    {"timeline",
        {[](ApiClient &client) { client.fetchTimeline(id, from, to, requestId); },
            "GET cameras/ID/timeline?from=" + start + "&to=" + end, {}, "timelineFailed|ID|TEXT|7|x", "{}"}},
    {"segments",
        {[](ApiClient &client) { client.fetchSegments(id, from, 50, requestId); },
            "GET cameras/ID/segments?from=" + start + "&limit=50", {}, "segmentsFailed|ID|TEXT|7|x", "{}"}},
    {"batch",
        {[](ApiClient &client) {
             client.fetchBatchTimeline({"a", id}, from, to, requestId);
         },
            "POST playback/batch-timeline",
            R"({"camera_ids":["a","a/b?c d%2F&é"],"from":"2026-05-03T14:05:00.250Z",)"
            R"("to":"2026-05-03T15:00:00.000Z"})",
            "batchTimelineFailed|TEXT|7|x", "[]"}},
    {"plans", {[](ApiClient &client) { client.fetchFloorPlans(); }, "GET floor-plans", {}, {}, "{}"}},
    {"plan",
        {[](ApiClient &client) { client.fetchFloorPlan(id); }, "GET floor-plans/ID", {},
            "floorPlanFailed|ID|TEXT", "[]"}},
    {"open",
        {[](ApiClient &client) { client.fetchOpenIncidents(); }, "GET incidents?status=open,acked", {}, {},
            "{}"}},
    {"journal",
        {[](ApiClient &client) {
             client.fetchIncidents({{"status", "a&b"}, {"limit", 50}, {"source", ""}});
         },
            "GET incidents?limit=50&status=a%26b", {}, {}, "{}"}},
    {"ack",
        {[](ApiClient &client) { client.ackIncident(id); }, "POST incidents/ID/ack", "{}",
            "incidentActionFailed|ID|TEXT", {}}},
    {"resolve",
        {[](ApiClient &client) { client.resolveIncident(id, "done", true); }, "POST incidents/ID/resolve",
            R"({"false_positive":true,"resolution":"done"})", "incidentActionFailed|ID|TEXT", {}}},
    {"create",
        {[](ApiClient &client) { client.createIncident("t", "d", 6, "cam", "gate"); }, "POST incidents",
            R"({"camera_id":"cam","description":"d","severity":6,"title":"t","zone":"gate"})",
            "incidentActionFailed||TEXT", {}}},
    {"preferences", {[](ApiClient &client) { client.fetchPreferences(); }, "GET preferences", {}, {}, {}}},
    {"save",
        {[](ApiClient &client) { client.savePreferences(R"({"a": [1]})"); }, "PUT preferences",
            R"({"a": [1]})", {}, {}}},
};

template <typename Record>
void showAs(QStringList (*words)(const Record &))
{
    QMetaType::registerConverter<Record, QString>(
        [words](const Record &record) { return words(record).join(u' '); });
}

QString text(const QDateTime &instant)
{
    return instant.isValid() ? QString::number(instant.toMSecsSinceEpoch()) : QString();
}

} // namespace

class DataCallsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        showAs<CameraData>([](const CameraData &camera) {
            return QStringList({camera.id, camera.name, QString::number(camera.enabled)});
        });
        showAs<CameraStatusData>([](const CameraStatusData &status) {
            return QStringList({status.cameraId, status.state, status.error});
        });
        showAs<RecordingRangeData>([](const RecordingRangeData &range) {
            return QStringList({text(range.earliest), text(range.latest), QString::number(range.hasData)});
        });
        showAs<TimeSpanData>([](const TimeSpanData &span) {
            return QStringList({text(span.start), text(span.end)});
        });
        showAs<SegmentData>([](const SegmentData &segment) {
            return QStringList({QString::number(segment.id), segment.nodeId, text(segment.startTime),
                text(segment.endTime), QString::number(segment.fileSize)});
        });
    }

    void init()
    {
        m_server = std::make_unique<ScriptedServer>();
        m_server->on("POST /client-api/auth/login", R"({"access_token":"tökén"})");
        m_client = std::make_unique<ApiClient>();
        m_client->doLogin(m_server->url(), "olga", "geheim");
        QTRY_VERIFY(m_client->isAuthenticated());
        m_signals.emplace(m_client.get(), QStringList({"errorChanged", "loadingChanged"}));
    }

    void requestsAndFailures_data()
    {
        QTest::addColumn<QByteArray>("name");
        for (const QByteArray &name : calls.keys())
            QTest::newRow(name.constData()) << name;
    }

    void requestsAndFailures()
    {
        QFETCH(QByteArray, name);
        const Call call = calls[name];
        LogCapture log;
        answer(call, {.status = 404, .body = R"({"error":"no such camera"})"});
        const ScriptedServer::Request request = m_server->requests().last();
        QCOMPARE(request.method + ' ' + request.target,
            QByteArray(call.request).replace(" ", " /client-api/").replace("ID", encodedId));
        QCOMPARE(request.body, call.body);
        QCOMPARE(request.headers["authorization"], "Bearer tökén");
        QCOMPARE(request.headers.value("content-type"), request.method == "GET" ? "" : "application/json");

        const auto told = [&call](const QString &error) {
            const QString line = QString(call.signal).replace("ID", id).replace("TEXT", error);
            return line.isEmpty() ? QStringList() : QStringList(line);
        };
        // The network layer has its own way to write addresses.
        static const QRegularExpression address("http://.* - ");
        const QString error = name == "stream"
            ? "no such camera"
            : "HTTP 404: Error transferring URL - server replied: Scripted";
        QCOMPARE(m_signals->take().replaceInStrings(address, "URL - "), told(error));
        const QStringList warnings = log.taken().filter("warning ");
        QCOMPARE(warnings.size(), name == "stream" ? 0 : 1);
        QVERIFY(warnings.filter("tökén").isEmpty());
        QVERIFY(m_client->isAuthenticated());

        if (call.wrongAnswer.isEmpty())
            return;
        for (const QByteArray &body : {call.wrongAnswer, QByteArray(), QByteArray("null"),
                 QByteArray("\"x\""), QByteArray("<html>"), QByteArray(R"([{"id":)"), QByteArray("[{}] []"),
                 QByteArray(100'000, '['), QByteArray(R"({"a":)").repeated(50'000)}) {
            answer(call, {.body = body});
            QCOMPARE(m_signals->take(), told(name == "stream" ? "Invalid response" : "invalid response"));
        }
    }

    // A row is named after its call, and after what is special.
    void answers_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("signal");
        const auto row = [](const QByteArray &name, const QByteArray &body, QString signal) {
            QTest::newRow(name.constData()) << body << signal.replace("ID", id);
        };
        row("cameras among others",
            R"([1,null,[],{"id":"1","name":"Gate","enabled":true},{"id":7,"name":{},"enabled":"yes"}])",
            "camerasReceived|[1 Gate 1,  0]");
        row("status", R"([[],{"camera_id":"1","state":"offline","error":"timeout"},{"camera_id":["1"]}])",
            "cameraStatusReceived|[1 offline timeout,  ]");
        row("stream of a wrong type", R"({"url":["camera:1"]})", "streamUrlFailed|ID|Empty stream URL|7|x");
        row("range by half", R"({"earliest":1000,"latest":null})", "recordingRangeReceived|ID|1000  0");
        row("range by instants of other kinds", R"({"earliest":-1,"latest":"1969-12-31T18:30:01.5-05:30"})",
            "recordingRangeReceived|ID|-1 1500 1");
        // Without an offset nobody knows which instant is meant.
        for (const QByteArray instant : {R"("2026-05-03T14:05:00")", R"("2026-13-03T14:05:00Z")", "true",
                 "{}", "253402300800000", "-9223372036854775808"}) {
            row("range of no instants " + instant, R"({"earliest":)" + instant + '}',
                "recordingRangeReceived|ID|  0");
        }
        row("timeline",
            R"([7,{},{"start":"1970-01-01T03:00:01+03:00","end":"1970-01-01T00:00:02Z"},{"start":1},
            {"start":"x","end":2},{"start":5,"end":4},{"start":1e300,"end":1e301},{"start":1,"end":1}])",
            "timelineReceived|ID|[1000 2000,1 1]|7|x");
        row("segments",
            R"([{"id":9223372036854775807,"node_id":"n","start_time":0,"end_time":1500,"file_size":5000000000},
            {"id":9007199254740993,"start_time":1500,"end_time":1500,"file_size":-1},
            {"id":"42","node_id":5,"start_time":1,"end_time":2,"file_size":1e3}])",
            "segmentsReceived|ID|[9223372036854775807 n 0 1500 5000000000,9007199254740993  1500 1500 0,"
            "42  1 2 1000]|7|x");
        row("segments of no use",
            R"([null,{"start_time":1,"end_time":2},{"id":9223372036854775808,"start_time":1,"end_time":2},
            {"id":1.5,"start_time":1,"end_time":2},{"id":-4,"start_time":1,"end_time":2},
            {"id":3,"start_time":2,"end_time":1},{"id":4,"start_time":1,"end_time":null}])",
            "segmentsReceived|ID|[]|7|x");
        row("batch",
            R"({"per_camera":{"a":[{"start":1,"end":2}],"b":[],"c":null},"merged":[{"start":1,"end":2}]})",
            R"(batchTimelineReceived|{"a":[{"end":2,"start":1}],"b":[],"c":[]}|[{"end":2,"start":1}]|7|x)");
        row("batch with a number for spans", R"({"per_camera":{"a":[],"b":7},"merged":[]})",
            "batchTimelineFailed|invalid response|7|x");
        row("batch of arrays", R"({"per_camera":[],"merged":[]})",
            "batchTimelineFailed|invalid response|7|x");
    }

    void answers()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, signal);
        answer(calls[QByteArray(QTest::currentDataTag()).split(' ').first()], {.body = body});
        QCOMPARE(m_signals->lines, QStringList(signal));
    }

    void hugeAnswers()
    {
        answer(calls["cameras"], {.body = '[' + QByteArray("{},").repeated(300'000) + "{}]"});
        QCOMPARE(m_signals->take().value(0).count(" 0"), 300'001);
        answer(calls["range"], {.body = QByteArray(Requests::answerLimit + 1, ' ')});
        const QString line = m_signals->lines.value(0);
        QVERIFY2(line.startsWith("recordingRangeFailed|") && !line.contains("invalid"), qPrintable(line));
    }

    void answersOfAnEarlierSession()
    {
        // Held back until the next user has signed in.
        m_server->otherwise([](const auto &) { return ScriptedServer::Answer{.body = "[]", .held = true}; });
        m_client->fetchRecordingRange(id);
        m_client->fetchPreferences();
        m_client->ackIncident("9");
        QTRY_COMPARE(m_server->requests().size(), 4);
        m_client->doLogout();
        QCOMPARE(m_signals->lines,
            QStringList({"recordingRangeFailed|" + id + "|Session ended", "authChanged", "signedOut"}));
        m_client->doLogin(m_server->url(), "ivan", "tajna");
        QTRY_VERIFY(m_client->isAuthenticated());
        m_signals->lines.clear();
        m_server->release();
        QTRY_VERIFY(!m_client->findChild<QNetworkReply *>());
        QCOMPARE(m_signals->lines, QStringList());

        // The session ends while a long answer is read.
        m_server->otherwise([](const auto &) { return ScriptedServer::Answer{.body = "[]"}; });
        m_client->fetchTimeline(id, from, to, requestId);
        connect(m_client->findChild<QNetworkReply *>(), &QNetworkReply::finished, m_client.get(),
            &ApiClient::doLogout);
        QTRY_VERIFY(m_signals->lines.contains("timelineFailed|" + id + "|Session ended|7|x"));
        QCOMPARE(m_signals->lines.filter("timeline").size(), 1);
    }

    void overtakenLists()
    {
        for (const char *name : {"cameras", "status"}) {
            int asked = 0;
            m_server->otherwise([&asked](const auto &) {
                return ++asked == 1
                    ? ScriptedServer::Answer{.body = R"([{"id":"old","camera_id":"old"}])", .held = true}
                    : ScriptedServer::Answer{.body = R"([{"id":"new","camera_id":"new"}])"};
            });
            calls[name].make(*m_client);
            QTRY_COMPARE(asked, 1);
            calls[name].make(*m_client);
            QTRY_COMPARE(m_signals->lines.size(), 1);
            QVERIFY(m_signals->take().value(0).contains("new"));
            m_server->release();
            QTRY_VERIFY(!m_client->findChild<QNetworkReply *>());
            QCOMPARE(m_signals->lines, QStringList());
        }
    }

    void addressOfARecordedFile()
    {
        m_client->checkStatus("HTTP://Host:8090/");
        QCOMPARE(
            m_client->segmentFileUrl(7, "n 1"), "http://Host:8090/client-api/segments/7/file?node=n%201");
    }

private:
    // Makes the call, and returns when the client is done with the answer.
    void answer(const Call &call, const ScriptedServer::Answer &answer)
    {
        m_server->otherwise([answer](const ScriptedServer::Request &) { return answer; });
        call.make(*m_client);
        QSignalSpy done(m_client->findChild<QNetworkReply *>(), &QObject::destroyed);
        QVERIFY(done.wait(20'000));
        QTRY_VERIFY(!m_client->findChild<QFutureWatcherBase *>());
    }

    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<ApiClient> m_client;
    std::optional<SignalLines> m_signals;
};

QTEST_GUILESS_MAIN(DataCallsTest)
#include "tst_DataCalls.moc"
