#include "archive/ArchivePlayer.h"
#include "live/MpvObject.h"
#include "net/ApiClient.h"
#include "support/LogCapture.h"
#include "support/ScriptedServer.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>

#include <clocale>
#include <functional>
#include <memory>

namespace {

struct Footage
{
    qint64 id;
    qint64 start;
    qint64 end;
};
using Recording = QList<Footage>;

constexpr qint64 base = 1'700'000'000'000;
const QString camera = QStringLiteral("cam");

QByteArray toJson(const Recording &recording)
{
    QByteArrayList elements;
    for (const Footage &each : recording) {
        elements.append(
            QStringLiteral(R"({"id":%1,"node_id":"n1","start_time":%2,"end_time":%3,"file_size":1})")
                .arg(each.id)
                .arg(base + each.start)
                .arg(base + each.end)
                .toUtf8());
    }
    return '[' + elements.join(',') + ']';
}

/// Segments of ten seconds each, one after the other.
Recording continuous(int count, qint64 firstId = 1)
{
    Recording recording;
    for (int i = 0; i < count; ++i)
        recording.append({firstId + i, i * 10'000LL, (i + 1) * 10'000LL});
    return recording;
}

} // namespace

Q_DECLARE_METATYPE(Recording)

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
        m_server = std::make_unique<ScriptedServer>();
        m_client = std::make_unique<ApiClient>();
        m_item = std::make_unique<MpvObject>();
        m_player = std::make_unique<ArchivePlayer>();
        m_recording = continuous(3);
        m_instead = {};
        m_server->on("POST /client-api/auth/login", R"({"access_token":"secret-token"})");
        m_server->otherwise([this](const ScriptedServer::Request &request) -> ScriptedServer::Answer {
            if (m_instead.status != 200 || !m_instead.body.isEmpty() || m_instead.held)
                return m_instead;
            const qint64 from
                = QDateTime::fromString(request.item("from"), Qt::ISODateWithMs).toMSecsSinceEpoch();
            Recording found;
            for (const Footage &each : std::as_const(m_recording)) {
                if (base + each.end > from && found.size() < request.item("limit").toInt())
                    found.append(each);
            }
            return {.body = toJson(found)};
        });
        QSignalSpy signedIn(m_client.get(), &ApiClient::loginSucceeded);
        m_client->doLogin(m_server->url(), "op", "pw");
        QVERIFY(signedIn.wait());
        m_player->init(m_client.get());
        m_player->setPlayer(m_item.get());
        connect(m_client.get(), &ApiClient::segmentsReceived, this, [this] { ++m_answers; });
        connect(m_client.get(), &ApiClient::segmentsFailed, this, [this] { ++m_answers; });
    }

    void cleanup()
    {
        m_player.reset();
        m_item.reset();
        m_client.reset();
        m_server.reset();
    }

    void startsAt_data()
    {
        QTest::addColumn<Recording>("recording");
        QTest::addColumn<qint64>("target");
        QTest::addColumn<bool>("synchronized");
        QTest::addColumn<QString>("state");
        QTest::addColumn<qint64>("id");
        QTest::addColumn<QString>("seek");
        const Recording gap{{1, 0, 10'000}, {2, 20'000, 30'000}};

        QTest::newRow("inside a segment") << gap << 3500LL << false << "playing" << 1LL << "seek=3.5s";
        QTest::newRow("at its start") << gap << 20'000LL << true << "playing" << 2LL << "seek=0.0s";
        QTest::newRow("too little to seek") << gap << 50LL << false << "playing" << 1LL << "seek=0.1s";
        QTest::newRow("in a gap, alone") << gap << 15'000LL << false << "playing" << 2LL << "seek=0.0s";
        QTest::newRow("in a gap, in step") << gap << 15'000LL << true << "no_footage" << 0LL << "";
        QTest::newRow("before everything") << gap << -50'000LL << false << "playing" << 1LL << "seek=0.0s";
        QTest::newRow("after everything, alone") << gap << 90'000LL << false << "ended" << 0LL << "";
        QTest::newRow("after everything, in step") << gap << 90'000LL << true << "no_footage" << 0LL << "";
    }

    void startsAt()
    {
        QFETCH(Recording, recording);
        QFETCH(qint64, target);
        QFETCH(bool, synchronized);
        QFETCH(QString, state);
        QFETCH(qint64, id);
        QFETCH(QString, seek);
        m_recording = recording;
        m_player->setSynchronized(synchronized);
        LogCapture log;
        start(target);
        QCOMPARE(m_player->state(), state);
        QCOMPARE(m_player->playing(), state == "playing");
        QCOMPARE(playedId(), id);
        const QStringList lines = log.taken();
        QVERIFY(seek.isEmpty() || !lines.filter(seek).isEmpty());
        QVERIFY(lines.filter("secret-token").isEmpty());
        const auto requests = m_server->asked("/cam/segments");
        QCOMPARE(requests.size(), 1);
        QCOMPARE(requests[0].item("limit"), "1");
        QCOMPARE(m_player->loadedCameraId(), camera);
    }

    void atTheEndOfAFile_data()
    {
        QTest::addColumn<qint64>("gap");
        QTest::addColumn<bool>("synchronized");
        QTest::addColumn<QString>("state");
        QTest::addColumn<qint64>("id");
        QTest::addColumn<qint64>("time");
        QTest::newRow("no gap") << 0LL << false << "playing" << 2LL << 0LL;
        QTest::newRow("short gap") << 2000LL << false << "playing" << 2LL << 0LL;
        QTest::newRow("short gap in step") << 2000LL << true << "playing" << 2LL << 0LL;
        QTest::newRow("long gap") << 2001LL << false << "playing" << 2LL << 12'001LL;
        QTest::newRow("long gap in step") << 2001LL << true << "no_footage" << 1LL << 0LL;
        QTest::newRow("overlapping") << -5000LL << false << "playing" << 2LL << 0LL;
    }

    void atTheEndOfAFile()
    {
        QFETCH(qint64, gap);
        QFETCH(bool, synchronized);
        QFETCH(QString, state);
        QFETCH(qint64, id);
        QFETCH(qint64, time);
        m_recording = {{1, 0, 10'000}, {2, 10'000 + gap, 30'000}};
        m_player->setSynchronized(synchronized);
        start(0);
        fetchPage();
        endFile();
        QCOMPARE(m_player->state(), state);
        QCOMPARE(playedId(), id);
        QCOMPARE(now(), time);
        QCOMPARE(m_item->paused(), state == "no_footage");
    }

    void fetchesPagesAndStaysBounded()
    {
        m_recording = continuous(300);
        LogCapture log;
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
        const auto requests = m_server->asked("/segments");
        QVERIFY(requests.size() > 10 && requests.size() < 20);
        for (qsizetype i = 1; i < requests.size(); ++i)
            QCOMPARE(requests[i].item("limit"), "20");
        const QStringList trims = log.taken().filter("segments received");
        QVERIFY(!trims.isEmpty());
        for (const QString &line : trims)
            QVERIFY2(line.section("total=", 1).section(' ', 0, 0).toInt() <= 80, qPrintable(line));
    }

    void continuesWhenThePageComesLate()
    {
        start(0);
        m_instead.held = true;
        move();
        QTRY_COMPARE(asked(), 2);
        endFile();
        QCOMPARE(playedId(), 1);
        m_instead = {};
        emit m_client->segmentsReceived(camera,
            {{2, "n1", QDateTime::fromMSecsSinceEpoch(base + 10'000),
                QDateTime::fromMSecsSinceEpoch(base + 20'000), 1}},
            "1");
        QCOMPARE(playedId(), 2);
        QCOMPARE(m_player->state(), "playing");
    }

    void endsWhenNothingFollows()
    {
        m_recording = continuous(2);
        start(0);
        fetchPage();
        endFile();
        QCOMPARE(playedId(), 2);
        fetchPage();
        const qsizetype exhausted = asked();
        move();
        move();
        QTest::qWait(20);
        QCOMPARE(asked(), exhausted);
        untilAnswered([this] { endFile(); });
        QCOMPARE(m_player->state(), "ended");

        m_player->seek(base + 12'000);
        QCOMPARE(playedId(), 2);
        QCOMPARE(m_player->state(), "loading");
    }

    void survivesAFailedPage()
    {
        start(0);
        m_instead.status = 500;
        fetchPage();
        QCOMPARE(m_player->state(), "playing");
        const qsizetype before = asked();
        for (int i = 0; i < 20; ++i) {
            move();
            QTest::qWait(1);
        }
        QCOMPARE(asked(), before);
        untilAnswered([this] { endFile(); });
        QCOMPARE(m_player->state(), "error");
    }

    void seeks_data()
    {
        QTest::addColumn<qint64>("target");
        QTest::addColumn<int>("requests");
        QTest::addColumn<qint64>("id");
        QTest::addColumn<QString>("state");
        QTest::newRow("last instant of the file") << 9999LL << 0 << 1LL << "playing";
        QTest::newRow("first instant of the next") << 10'000LL << 0 << 2LL << "loading";
        QTest::newRow("inside the window") << 25'500LL << 0 << 3LL << "loading";
        QTest::newRow("far away") << 500'000LL << 1 << 0LL << "loading";
        QTest::newRow("before") << -1LL << 1 << 0LL << "loading";
    }

    void seeks()
    {
        QFETCH(qint64, target);
        QFETCH(int, requests);
        QFETCH(qint64, id);
        QFETCH(QString, state);
        start(0);
        fetchPage();
        const qsizetype before = asked();
        m_player->seek(base + target);
        QCOMPARE(now(), target);
        QCOMPARE(m_player->state(), state);
        QCOMPARE(playedId(), id);
        QTRY_COMPARE(asked(), before + requests);
        if (requests > 0)
            QCOMPARE(m_server->requests().last().item("limit"), "1");
    }

    void seekBeforeTheFileIsOpen()
    {
        start(0, false);
        LogCapture log;
        m_player->seek(base + 7000);
        QVERIFY(!log.taken().filter("seek=7.0s").isEmpty());
        QCOMPARE(m_player->state(), "loading");
        emit m_item->firstFrameRendered();
        QCOMPARE(m_player->state(), "playing");
    }

    void dropsLateAnswers()
    {
        m_instead.held = true;
        m_player->startFrom(camera, base);
        m_player->startFrom(camera, base + 20'000);
        QTRY_COMPARE(asked(), 2);
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

    void followsTheClock()
    {
        m_player->setSynchronized(true);
        m_recording = {{1, 0, 10'000}, {2, 10'000, 20'000}, {3, 40'000, 50'000}};
        m_player->showAt(base);
        QCOMPARE(m_player->state(), "idle");
        start(0);
        fetchPage();
        const qsizetype before = asked();

        m_player->showAt(base + 2000);
        QCOMPARE(now(), 0);
        m_player->showAt(base + 4001);
        QCOMPARE(now(), 4001);
        QCOMPARE(m_player->state(), "playing");
        m_player->showAt(base + 15'000);
        QCOMPARE(m_player->state(), "loading");
        QCOMPARE(playedId(), 2);
        m_player->showAt(base + 45'000);
        QCOMPARE(playedId(), 2);
        emit m_item->firstFrameRendered();
        m_player->showAt(base + 42'000);
        QCOMPARE(playedId(), 3);
        QCOMPARE(asked(), before);
        emit m_item->firstFrameRendered();
        m_player->showAt(base + 30'000);
        QTRY_COMPARE(asked(), before + 1);
        QTRY_COMPARE(m_player->state(), "no_footage");
        m_player->showAt(0);
        m_player->showAt(-5);
        QCOMPARE(now(), 30'000);
    }

    void followsAJumpMadeWhileLoading_data()
    {
        QTest::addColumn<bool>("serverFails");
        QTest::newRow("a file is loading") << false;
        QTest::newRow("the server fails") << true;
    }

    void followsAJumpMadeWhileLoading()
    {
        QFETCH(bool, serverFails);
        m_player->setSynchronized(true);
        m_recording = {{1, 0, 10'000}, {2, 90'000, 99'000}};
        if (serverFails) {
            start(0);
            m_instead.status = 500;
            fetchPage();
            m_player->showAt(base + 91'000);
            m_instead.status = 200;
        } else {
            start(0, false);
            m_player->showAt(base + 91'000);
            emit m_item->firstFrameRendered();
        }
        QCOMPARE(playedId(), 1);
        auto ticked = [this, at = base + 91'000]() mutable {
            m_player->showAt(at += 50);
            return playedId() == 2;
        };
        QTRY_VERIFY(ticked());
        emit m_item->firstFrameRendered();
        const qsizetype before = asked();
        m_player->showAt(base + 95'000);
        m_player->showAt(base + 96'000);
        QCOMPARE(m_player->state(), "playing");
        QCOMPARE(asked(), before);
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

    void asksOnceWhereNothingIs()
    {
        m_player->setSynchronized(true);
        m_recording.clear();
        start(0);
        QCOMPARE(m_player->state(), "no_footage");
        m_player->showAt(base + 5000);
        m_player->showAt(base + 50'000);
        QTest::qWait(20);
        QCOMPARE(asked(), 1);
        m_player->setCoverage({});
        m_player->showAt(base + 60'000);
        QTRY_COMPARE(asked(), 2);
    }

    void pausesResumesAndChangesSpeed()
    {
        QSignalSpy speeds(m_player.get(), &ArchivePlayer::speedChanged);
        m_player->pause();
        QCOMPARE(m_player->state(), "idle");
        start(0, false);
        m_player->pause();
        QCOMPARE(m_player->state(), "loading");
        emit m_item->firstFrameRendered();
        m_player->resume();
        QCOMPARE(m_player->state(), "playing");
        m_player->pause();
        QCOMPARE(m_player->state(), "paused");
        QVERIFY(m_item->paused());
        m_player->seek(base + 4000);
        QCOMPARE(m_player->state(), "paused");
        m_player->resume();
        QVERIFY(!m_item->paused());
        QCOMPARE(m_player->state(), "playing");

        m_player->pause();
        m_player->seek(base + 25'000);
        QTRY_COMPARE(playedId(), 3);
        emit m_item->firstFrameRendered();
        QCOMPARE(m_player->state(), "playing");
        QVERIFY(!m_item->paused());

        for (const double rate : {2.0, 2.0, 0.0, -1.0, qQNaN(), qInf()})
            m_player->setSpeed(rate);
        QCOMPARE(m_player->speed(), 2.0);
        QCOMPARE(speeds.count(), 1);
    }

    void reportsErrors()
    {
        m_instead.status = 503;
        m_player->startFrom(camera, base);
        QTRY_COMPARE(m_player->state(), "error");
        // The clock that goes on ticking does not ask a failing server on every tick.
        m_player->setSynchronized(true);
        const qsizetype before = asked();
        for (int tick = 1; tick <= 10; ++tick)
            m_player->showAt(base + tick * 200);
        QTest::qWait(20);
        QCOMPARE(asked(), before);
        m_player->setSynchronized(false);
        m_instead = {};
        start(0);
        QCOMPARE(m_player->state(), "playing");
        m_player->stop();
        QCOMPARE(m_player->state(), "idle");
        QVERIFY(m_item->source().isEmpty());
    }

    void forgetsWhatGoes()
    {
        start(0);
        m_item.reset();
        m_player->seek(base + 4000);
        m_player->showAt(base + 8000);
        m_player->pause();
        m_player->setSpeed(2);
        m_player->stop();
        untilAnswered([this] { m_player->startFrom(camera, base); });
        QCOMPARE(m_player->state(), "loading");
        m_client.reset();
        m_player->startFrom(camera, base);
        m_player->seek(base);
    }

    void malformedAnswers_data()
    {
        QTest::addColumn<QByteArray>("body");
        const auto row = [](const char *name, const QByteArray &body) { QTest::newRow(name) << body; };
        row("not JSON", "<html>");
        row("wrong types", R"([1,null,"x",[],{"id":"x","start_time":[],"end_time":{}}])");
        row("reversed", toJson({{1, 10'000, 0}, {2, 5000, -5000}}));
        row("out of order", toJson({{3, 20'000, 30'000}, {1, 0, 10'000}, {2, 10'000, 20'000}}));
        row("overlapping", toJson({{1, 0, 10'000}, {2, 5000, 15'000}, {3, 5000, 30'000}, {4, 0, 90'000}}));
        row("negative", R"([{"id":-5,"start_time":-9e18,"end_time":9e18,"file_size":-1}])");
        row("instants beyond all bounds",
            R"([{"id":1,"start_time":-9223372036854775808,"end_time":9223372036854775807}])");
        row("a very long list", toJson(continuous(20'000)));
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

    // Does something that makes the player ask for segments, and waits for the answer.
    void untilAnswered(const std::function<void()> &action)
    {
        const int before = m_answers;
        action();
        QTRY_COMPARE(m_answers, before + 1);
    }

    void fetchPage()
    {
        untilAnswered([this] { move(); });
    }

    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<ApiClient> m_client;
    std::unique_ptr<MpvObject> m_item;
    std::unique_ptr<ArchivePlayer> m_player;
    Recording m_recording;
    ScriptedServer::Answer m_instead;
    int m_answers = 0;
};

QTEST_MAIN(ArchivePlayerTest)
#include "tst_ArchivePlayer.moc"
