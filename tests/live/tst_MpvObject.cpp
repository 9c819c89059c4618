#include "live/MpvObject.h"
#include "live/RedrawGatherer.h"
#include "support/ClipCamera.h"
#include "support/ScriptedServer.h"

#include <QElapsedTimer>
#include <QPainter>
#include <QProcess>
#include <QQuickWindow>
#include <QSGSimpleRectNode>
#include <QSignalSpy>
#include <QTest>

#include <clocale>
#include <memory>
#include <optional>
#include <vector>

namespace {

constexpr int patienceMs = 10000;
// A colour that is not in the clip.
constexpr QColor background(18, 52, 86);

// The longest time for which the event loop did not run.
class GuiBlock : public QObject
{
public:
    GuiBlock()
    {
        m_clock.start();
        startTimer(2, Qt::PreciseTimer);
    }
    qint64 longestMs() const { return m_longestMs; }

private:
    void timerEvent(QTimerEvent *) override { m_longestMs = std::max(m_longestMs, m_clock.restart()); }

    QElapsedTimer m_clock;
    qint64 m_longestMs = 0;
};

// Everything that a player tells, as one text.
class Diary : public QObject
{
public:
    explicit Diary(MpvObject *player)
    {
        connect(
            player, &MpvObject::stateChanged, this, [this, player] { m_entries.append(player->state()); });
        connect(player, &MpvObject::hasVideoChanged, this,
            [this, player] { m_entries.append(player->hasVideo() ? "video" : "no video"); });
        connect(player, &MpvObject::firstFrameRendered, this, [this] { m_entries.append("first frame"); });
        connect(player, &MpvObject::fileEnded, this, [this] { m_entries.append("ended"); });
    }
    QString text() const { return m_entries.join(", "); }
    int count(const QString &entry) const { return int(m_entries.count(entry)); }

private:
    QStringList m_entries;
};

std::unique_ptr<QQuickWindow> makeWindow()
{
    auto window = std::make_unique<QQuickWindow>();
    window->setColor(background);
    window->resize(640, 360);
    window->show();
    if (!QTest::qWaitForWindowExposed(window.get()))
        qFatal("no window");
    return window;
}

std::unique_ptr<MpvObject> makePlayer(QQuickWindow *window, const QRectF &place = {0, 0, 320, 180})
{
    auto player = std::make_unique<MpvObject>();
    player->setParentItem(window->contentItem());
    player->setPosition(place.topLeft());
    player->setSize(place.size());
    return player;
}

// Whether an item's place in its window shows a picture: the clip has many colours everywhere.
bool showsPicture(MpvObject *player)
{
    const QImage shot = player->window()->grabWindow().copy(
        player->mapRectToScene(player->boundingRect()).toAlignedRect().adjusted(8, 8, -8, -8));
    QSet<QRgb> colours;
    for (int y = 0; y < shot.height(); y += 4) {
        for (int x = 0; x < shot.width(); x += 4)
            colours.insert(shot.pixel(x, y));
    }
    return colours.size() > 50 && !colours.contains(background.rgb());
}

class Sheet : public QQuickItem
{
public:
    Sheet(QQuickItem *parent, const QRectF &place)
        : QQuickItem(parent)
    {
        setFlag(ItemHasContents);
        setPosition(place.topLeft());
        setSize(place.size());
    }

private:
    QSGNode *updatePaintNode(QSGNode *node, UpdatePaintNodeData *) override
    {
        return node ? node : new QSGSimpleRectNode(boundingRect(), Qt::red);
    }
};

bool isBlack(MpvObject *player)
{
    const QImage shot = player->window()->grabWindow();
    return shot.pixelColor(player->mapToScene({40, 40}).toPoint()) == QColor(Qt::black);
}

} // namespace

class MpvObjectTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        std::setlocale(LC_NUMERIC, "C");
        QFile file(ZORVEL_TEST_FILE);
        QVERIFY(file.open(QFile::ReadOnly));
        m_file = file.readAll();
    }

    void init()
    {
        m_camera.emplace(ZORVEL_TEST_CLIP);
        m_recorder.emplace();
        m_recorder->otherwise([this](const auto &request) { return ScriptedServer::file(request, m_file); });
        m_window = makeWindow();
        m_player = makePlayer(m_window.get());
    }

    void cleanup()
    {
        m_player.reset();
        m_window.reset();
    }

    void playsFromUrlToPicture()
    {
        const Diary diary(m_player.get());
        QCOMPARE(m_player->state(), "idle");
        QVERIFY(isBlack(m_player.get()));
        QCOMPARE(m_player->lastFrameAgeMs(), -1);

        m_player->setSource(m_camera->url());
        QCOMPARE(diary.text(), "loading");
        QTRY_VERIFY_WITH_TIMEOUT(m_player->hasVideo(), patienceMs);
        QCOMPARE(diary.text(), "loading, playing, video, first frame");
        QVERIFY(showsPicture(m_player.get()));
        QTRY_VERIFY(m_player->framesDelivered() > 30);
        QVERIFY(m_player->lastFrameAgeMs() < 1000);

        m_camera->hangUp();
        QTRY_VERIFY(diary.text().endsWith("idle, ended"));
        m_player->play();
        QTRY_VERIFY_WITH_TIMEOUT(m_player->hasVideo(), patienceMs);
        m_player->stop();
        QVERIFY(
            diary.text().endsWith("ended, loading, no video, playing, video, first frame, no video, idle"));
        QCOMPARE(m_player->source(), "");
        QVERIFY(isBlack(m_player.get()));
    }

    void newerLoadSilencesTheOlder()
    {
        const Diary diary(m_player.get());
        m_player->setSource("/nowhere/nothing.mp4");
        show(m_camera->url());
        // Each of these ends the file before it: by an error, and by being replaced.
        m_player->setSource("/nowhere/nothing.mp4");
        m_player->setSource(m_recorder->url() + "/a.mp4");
        m_player->setSource(m_recorder->url() + "/b.mp4");
        QTRY_COMPARE_WITH_TIMEOUT(m_player->state(), "playing", patienceMs);
        QTest::qWait(500);
        QCOMPARE(m_player->state(), "playing");
        QCOMPARE(diary.count("error") + diary.count("idle") + diary.count("ended"), 0);
    }

    void settingsMadeBeforehandCount()
    {
        m_player->setPaused(true);
        m_player->setStretch(true);
        m_player->setHeight(360);
        show(m_recorder->url() + "/segment.mp4");
        QVERIFY(showsPicture(m_player.get()));
        QTest::qWait(700);
        QVERIFY(m_player->position() < 0.5);
        m_player->setStretch(false);
        QTRY_VERIFY(isBlack(m_player.get()));
    }

    void hiddenPlayersKeepUp()
    {
        QQuickItem parked(m_window->contentItem());
        m_player->setParentItem(&parked);
        parked.setVisible(false);
        const Diary diary(m_player.get());
        show(m_camera->url());
        QTest::qWait(500);

        const auto [frames, redraws] = ratesOf(*m_player);
        QVERIFY2(frames > 12, qPrintable(QString::number(frames)));
        QVERIFY2(redraws < 2, qPrintable(QString::number(redraws)));

        // No frame is needed to have the picture: the camera is silent when the player comes back and grows.
        m_camera->setSpeaking(false);
        QTest::qWait(300);
        parked.setVisible(true);
        QVERIFY(showsPicture(m_player.get()));
        m_player->setSize(m_window->size());
        QVERIFY(showsPicture(m_player.get()));
        QCOMPARE(diary.count("first frame"), 1);
        m_player->setParentItem(m_window->contentItem());
    }

    void idlePlayersInTheBackCostNothing()
    {
        m_player->setVisible(false);
        const auto threads
            = [] { return QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(); };
        m_window->grabWindow();
        const auto before = threads();
        std::vector<std::unique_ptr<MpvObject>> backs;
        for (int i = 0; i < 16; ++i) {
            backs.push_back(makePlayer(m_window.get()));
            backs.back()->setVisible(false);
        }
        m_window->grabWindow();
        QCOMPARE(threads(), before);
    }

    void manyStreamsShareTheirRedraws()
    {
        const auto players = playingWall(8);
        // The tick follows what was measured over the last seconds.
        QTRY_VERIFY(RedrawGatherer::of(m_window.get())->tickMs() > 45);

        const auto [frames, redraws] = ratesOf(*players[0]);
        QVERIFY2(frames > 12, qPrintable(QString::number(frames)));
        QVERIFY2(redraws < 25, qPrintable(QString::number(redraws)));
    }

    void shadersAndSoftwareDrawTheSame()
    {
        QList<QImage> pictures;
        for (const char *api : {"opengl", "software"}) {
            qputenv("ZORVEL_VIDEO_API", api);
            m_window = makeWindow();
            QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
            // Too narrow for the clip, which keeps its proportions.
            m_player = makePlayer(m_window.get(), {0, 0, 250, 300});
            m_player->setPaused(true);
            m_player->setSourceAndSeek(m_recorder->url() + "/segment.mp4", 12.0);
            QTRY_VERIFY_WITH_TIMEOUT(m_player->hasVideo(), patienceMs);
            QVERIFY(showsPicture(m_player.get()));
            QVERIFY(isBlack(m_player.get()));
            pictures.append(
                m_window->grabWindow().copy(0, 0, 250, 300).convertToFormat(QImage::Format_RGB32));
        }
        qunsetenv("ZORVEL_VIDEO_API");
        double difference = 0;
        for (int y = 0; y < 300; ++y) {
            for (int x = 0; x < 250; ++x) {
                const QColor first = pictures[0].pixelColor(x, y);
                const QColor second = pictures[1].pixelColor(x, y);
                difference += std::abs(first.red() - second.red()) + std::abs(first.blue() - second.blue());
            }
        }
        const double mean = difference / (300 * 250 * 2);
        QVERIFY2(mean < 8, qPrintable(QString::number(mean)));
    }

    void pictureObeysItsPlaceClipsAndLayers()
    {
        m_player->setPaused(true);
        m_player->setSourceAndSeek(m_recorder->url() + "/segment.mp4", 12.0);
        QTRY_VERIFY_WITH_TIMEOUT(m_player->hasVideo(), patienceMs);
        QVERIFY(showsPicture(m_player.get()));
        const QImage whole = m_window->grabWindow().copy(0, 0, 320, 180);

        QQuickItem frame(m_window->contentItem());
        frame.setPosition({50, 70});
        frame.setSize({200, 100});
        frame.setClip(true);
        m_player->setParentItem(&frame);
        m_player->setPosition({-30, -20});
        QImage expected(m_window->size(), whole.format());
        expected.fill(background);
        QPainter(&expected).drawImage(QPoint(50, 70), whole, QRect(30, 20, 200, 100));
        QCOMPARE(m_window->grabWindow(), expected);

        auto *layer = frame.property("layer").value<QObject *>();
        QVERIFY(layer && layer->setProperty("enabled", true));
        QCOMPARE(m_window->grabWindow(), expected);
        layer->setProperty("enabled", false);

        // The nearer covers the other.
        const Sheet sheet(&frame, {0, 60, 90, 30});
        QPainter(&expected).fillRect(50, 130, 90, 30, Qt::red);
        const auto above = makePlayer(m_window.get(), {0, 0, 200, 50});
        above->setParentItem(&frame);
        above->prepare();
        QPainter(&expected).fillRect(50, 70, 200, 50, Qt::black);
        QTRY_COMPARE_WITH_TIMEOUT(m_window->grabWindow(), expected, patienceMs);
        m_player->setParentItem(m_window->contentItem());
    }

    // As a key does that is kept down where nothing of the recording is loaded.
    void windowIsRedrawnWhileManyMomentsArePicked()
    {
        m_player->setSourceAndSeek(m_recorder->url() + "/segment.mp4", 12.0);
        QTRY_VERIFY_WITH_TIMEOUT(m_player->hasVideo(), patienceMs);
        const QSignalSpy redraws(m_window.get(), &QQuickWindow::frameSwapped);
        for (int i = 0; i < 30; ++i) {
            m_player->stop();
            m_player->prepare();
            QTest::qWait(30);
        }
        QVERIFY2(redraws.count() >= 4, qPrintable(QString::number(redraws.count())));
        QVERIFY2(redraws.count() <= 12, qPrintable(QString::number(redraws.count())));
    }

    void restsWhileTheWindowIsHidden()
    {
        m_player->setSource(m_camera->url());
        QTRY_VERIFY_WITH_TIMEOUT(m_player->framesDelivered() > 5, patienceMs);
        m_window->hide();
        QTRY_COMPARE(m_player->lastFrameAgeMs(), -1);
        QCOMPARE(m_player->state(), "playing");
        // What is asked for meanwhile waits as well.
        ClipCamera second(ZORVEL_TEST_CLIP);
        m_player->setSource(second.url());
        QTest::qWait(500);
        QCOMPARE(m_player->state(), "loading");
        QCOMPARE(second.connections(), 0);

        m_window->show();
        QTRY_VERIFY_WITH_TIMEOUT(m_player->hasVideo(), patienceMs);
        QCOMPARE(second.connections(), 1);
        QVERIFY(showsPicture(m_player.get()));

        // Not hidden for long, but without what it had been drawn with.
        m_window->setPersistentGraphics(false);
        m_window->setPersistentSceneGraph(false);
        m_window->hide();
        m_window->show();
        QTRY_COMPARE_WITH_TIMEOUT(second.connections(), 2, patienceMs);
        QTRY_VERIFY_WITH_TIMEOUT(m_player->hasVideo(), patienceMs);
        QVERIFY(showsPicture(m_player.get()));
        QCOMPARE(m_player->state(), "playing");

        // Closed while nothing is redrawn.
        m_window->hide();
        QCOMPARE(second.watchers(), 1);
        m_player.reset();
        QTRY_COMPARE_WITH_TIMEOUT(second.watchers(), 0, patienceMs);
    }

    void recordingsStartWhereTheyWere()
    {
        m_player->setPaused(true);
        m_player->setSourceAndSeek(m_recorder->url() + "/segment.mp4", 30.0);
        QTRY_VERIFY_WITH_TIMEOUT(m_player->hasVideo(), patienceMs);
        QTRY_VERIFY(m_player->position() > 28);
        m_window->setPersistentGraphics(false);
        m_window->setPersistentSceneGraph(false);
        const Diary diary(m_player.get());
        m_window->hide();
        m_window->show();
        QTRY_COMPARE_WITH_TIMEOUT(diary.text(), "loading, no video, playing, video, first frame", patienceMs);
        QVERIFY(m_player->position() > 28);

        // A file that is not sent over the network.
        m_player->setPaused(false);
        m_player->setSourceAndSeek(ZORVEL_TEST_FILE, 59.0);
        QTRY_VERIFY_WITH_TIMEOUT(diary.text().endsWith("idle, ended"), patienceMs);
        QVERIFY2(m_player->framesDelivered() < 40, qPrintable(QString::number(m_player->framesDelivered())));
    }

    void closingManyBlocksNothing()
    {
        auto players = playingWall(16);

        const GuiBlock block;
        players.erase(players.begin(), players.begin() + 8);
        QTest::qWait(20);
        m_window->close();
        QTest::qWait(20);
        m_window.reset();
        players.clear();
        QTest::qWait(500);
        // Waiting for each in turn takes more than three quarters of a second.
        QVERIFY2(block.longestMs() < 400, qPrintable(QString::number(block.longestMs())));
    }

    // What libmpv says goes to the standard error stream, which is read from outside.
    void secretsStayOutOfTheLog()
    {
        if (qEnvironmentVariableIsSet("ZORVEL_TEST_CHILD")) {
            QTcpServer closed;
            QVERIFY(closed.listen(QHostAddress::LocalHost));
            const QString address = QString("://watchman:hunter2@127.0.0.1:%1/cam").arg(closed.serverPort());
            closed.close();
            for (const QString scheme : {"rtsp", "tcp"}) {
                m_player->setSource(scheme + address);
                QTRY_COMPARE_WITH_TIMEOUT(m_player->state(), "error", patienceMs);
            }
            return;
        }
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("ZORVEL_TEST_CHILD", "1");
        child.setProcessEnvironment(environment);
        child.setProcessChannelMode(QProcess::MergedChannels);
        child.start(QCoreApplication::applicationFilePath(), {"secretsStayOutOfTheLog"});
        QVERIFY(child.waitForFinished(30000));
        const QByteArray log = child.readAll();
        QCOMPARE(child.exitCode(), 0);
        QVERIFY2(log.contains("[mpv/") && log.contains("/cam"), log);
        QVERIFY2(!log.contains("hunter2") && !log.contains("watchman"), log);
    }

