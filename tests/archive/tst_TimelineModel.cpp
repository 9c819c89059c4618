#include "archive/ArchivePlayer.h"
#include "archive/TimelineModel.h"
#include "support/SignedIn.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

namespace {

constexpr qint64 hourMs = 3'600'000;
const QDateTime noon({2024, 5, 3}, {12, 0}, Qt::UTC);

qint64 at(qint64 offsetMs)
{
    return noon.toMSecsSinceEpoch() + offsetMs;
}

QVariantMap span(qint64 start, qint64 end)
{
    return {{"start", start}, {"end", end}};
}

QByteArray rangeJson(qint64 earliestOffset, qint64 latestOffset)
{
    return QStringLiteral(R"({"earliest":%1,"latest":%2})")
        .arg(at(earliestOffset))
        .arg(at(latestOffset))
        .toLatin1();
}

// What the last two seconds before noon have.
QByteArray oneSpan()
{
    return QStringLiteral(R"([{"start":%1,"end":%2}])").arg(at(-2000)).arg(at(-1000)).toLatin1();
}

qint64 sentMs(const QString &text)
{
    return QDateTime::fromString(text, Qt::ISODateWithMs).toMSecsSinceEpoch();
}

} // namespace

class TimelineModelTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_server = std::make_unique<ScriptedServer>();
        m_client = signedIn(*m_server);
        m_model = std::make_unique<TimelineModel>(m_client.get());
        m_range = rangeJson(-24 * hourMs, 0);
        m_spans = "[]";
        m_batch = R"({"per_camera":{},"merged":[]})";
        m_server->otherwise([this](const ScriptedServer::Request &request) -> ScriptedServer::Answer {
            if (request.path().endsWith("recording-range"))
                return {.body = m_range};
            return {.body = request.path().endsWith("batch-timeline") ? m_batch : m_spans};
        });
    }

    void cleanup()
    {
        m_model.reset();
        m_client.reset();
        m_server.reset();
    }

    void asksForRangeThenSpans()
    {
        m_spans = oneSpan();
        for (const qint64 length : {24 * hourMs, hourMs}) {
            const QString camera = QString("cam%1").arg(length);
            m_range = rangeJson(-length, 0);
            m_model->loadTimeline(camera);
            QVERIFY(m_model->loading());
            QTRY_VERIFY(!m_model->loading());
            QCOMPARE(m_model->earliest(), at(-length));
            QCOMPARE(m_model->latest(), at(0));
            QCOMPARE(m_model->spans(), QVariantList{span(at(-2000), at(-1000))});
            const auto request = m_server->asked(camera.toUtf8() + "/timeline").value(0);
            QCOMPARE(sentMs(request.item("from")), at(-std::min(length, 6 * hourMs)));
            QCOMPARE(sentMs(request.item("to")), at(0));
            QCOMPARE(m_model->computeStartTime(), at(-hourMs));
            QCOMPARE(m_model->computeStartTime(100 * hourMs), at(-length));
        }
    }

    void asksOncePerCamera()
    {
        QSignalSpy loading(m_model.get(), &TimelineModel::loadingChanged);
        m_model->loadTimeline("cam");
        m_model->loadTimeline("cam");
        QTRY_VERIFY(!m_model->loading());
        QCOMPARE(m_server->asked("recording-range").size(), 1);
        QCOMPARE(loading.count(), 2);

        m_model->loadBatchTimeline({"cam", "other"});
        m_model->loadTimeline("cam");
        QTRY_COMPARE(m_server->asked("recording-range").size(), 2);
    }

    void visibleRangeIsAskedForOnceAndWidely()
    {
        m_model->loadRange(at(0), at(1000));
        m_model->loadTimeline("cam");
        QTRY_VERIFY(!m_model->loading());
        const auto *timer = m_model->findChild<QTimer *>();
        const qsizetype before = m_server->asked("timeline").size();

        m_model->loadRange(at(-5 * hourMs), at(-4 * hourMs));
        QVERIFY(!timer->isActive());
        m_model->loadRange(at(-30 * hourMs), at(-29 * hourMs));
        m_model->loadRange(at(-5 * hourMs), at(-4 * hourMs));
        QVERIFY(!timer->isActive());

        m_model->loadRange(at(-30 * hourMs), at(-29 * hourMs));
        m_model->loadRange(at(-20 * hourMs), at(-18 * hourMs));
        QTRY_COMPARE(m_server->asked("timeline").size(), before + 1);
        QCOMPARE(sentMs(m_server->requests().last().item("from")), at(-22 * hourMs));
        QCOMPARE(sentMs(m_server->requests().last().item("to")), at(-16 * hourMs));
        QTRY_VERIFY(!m_model->loading());

        m_model->loadRange(at(-22 * hourMs), at(-16 * hourMs));
        QVERIFY(!timer->isActive());
        m_model->loadRange(at(-40 * hourMs), at(-41 * hourMs));
        QVERIFY(timer->isActive());
        QTRY_VERIFY(!timer->isActive());
        QVERIFY(!m_model->loading());

        // The view is back before the answer to where it was.
        ScriptedServer::Answer answer{.body = "[]", .held = true};
        m_server->otherwise([&](const ScriptedServer::Request &request) {
            return request.path().endsWith("recording-range") ? ScriptedServer::Answer{.body = m_range}
                                                              : answer;
        });
        QSignalSpy answered(m_client.get(), &ApiClient::timelineReceived);
        QSignalSpy failed(m_client.get(), &ApiClient::timelineFailed);
        m_model->loadRange(at(-90 * hourMs), at(-80 * hourMs));
        QTRY_COMPARE(m_server->asked("timeline").size(), before + 2);
        m_model->loadRange(at(-20 * hourMs), at(-19 * hourMs));
        QVERIFY(!m_model->loading());
        m_server->release();
        QVERIFY(answered.wait());
        QCOMPARE(m_model->loadedFrom(), at(-22 * hourMs));

        // What could not be had is asked for again.
        answer = {.status = 500};
        m_model->loadRange(at(-90 * hourMs), at(-80 * hourMs));
        QVERIFY(failed.wait());
        answer = {.body = "[]"};
        m_model->refresh();
        QVERIFY(answered.wait());
        QCOMPARE(m_model->loadedFrom(), at(-100 * hourMs));

        constexpr qint64 most = std::numeric_limits<qint64>::max();
        m_model->loadRange(-most, most);
        QTRY_COMPARE(m_server->asked("timeline").size(), before + 5);
    }

    void dropsAnswersToEarlierQuestions()
    {
        m_model->loadTimeline("cam");
        QTRY_VERIFY(!m_model->loading());
        const QString current = lastRequestId();
        const QString earlier = QString::number(current.toInt() - 1);
        const QList<TimeSpanData> one{{noon, noon.addSecs(1)}};

        emit m_client->timelineReceived("other", one, current);
        emit m_client->timelineReceived("cam", one, earlier);
        QVERIFY(m_model->spans().isEmpty());
        emit m_client->timelineReceived("cam", one, current);
        QCOMPARE(m_model->spans().size(), 1);
        emit m_client->timelineReceived("cam", {}, "");
        QVERIFY(m_model->spans().isEmpty());

        m_model->clear();
        emit m_client->timelineReceived("cam", one, current);
        emit m_client->batchTimelineReceived({{"cam", QVariantList()}}, {span(1, 2)}, "");
        emit m_client->recordingRangeReceived("cam", {noon, noon, true});
        QVERIFY(m_model->spans().isEmpty());
        QVERIFY(!m_model->hasData());
    }

    void failureKeepsTheSpans()
    {
        m_spans = oneSpan();
        m_model->loadTimeline("cam");
        QTRY_COMPARE(m_model->spans().size(), 1);
        m_server->otherwise([](const auto &) { return ScriptedServer::Answer{.status = 500}; });
        QSignalSpy loading(m_model.get(), &TimelineModel::loadingChanged);
        m_model->loadRange(at(-90 * hourMs), at(-80 * hourMs));
        QTRY_COMPARE(loading.count(), 2);
        QCOMPARE(m_model->spans().size(), 1);
        QVERIFY(m_model->hasData());
    }

    void refreshFollowsTheRecording()
    {
        const auto growTo = [this](qint64 latestOffset) {
            m_range = rangeJson(-24 * hourMs, latestOffset);
            QSignalSpy answered(m_client.get(), &ApiClient::recordingRangeReceived);
            m_model->refresh();
            m_model->refresh();
            QVERIFY(answered.wait());
            QTRY_VERIFY(!m_model->loading());
            QCOMPARE(answered.count(), 1);
        };
        m_model->refresh();
        m_model->loadTimeline("cam");
        QTRY_COMPARE(m_model->loadedTo(), at(0));
        growTo(0);
        QCOMPARE(m_server->asked("cam/timeline").size(), 1);
        growTo(hourMs);
        QCOMPARE(m_model->latest(), at(hourMs));
        QCOMPARE(m_model->loadedFrom(), at(-6 * hourMs));
        QCOMPARE(m_model->loadedTo(), at(hourMs));

        m_server->otherwise([](const auto &) { return ScriptedServer::Answer{.status = 500}; });
        QSignalSpy failed(m_client.get(), &ApiClient::recordingRangeFailed);
        m_model->refresh();
        QVERIFY(failed.wait());
        QVERIFY(m_model->hasData());
        emit m_client->recordingRangeFailed("other", "gone");
        QVERIFY(m_model->hasData());
        emit m_client->recordingRangeFailed("cam", "gone");
        QVERIFY(!m_model->hasData() && m_model->latest() == 0 && m_model->computeStartTime() == 0);
    }

    void batchDerivesItsRange()
    {
        m_batch = R"({"per_camera":{"a":[],"b":[]},"merged":[]})";
        const qint64 now = QDateTime::currentMSecsSinceEpoch();
        m_model->loadBatchTimeline({"a", "b"});
        QTRY_VERIFY(!m_model->loading());
        QVERIFY(!m_model->hasData());
        const QJsonObject body = QJsonDocument::fromJson(m_server->requests().last().body).object();
        QCOMPARE(body["camera_ids"].toArray(), (QJsonArray{"a", "b"}));
        QVERIFY(std::abs(sentMs(body["to"].toString()) - now) < 5000);
        QCOMPARE(sentMs(body["to"].toString()) - sentMs(body["from"].toString()), 6 * hourMs);

        const QVariantMap perCamera{{"a", QVariantList{span(50, 60)}}, {"b", QVariantList{span(20, 40)}}};
        for (const auto &[merged, latest] : {std::pair(span(20, 60), 60), std::pair(span(30, 90), 90)}) {
            emit m_client->batchTimelineReceived(perCamera, {merged}, "");
            QCOMPARE(m_model->earliest(), 20);
            QCOMPARE(m_model->latest(), latest);
        }
        QCOMPARE(m_model->coverageFor("b"), QVariantList{span(20, 40)});

        // Where an answer told of nothing there is nothing, where none told there may be something.
        ArchivePlayer player;
        player.init(m_client.get());
        player.setSynchronized(true);
        player.startFrom("b", 25);
        m_model->handCoverage(&player, "b");
        player.showAt(30);
        QCOMPARE(player.state(), "loading");
        player.showAt(50);
        QCOMPARE(player.state(), "no_footage");
        m_model->handCoverage(&player, "c");
        player.showAt(50);
        QCOMPARE(player.state(), "loading");
        QVERIFY(m_model->coverageFor("c").isEmpty());
        emit m_client->batchTimelineFailed("gone", "");
        QCOMPARE(m_model->spans().size(), 1);
        m_model->loadBatchTimeline({});
        QVERIFY(m_model->coverageFor("b").isEmpty());
    }

    // Of a range and of spans: text, other shapes, reversed, overlapping, beyond all bounds, and many.
    void malformedAnswers()
    {
        const QByteArray one = R"({"start":1000000,"end":2000000},)";
        const std::pair<QByteArray, QByteArray> answers[]{{"<html>", "<html>"}, {"[1,2]", R"({"spans":7})"},
            {R"({"earliest":2000000,"latest":1000000})", R"([{"start":5000000,"end":1000000}])"},
            {R"({"earliest":-5000,"latest":-1})",
                R"([{"start":1,"end":3},{"start":2,"end":2},{"start":0,"end":9}])"},
            {R"({"earliest":-9223372036854775808,"latest":9223372036854775807})",
                R"([{"start":-9223372036854775808,"end":9223372036854775807},{"start":1e300,"end":-1e300}])"},
            {"", '[' + one.repeated(20'000).chopped(1) + ']'}};
        const auto settles = [&] { return !m_model->loading() && m_model->earliest() <= m_model->latest(); };
        for (const auto &[range, spans] : answers) {
            m_range = range;
            m_model->loadTimeline("cam");
            QTRY_VERIFY(settles());
            m_model->computeStartTime(std::numeric_limits<qint64>::min());
            m_model->clear();
            m_range = rangeJson(-24 * hourMs, 0);
            m_spans = spans;
            m_model->loadTimeline("cam");
            QTRY_VERIFY(settles());
            m_batch = R"({"per_camera":{"a":)" + spans + R"(},"merged":)" + spans + "}";
            m_model->loadBatchTimeline({"a"});
            QTRY_VERIFY(settles());
            m_model->clear();
        }
    }

private:
    QString lastRequestId()
    {
        QString id;
        for (int i = 1; i < 20 && id.isEmpty(); ++i) {
            QSignalSpy spans(m_model.get(), &TimelineModel::spansChanged);
            emit m_client->timelineReceived(m_model->cameraId(), {}, QString::number(i));
            if (!spans.isEmpty())
                id = QString::number(i);
        }
        return id;
    }

    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<ApiClient> m_client;
    std::unique_ptr<TimelineModel> m_model;
    QByteArray m_range;
    QByteArray m_spans;
    QByteArray m_batch;
};

QTEST_GUILESS_MAIN(TimelineModelTest)
#include "tst_TimelineModel.moc"
