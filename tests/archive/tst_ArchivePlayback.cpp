#include "archive/ArchivePlayer.h"
#include "live/MpvObject.h"
#include "net/ApiClient.h"
#include "support/ScriptedServer.h"

#include <QFile>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>

#include <clocale>
#include <memory>

namespace {

constexpr qint64 base = 1'700'000'000'000;
constexpr qint64 segmentMs = 8000;
constexpr double framesPerSecond = 25;
/// One frame and a tenth of a second.
constexpr qint64 agreementMs = 140;

} // namespace

/**
 * Real playback. Every frame of the footage says in its left half how many frames of its file came before it,
 * and in its right half which file it is, so that a screenshot tells the instant on the screen.
 */
class ArchivePlaybackTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void pictureAgreesWithTheTime();
    void seekLands_data();
    void seekLands();
    void jumpsTheGap();
    void sendsTheTokenOfTheDay();
    void brokenFileIsAnError();
    void staysInStep_data();
    void staysInStep();

private:
    struct Cell
    {
        std::unique_ptr<MpvObject> item;
        std::unique_ptr<ArchivePlayer> player;
    };

    Cell makeCell(int x);
    void play(qint64 offset);
    qint64 shownMs(const MpvObject &item);
    qint64 apart();

    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<ApiClient> m_client;
    std::unique_ptr<QQuickWindow> m_window;
    Cell m_cell;
    QList<QByteArray> m_files;
    /// Where each of the files lies in the recording.
    QList<qint64> m_starts;
};

void ArchivePlaybackTest::initTestCase()
{
    std::setlocale(LC_NUMERIC, "C");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL);
    for (int i = 0; i < 3; ++i) {
        QFile file(QStringLiteral(ZORVEL_TEST_SEGMENTS "/segment%1.mp4").arg(i));
        QVERIFY(file.open(QIODevice::ReadOnly));
        m_files.append(file.readAll());
    }
}

void ArchivePlaybackTest::init()
{
    m_starts = {0, segmentMs, 2 * segmentMs};
    m_server = std::make_unique<ScriptedServer>();
    m_server->on("POST /client-api/auth/login", R"({"access_token":"first-token"})");
    m_server->otherwise([this](const ScriptedServer::Request &request) -> ScriptedServer::Answer {
        if (request.path().endsWith("/file"))
            return ScriptedServer::file(request, m_files.value(request.path().split('/').value(3).toInt()));
        const qint64 from
            = QDateTime::fromString(request.item("from"), Qt::ISODateWithMs).toMSecsSinceEpoch();
        QByteArrayList found;
        for (qsizetype i = 0; i < m_starts.size() && found.size() < request.item("limit").toInt(); ++i) {
            if (base + m_starts[i] + segmentMs > from) {
                found.append(QStringLiteral(R"({"id":%1,"node_id":"","start_time":%2,"end_time":%3})")
                                 .arg(i)
                                 .arg(base + m_starts[i])
                                 .arg(base + m_starts[i] + segmentMs)
                                 .toUtf8());
            }
        }
        return {.body = '[' + found.join(',') + ']'};
    });
    m_client = std::make_unique<ApiClient>();
    QSignalSpy signedIn(m_client.get(), &ApiClient::loginSucceeded);
    m_client->doLogin(m_server->url(), "op", "pw");
    QVERIFY(signedIn.wait());
    m_window = std::make_unique<QQuickWindow>();
    m_window->resize(640, 90);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    m_cell = makeCell(0);
}

void ArchivePlaybackTest::cleanup()
{
    m_cell.player.reset();
    m_cell.item.reset();
    m_window.reset();
    m_client.reset();
    m_server.reset();
}

