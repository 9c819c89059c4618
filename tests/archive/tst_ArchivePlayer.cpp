#include "archive/ArchivePlayer.h"
#include "archive/RecordingServer.h"
#include "live/MpvObject.h"
#include "support/LogCapture.h"
#include "support/SignedIn.h"

#include <QLoggingCategory>
#include <QTest>

#include <clocale>
#include <functional>

namespace {

constexpr qint64 base = RecordingServer::base;
const QString camera = QStringLiteral("cam");

/// Segments of ten seconds each, one after the other.
Recording continuous(int count, qint64 firstId = 1)
{
    Recording recording;
    for (int i = 0; i < count; ++i)
        recording.append({firstId + i, i * 10'000LL, (i + 1) * 10'000LL});
    return recording;
}

} // namespace

/**
 * The decisions of the player. The video item stays without a window, so that it plays nothing and the test
 * says when a file is shown, has moved on or has ended.
 */
class ArchivePlayerTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { std::setlocale(LC_NUMERIC, "C"); }

    void init()
    {
        m_server = std::make_unique<RecordingServer>();
        m_server->recording = continuous(3);
        m_instead = {};
        m_lines.clear();
        m_server->otherwise([this](const ScriptedServer::Request &request) {
            const bool instead = m_instead.status != 200 || !m_instead.body.isEmpty() || m_instead.held;
            return instead ? m_instead : m_server->segments(request);
        });
        m_client = signedIn(*m_server);
        m_log = std::make_unique<LogCapture>();
        m_item = std::make_unique<MpvObject>();
        m_player = std::make_unique<ArchivePlayer>();
        m_player->init(m_client.get());
        m_player->setPlayer(m_item.get());
        connect(m_client.get(), &ApiClient::segmentsReceived, this, [this] { ++m_answers; });
        connect(m_client.get(), &ApiClient::segmentsFailed, this, [this] { ++m_answers; });
    }

    void cleanup()
    {
        m_lines += m_log->taken();
        QVERIFY(m_lines.filter("secret-token").isEmpty());
        m_log.reset();
        m_player.reset();
        m_item.reset();
        m_client.reset();
        m_server.reset();
    }

    // What is recorded, in seconds; what happens, see perform(); how it ends, see summary().
    void decisions_data()
    {
        QTest::addColumn<QString>("recorded");
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("outcome");
        const auto row = [](const char *name, const char *recorded, const char *steps, const char *outcome) {
            QTest::newRow(name) << recorded << steps << outcome;
        };
        const char *const gap = "0-10 20-30";
        row("start inside a file", gap, "start 3.5", "playing 1+3.5 @3.5 asks 1");
        row("start in a gap, alone", gap, "start 15", "playing 2+0.0 @15 asks 1");
        row("start in a gap, in step", gap, "sync, start 15", "no_footage 0 @15 asks 1");
        row("start before everything", gap, "start -50", "playing 1+0.0 @-50 asks 1");
        row("start after everything, alone", gap, "start 90", "ended 0 @90 asks 1");

        row("over a short gap, in step", "0-10 12-30", "sync, start 0, page, end", "playing 2+0.0 @0 asks 2");
        row("over a long gap", "0-10 12.001-30", "start 0, page, end", "playing 2+0.0 @12.001 asks 2");
        row("into a long gap, in step", "0-10 12.001-30", "sync, start 0, page, end",
            "no_footage 1+0.0 @0 asks 2 still");
        row("back before a long gap and into it again", gap,
            "sync, start 0, page, end, at 5, frame, at 15, at 15.2, rest",
            "no_footage 1+5.0 @15.2 asks 2 still");

        const char *const two = "0-10 10-20";
        row("nothing follows", two, "start 0, page, end, page, move, rest", "playing 2+0.0 @10 asks 3");
        row("back from the end", two, "start 0, page, end, page, end, until ended, seek 12",
            "loading 2+2.0 @12 asks 4");
        row("a page fails", two, "start 0, fail, page, move, move, rest", "playing 1+0.0 @0 asks 2");
        row("the page fails that is needed", two, "start 0, fail, page, end", "error 1+0.0 @0 asks 3");

        const char *const three = "0-10 10-20 20-30";
        row("seek to the last instant of the file", three, "start 0, page, seek 9.999",
            "playing 1+0.0 @9.999 asks 2");
        row("seek to the first of the next", three, "start 0, page, seek 10", "loading 2+0.0 @10 asks 2");
        row("seek far away", three, "start 0, page, seek 500", "ended 0 @500 asks 3");
        row("seek before the file is open, and then", three, "open 0, seek 7, frame",
            "playing 1+0.0 @7 asks 1");

        row("seek in the pause", three, "start 0, pause, seek 4", "paused 1+0.0 @4 asks 1 still");
        row("seek to another file in the pause", three, "start 0, page, pause, seek 25, frame",
            "playing 3+5.0 @25 asks 2");

        const char *const late = "0-10 10-20 40-50";
        row("clock jumps in the file", late, "sync, start 0, page, at 4.001", "playing 1+0.0 @4.001 asks 2");
        row("clock jumped while it was loading", late, "sync, start 0, page, at 15, at 45, frame, at 45.2",
            "loading 3+5.2 @45.2 asks 2");
        row("clock jumps to where nothing is", late, "sync, start 0, page, at 30", "no_footage 0 @30 asks 3");
        row("clock jumps far while a file is loading", "0-10 90-99",
            "sync, open 0, at 91, frame, tick 91, frame, at 95, at 96", "playing 2+1.0 @95 asks 2");
        row("clock jumps far while the server fails", "0-10 90-99",
            "sync, start 0, fail, page, at 91, heal, tick 91, frame, at 95, at 96",
            "playing 2+1.0 @95 asks 3");
        row("clock goes back from a gap", "0-10 60-70", "sync, start 8.5, page, end, at 9.8, at 7",
            "loading 1+7.0 @7 asks 2");
        row("clock where nothing is", "", "sync, start 0, at 5, at 50, rest", "no_footage 0 @0 asks 1");
        row("clock comes back from after it all", "0-10", "sync, start 90, at 5, at 6, forget, at 7",
            "loading 1+7.0 @7 asks 2");
        row("clock runs through a gap", gap, "sync, start 15, at 15.2, at 15.4, at 19.9, rest",
            "no_footage 0 @19.9 asks 1");
        row("clock comes out of a gap", gap, "sync, start 15, at 15.2, at 20.1",
            "loading 2+0.1 @20.1 asks 1");
        row("clock where something may be now", "", "sync, start 0, at 5, forget, at 60",
            "no_footage 0 @60 asks 2");

        row("the server fails, the clock goes on", three, "sync, fail, start 0, at 0.2, at 0.4, rest",
            "error 0 @0 asks 1");
        row("the server is well again", three, "fail, start 0, heal, start 0", "playing 1+0.0 @0 asks 2");
    }

    void decisions()
    {
        QFETCH(QString, recorded);
        QFETCH(QString, steps);
        QFETCH(QString, outcome);
        m_server->recording.clear();
        const auto ms = [](const QString &seconds) { return qRound64(seconds.toDouble() * 1000); };
        for (const QString &file : recorded.split(' ', Qt::SkipEmptyParts)) {
            const qint64 id = m_server->recording.size() + 1;
            m_server->recording.append({id, ms(file.section('-', 0, 0)), ms(file.section('-', 1))});
        }
        for (const QString &step : steps.split(", ")) {
            perform(step.section(' ', 0, 0), step.section(' ', 1), base + ms(step.section(' ', 1)));
            if (QTest::currentTestFailed())
                return;
        }
        QTRY_COMPARE(summary(), outcome);
    }

    void fetchesPagesAndStaysBounded()
    {
        QLoggingCategory::setFilterRules("zorvel.playback.debug=true");
        m_server->recording = continuous(300);
        start(0);
        for (int played = 1; played <= 290; ++played) {
            QCOMPARE(playedId(), played);
            QCOMPARE(m_player->state(), "playing");
            move();
            move();
            QCOMPARE(now(), (played - 1) * 10'000);
            endFile();
            QTRY_COMPARE(playedId(), played + 1);
        }
        QVERIFY(asked() > 10 && asked() < 20);

        // It goes on after it seemed to be over.
        while (playedId() < 300)
            endFile();
        fetchPage();
        m_server->recording = continuous(301);
        endFile();
        QTRY_COMPARE(playedId(), 301);
        fetchPage();

        // The answers come when nothing more is loaded: the 41st of 61 plays, later the 56th of 76.
        QLoggingCategory::setFilterRules({});
        const QStringList trims = m_log->taken().filter("trimmed");
        QVERIFY(trims.size() > 5);
        QCOMPARE(trims[0].section(": ", 1), "trimmed 25 old segments, keeping 36");
        QCOMPARE(trims[1].section(": ", 1), "trimmed 40 old segments, keeping 36");
    }

    void continuesWhenThePageComesLate()
    {
        start(0);
        m_instead.held = true;
        move();
        QTRY_COMPARE(asked(), 2);
        endFile();
        m_player->pause();
        m_instead = {};
        answerLate(2, 10'000);
        QCOMPARE(playedId(), 1);
        QCOMPARE(m_player->state(), "paused");
        m_player->resume();
        QCOMPARE(playedId(), 2);
        QCOMPARE(m_player->state(), "playing");

        m_player->setSynchronized(true);
        m_instead.held = true;
        move();
        endFile();
        answerLate(3, 60'000);
        QCOMPARE(playedId(), 2);
        QCOMPARE(m_player->state(), "no_footage");
    }

    void playsOnOnlyWhenResumed()
    {
        start(0);
        fetchPage();
        m_player->pause();
        endFile();
        QCOMPARE(m_player->state(), "paused");
        QCOMPARE(playedId(), 1);
        m_player->resume();
        QCOMPARE(playedId(), 2);
        m_player->seek(base + 25'000);
        emit m_item->firstFrameRendered();
        m_player->pause();
        endFile();
        QTRY_COMPARE(m_player->state(), "ended");
    }

    void dropsLateAnswers()
    {
        m_instead.held = true;
        m_player->startFrom(camera, base);
        m_player->startFrom(camera, base + 20'000);
        QTRY_VERIFY(asked() > 0);
        const QDateTime from = QDateTime::fromMSecsSinceEpoch(base);
        const QList<SegmentData> answer{{7, "n1", from, from.addSecs(100), 1}};
        emit m_client->segmentsReceived(camera, answer, "1");
        emit m_client->segmentsReceived("other", answer, "2");
        emit m_client->segmentsFailed(camera, "late", "1");
        QCOMPARE(playedId(), 0);
        QCOMPARE(m_player->state(), "loading");
        emit m_client->segmentsReceived(camera, answer, "2");
        QCOMPARE(playedId(), 7);
        emit m_client->segmentsReceived(camera, {}, "2");
        QCOMPARE(m_player->state(), "loading");
        m_player->stop();
        emit m_client->segmentsReceived(camera, answer, "2");
        emit m_client->segmentsReceived("", answer, "2");
        QCOMPARE(m_player->state(), "idle");
        QCOMPARE(m_player->currentTime(), 0);
        QVERIFY(m_player->loadedCameraId().isEmpty());
    }

    void withdrawsWhatItWaitedForWhenItStops()
    {
        m_instead.held = true;
        m_instead.body = RecordingServer::toJson({{9, 0, 10'000}});
        const int before = m_answers;
        m_player->startFrom(camera, base);
        QTRY_COMPARE(asked(), 1);
        m_instead = {};
        m_player->stop();
        m_server->release();

        // Its first request has the same id.
        ArchivePlayer successor;
        successor.init(m_client.get());
        successor.setPlayer(m_item.get());
        successor.startFrom(camera, base + 20'000);
        QTRY_COMPARE(playedId(), 3);
        QCOMPARE(m_answers, before + 1);
        QCOMPARE(asked(), 2);
    }

    void knowsWhereNothingWasRecorded()
    {
        m_player->setSynchronized(true);
        m_player->setCoverage(
            {QVariantMap{{"start", base}, {"end", base + 20'000}}, QVariantMap{{"start", 5}},
                QVariantMap{{"start", base + 90'000}, {"end", base + 80'000}}, "nonsense"});
        start(0);
        QSignalSpy states(m_player.get(), &ArchivePlayer::stateChanged);
        const qsizetype before = asked();
        m_player->showAt(base + 20'000);
        QCOMPARE(m_player->state(), "no_footage");
        QVERIFY(m_item->paused());
        m_player->showAt(base + 85'000);
        QCOMPARE(now(), 85'000);
        QCOMPARE(states.count(), 1);
        m_player->showAt(base + 5000);
        QCOMPARE(m_player->state(), "loading");
        QVERIFY(!m_item->paused());
        QCOMPARE(playedId(), 1);
        QCOMPARE(asked(), before);
    }

    void malformedAnswers_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("out of order")
            << RecordingServer::toJson({{3, 20'000, 30'000}, {1, 0, 10'000}, {2, 10'000, 20'000}});
        QTest::newRow("overlapping") << RecordingServer::toJson(
            {{1, 0, 10'000}, {2, 5000, 15'000}, {3, 5000, 30'000}, {4, 0, 90'000}});
        QTest::newRow("a very long list") << RecordingServer::toJson(continuous(20'000));
    }

    // Whatever comes, the player reaches a state in which it rests, asks no more than it plays, and still
    // works.
    void malformedAnswers()
    {
        QFETCH(QByteArray, body);
        for (const bool synchronized : {false, true}) {
            m_player->setSynchronized(synchronized);
            m_instead.body = body;
            start(1000);
            for (int i = 0; i < 10; ++i) {
                move();
                m_player->showAt(base + i * 5000);
                endFile();
                m_player->seek(base + i * 3000);
                QTest::qWait(1);
            }
            QVERIFY(asked() < 60);
            m_instead = {};
            start(1000);
            QCOMPARE(playedId(), 1);
            QCOMPARE(m_player->state(), "playing");
        }
    }

private:
    // The answer to what was asked for first, a segment of ten seconds.
    void answerLate(qint64 id, qint64 startMs)
    {
        const QDateTime from = QDateTime::fromMSecsSinceEpoch(base + startMs);
        emit m_client->segmentsReceived(camera, {{id, "n1", from, from.addSecs(10), 1}}, "1");
    }

    void perform(const QString &verb, const QString &argument, qint64 at)
    {
        const QHash<QString, std::function<void()>> verbs{
            {"sync", [this] { m_player->setSynchronized(true); }},
            {"start", [this, at] { start(at - base); }},
            {"open", [this, at] { start(at - base, false); }},
            {"frame", [this] { emit m_item->firstFrameRendered(); }},
            {"move", [this] { move(); }},
            {"page", [this] { fetchPage(); }},
            {"end", [this] { endFile(); }},
            {"seek", [this, at] { m_player->seek(at); }},
            {"at", [this, at] { m_player->showAt(at); }},
            {"tick", [this, at] { tickUntilAnotherFilePlays(at); }},
            {"pause", [this] { m_player->pause(); }},
            {"fail", [this] { m_instead.status = 500; }},
            {"heal", [this] { m_instead.status = 200; }},
            {"forget", [this] { m_player->setCoverage({}); }},
            {"rest", [] { QTest::qWait(20); }},
            {"until", [&] { QTRY_COMPARE(m_player->state(), argument); }},
        };
        QVERIFY2(verbs.contains(verb), qPrintable(verb));
        verbs[verb]();
    }

    void tickUntilAnotherFilePlays(qint64 at)
    {
        const qint64 before = playedId();
        const auto ticked = [&] {
            m_player->showAt(at);
            return playedId() != before && playedId() != 0;
        };
        QTRY_VERIFY(ticked());
    }

    // State, file and where in it it was opened, time, questions to the server, and whether the picture
    // rests.
    QString summary()
    {
        m_lines += m_log->taken();
        QString text = m_player->state() + ' ' + QString::number(playedId());
        if (playedId() != 0)
            text += '+' + m_lines.filter("play segment").last().section("seek=", 1).chopped(1);
        if (m_player->currentTime() != 0)
            text += " @" + QString::number(double(now()) / 1000);
        if (asked() > 0)
            text += " asks " + QString::number(asked());
        return text + (m_item->paused() ? " still" : "");
    }

    void start(qint64 offset, bool showFrame = true)
    {
        m_player->startFrom(camera, base + offset);
        QCOMPARE(m_player->state(), "loading");
        QTRY_VERIFY(m_player->state() != "loading" || playedId() != 0);
        if (showFrame)
            emit m_item->firstFrameRendered();
    }

    void endFile() { emit m_item->fileEnded(); }
    void move() { emit m_item->positionChanged(); }

    qint64 playedId() const
    {
        return m_item->source().section("/segments/", 1).section('/', 0, 0).toLongLong();
    }

    qint64 now() const { return m_player->currentTime() - base; }
    qsizetype asked() const { return m_server->asked("/segments").size(); }

    // Moves on to where the player asks for segments, and waits for the answer.
    void fetchPage()
    {
        const int before = m_answers;
        move();
        QTRY_COMPARE(m_answers, before + 1);
    }

    std::unique_ptr<RecordingServer> m_server;
    std::unique_ptr<ApiClient> m_client;
    std::unique_ptr<MpvObject> m_item;
    std::unique_ptr<ArchivePlayer> m_player;
    std::unique_ptr<LogCapture> m_log;
    QStringList m_lines;
    ScriptedServer::Answer m_instead;
    int m_answers = 0;
};

QTEST_MAIN(ArchivePlayerTest)
#include "tst_ArchivePlayer.moc"
