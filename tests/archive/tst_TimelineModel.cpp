#include "archive/ArchivePlayer.h"
#include "archive/TimelineModel.h"
#include "support/SignedIn.h"

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
        m_server->otherwise([this](const ScriptedServer::Request &request) -> ScriptedServer::Answer {
            return {.body = request.path().endsWith("recording-range") ? m_range : m_spans};
        });
    }

    void cleanup()
    {
        m_model.reset();
        m_client.reset();
        m_server.reset();
    }

    void visibleRangeIsAskedForOnceAndWidely()
    {
        m_model->loadTimeline("cam");
        m_model->loadTimeline("cam");
        QTRY_VERIFY(!m_model->loading());
        QCOMPARE(m_server->asked("recording-range").size(), 1);
        QCOMPARE(sentMs(m_server->requests().last().item("from")), at(-6 * hourMs));
        const auto *timer = m_model->findChild<QTimer *>();
        const qsizetype before = m_server->asked("timeline").size();

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
        m_model->loadTimeline("first");
        QTRY_VERIFY(!m_model->loading());
        m_model->loadTimeline("cam");
        QTRY_VERIFY(!m_model->loading());
        const QString earlier = "1";
        const QString current = "2";
        const QList<TimeSpanData> one{{noon, noon.addSecs(1)}};

        emit m_client->timelineReceived("other", one, current);
        emit m_client->timelineReceived("cam", one, earlier);
        QVERIFY(m_model->spans().isEmpty());
        emit m_client->timelineReceived("cam", one, current);
        QCOMPARE(m_model->spans().size(), 1);
        emit m_client->timelineReceived("cam", {}, "");
        QVERIFY(m_model->spans().isEmpty());
        emit m_client->recordingRangeReceived("cam", {noon, noon.addSecs(-1), true});
        QVERIFY(!m_model->hasData());

        m_model->clear();
        emit m_client->timelineReceived("cam", one, current);
        emit m_client->batchTimelineReceived({{"cam", QVariantList()}}, {span(1, 2)}, "");
        emit m_client->recordingRangeReceived("cam", {noon, noon, true});
        QVERIFY(m_model->spans().isEmpty());
        QVERIFY(!m_model->hasData());
    }

    void refreshFollowsTheRecording()
    {
        m_spans = oneSpan();
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
        QSignalSpy loading(m_model.get(), &TimelineModel::loadingChanged);
        m_model->loadRange(at(-90 * hourMs), at(-80 * hourMs));
        QTRY_COMPARE(loading.count(), 2);
        QCOMPARE(m_model->spans().size(), 1);
        QVERIFY(m_model->hasData());
    }

    void batchFollowsTheRecordingFromAfar()
    {
        const auto recordedTo = [this](qint64 latest) {
            m_spans = QStringLiteral(R"({"per_camera":{"a":[]},"merged":[{"start":9,"end":%1}]})")
                          .arg(latest)
                          .toLatin1();
        };
        recordedTo(5000);
        m_model->loadBatchTimeline({"a"});
        QTRY_COMPARE(m_model->latest(), 5000);
        m_model->loadRange(1000, 2000);
        QTRY_COMPARE(m_model->loadedTo(), 3000);
        QSignalSpy spansChanged(m_model.get(), &TimelineModel::spansChanged);
        recordedTo(9000);
        m_model->refresh();
        QTRY_COMPARE(m_model->latest(), 9000);
        QVERIFY(m_server->requests().last().body.contains(R"("from":"1970-01-01T00:00:05.000Z")"));
        QCOMPARE(m_model->loadedTo(), 3000);
        QCOMPARE(spansChanged.count(), 0);
    }

    void batchTellsWhereNothingIs()
    {
        const QVariantMap perCamera{{"a", QVariantList{span(50, 60)}}, {"b", QVariantList{span(20, 40)}}};
        m_model->loadBatchTimeline({"a", "b"});
        for (const auto &[merged, latest] : {std::pair(span(20, 60), 60), std::pair(span(30, 90), 90)}) {
            emit m_client->batchTimelineReceived(perCamera, {merged}, "");
            emit m_client->batchTimelineReceived({{"cam", QVariantList()}}, {}, "");
            QCOMPARE(m_model->spans().size(), 1);
            QCOMPARE(m_model->earliest(), 20);
            QCOMPARE(m_model->latest(), latest);
        }

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
    }

private:
    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<ApiClient> m_client;
    std::unique_ptr<TimelineModel> m_model;
    QByteArray m_range;
    QByteArray m_spans;
};

QTEST_GUILESS_MAIN(TimelineModelTest)
#include "tst_TimelineModel.moc"