private:
    void show(const QString &url)
    {
        m_player->setSource(url);
        QTRY_VERIFY_WITH_TIMEOUT(m_player->hasVideo(), patienceMs);
    }

    // How many frames of the player came, and how often the window was drawn, per second.
    std::pair<double, double> ratesOf(const MpvObject &player)
    {
        QSignalSpy redraws(m_window.get(), &QQuickWindow::frameSwapped);
        const quint64 before = player.framesDelivered();
        QElapsedTimer clock;
        clock.start();
        QTest::qWait(3000);
        const double seconds = double(clock.elapsed()) / 1000;
        return {double(player.framesDelivered() - before) / seconds, double(redraws.count()) / seconds};
    }

    std::vector<std::unique_ptr<MpvObject>> playingWall(int count)
    {
        std::vector<std::unique_ptr<MpvObject>> players;
        for (int i = 0; i < count; ++i) {
            players.push_back(makePlayer(m_window.get(), QRectF(i % 4 * 160, i / 4 * 90, 158, 88)));
            players.back()->setSource(m_camera->url());
        }
        for (const auto &player : players) {
            if (!QTest::qWaitFor([&player] { return player->hasVideo(); }, patienceMs))
                qFatal("no picture");
        }
        return players;
    }

    std::unique_ptr<QQuickWindow> m_window;
    std::unique_ptr<MpvObject> m_player;
    std::optional<ClipCamera> m_camera;
    std::optional<ScriptedServer> m_recorder;
    QByteArray m_file;
};

QTEST_MAIN(MpvObjectTest)
#include "tst_MpvObject.moc"