ArchivePlaybackTest::Cell ArchivePlaybackTest::makeCell(int x)
{
    Cell cell{std::make_unique<MpvObject>(), std::make_unique<ArchivePlayer>()};
    cell.item->setParentItem(m_window->contentItem());
    cell.item->setPosition({x * 160.0, 0});
    cell.item->setSize({160, 90});
    cell.player->init(m_client.get());
    cell.player->setPlayer(cell.item.get());
    return cell;
}

void ArchivePlaybackTest::play(qint64 offset)
{
    m_cell.player->startFrom("cam", base + offset);
    QTRY_COMPARE_WITH_TIMEOUT(m_cell.player->state(), "playing", 10'000);
}

/// The instant of the picture on the screen, counted from the beginning of the recording.
qint64 ArchivePlaybackTest::shownMs(const MpvObject &item)
{
    const QImage picture = m_window->grabWindow();
    const int x = qRound(item.x());
    // The luminance 16 is black, and grey 1 a little less than one step of it.
    const auto level = [&](int atX) { return qRound(picture.pixelColor(x + atX, 45).green() * 219 / 255.0); };
    const int frame = level(40);
    const int file = qRound(level(120) / 40.0) - 1;
    return m_starts.value(file, -1'000'000) + qRound64(frame * 1000 / framesPerSecond);
}

qint64 ArchivePlaybackTest::apart()
{
    const qint64 told = m_cell.player->currentTime() - base;
    return std::abs(shownMs(*m_cell.item) - told);
}

void ArchivePlaybackTest::pictureAgreesWithTheTime()
{
    play(5000);
    QVERIFY2(apart() <= agreementMs, qPrintable(QString::number(apart())));
    qint64 last = 0;
    for (const double speed : {1.0, 4.0, 0.5}) {
        m_cell.player->setSpeed(speed);
        QElapsedTimer timer;
        timer.start();
        const qint64 before = m_cell.player->currentTime();
        while (timer.elapsed() < 1500) {
            QTest::qWait(50);
            QVERIFY(m_cell.player->currentTime() >= last);
            last = m_cell.player->currentTime();
            QVERIFY2(apart() <= agreementMs * std::max(1.0, speed), qPrintable(QString::number(apart())));
        }
        const double measured = double(last - before) / timer.elapsed();
        QVERIFY2(measured > speed * 0.7 && measured < speed * 1.3, qPrintable(QString::number(measured)));
    }
    QVERIFY(last > base + segmentMs);
    QCOMPARE(m_cell.player->state(), "playing");

    m_cell.player->pause();
    QTRY_VERIFY(m_cell.item->paused());
    QTest::qWait(100);
    const qint64 paused = m_cell.player->currentTime();
    QTest::qWait(300);
    QCOMPARE(m_cell.player->currentTime(), paused);
    m_cell.player->resume();
    QTRY_VERIFY(m_cell.player->currentTime() > paused);
}

void ArchivePlaybackTest::seekLands_data()
{
    QTest::addColumn<qint64>("target");
    QTest::newRow("inside the file") << 6000LL;
    QTest::newRow("back") << 500LL;
    QTest::newRow("into another file") << 2 * segmentMs + 4200;
    QTest::newRow("beside a key frame") << segmentMs + 3960;
}

void ArchivePlaybackTest::seekLands()
{
    QFETCH(qint64, target);
    play(2000);
    QTRY_VERIFY(m_cell.player->currentTime() > base + 2000);
    m_cell.player->seek(base + target);
    // It starts at the key frame before the target, at most a second away.
    const auto lands = [&] {
        const qint64 shown = shownMs(*m_cell.item);
        return m_cell.player->state() == "playing" && shown > target - 1100 && shown < target + 700;
    };
    QTRY_VERIFY(lands());
    QTest::qWait(100);
    QVERIFY2(apart() <= agreementMs, qPrintable(QString::number(apart())));
}

void ArchivePlaybackTest::jumpsTheGap()
{
    m_starts[1] = segmentMs + 60'000;
    play(segmentMs - 1500);
    QTRY_VERIFY_WITH_TIMEOUT(m_cell.player->currentTime() >= base + m_starts[1], 5000);
    QTRY_VERIFY(shownMs(*m_cell.item) >= m_starts[1]);
    QVERIFY2(apart() <= agreementMs, qPrintable(QString::number(apart())));
}

void ArchivePlaybackTest::sendsTheTokenOfTheDay()
{
    play(segmentMs - 1000);
    m_server->on("POST /client-api/auth/login", R"({"access_token":"second-token"})");
    m_client->doLogin(m_server->url(), "op", "pw");
    QTRY_VERIFY_WITH_TIMEOUT(!m_server->asked("/segments/1/file").isEmpty(), 5000);
    for (const auto &request : m_server->asked("/segments/0/file"))
        QCOMPARE(request.headers["authorization"], "Bearer first-token");
    for (const auto &request : m_server->asked("/segments/1/file"))
        QCOMPARE(request.headers["authorization"], "Bearer second-token");
}

void ArchivePlaybackTest::brokenFileIsAnError()
{
    m_files.prepend("this is no video");
    m_cell.player->startFrom("cam", base);
    QTRY_COMPARE_WITH_TIMEOUT(m_cell.player->state(), "error", 10'000);
    m_files.removeFirst();
    play(0);

    // The file that follows cannot be opened at first, and then not at all.
    const QByteArray good = std::exchange(m_files[1], QByteArray("nor is this"));
    m_cell.player->seek(base + segmentMs - 1000);
    QTRY_VERIFY(!m_server->asked("/segments/1/file").isEmpty());
    m_files[1] = good;
    QTRY_VERIFY_WITH_TIMEOUT(shownMs(*m_cell.item) > segmentMs && apart() <= agreementMs, 10'000);
    m_files[2] = "nor that";
    m_cell.player->seek(base + 2 * segmentMs - 1000);
    QTRY_COMPARE_WITH_TIMEOUT(m_cell.player->state(), "error", 10'000);
}

void ArchivePlaybackTest::staysInStep_data()
{
    QTest::addColumn<double>("speed");
    QTest::newRow("half") << 0.5;
    QTest::newRow("normal") << 1.0;
    QTest::newRow("four times") << 4.0;
}

// Two cells whose files open at different moments, against a clock that runs from the beginning.
void ArchivePlaybackTest::staysInStep()
{
    QFETCH(double, speed);
    Cell other = makeCell(1);
    const Cell *const cells[] = {&m_cell, &other};
    QElapsedTimer timer;
    timer.start();
    const auto clock = [&] { return base + 1500 + qint64(timer.elapsed() * speed); };
    QTimer ticks;
    connect(&ticks, &QTimer::timeout, this, [&] {
        for (const Cell *cell : cells)
            cell->player->showAt(clock());
    });
    for (const Cell *cell : cells) {
        cell->player->setSynchronized(true);
        cell->player->setSpeed(speed);
        cell->player->startFrom(cell == &other ? "cam 2" : "cam", clock());
        QTest::qWait(300);
    }
    ticks.start(200);
    // Kept for a second on end, however long a busy machine takes to get there.
    QElapsedTimer kept;
    while (timer.elapsed() * speed < 20'000 && !(kept.isValid() && kept.hasExpired(1000))) {
        QTest::qWait(50);
        const bool inStep = std::all_of(std::begin(cells), std::end(cells), [&](const Cell *cell) {
            // A player is kept ahead of the clock by the time that drawing takes.
            const qint64 behind = clock() - cell->player->currentTime();
            return cell->player->state() == "playing" && behind <= 250 && behind >= -250 - qint64(50 * speed);
        });
        if (!inStep)
            kept.invalidate();
        else if (!kept.isValid())
            kept.start();
    }
    QVERIFY(kept.isValid() && kept.hasExpired(1000));
}

QTEST_MAIN(ArchivePlaybackTest)
#include "tst_ArchivePlayback.moc"
