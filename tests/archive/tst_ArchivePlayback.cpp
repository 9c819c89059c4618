#include "archive/ArchivePlayer.h"
#include "archive/RecordingServer.h"
#include "live/MpvObject.h"
#include "support/SignedIn.h"

#include <QFile>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>

#include <clocale>

namespace {

constexpr qint64 base = RecordingServer::base;
constexpr qint64 segmentMs = 8000;
constexpr int patienceMs = 15'000;

} // namespace

// What needs a real player: the files as they are fetched and opened. Where pictures and times agree is shown
// end to end.
class ArchivePlaybackTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        std::setlocale(LC_NUMERIC, "C");
        QFile file(ZORVEL_TEST_SEGMENT);
        QVERIFY(file.open(QIODevice::ReadOnly));
        m_file = file.readAll();
        m_window.resize(160, 90);
        m_window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&m_window));
    }

    void init()
    {
        m_server = std::make_unique<RecordingServer>();
        for (int i = 0; i < 3; ++i)
            m_server->recording.append({i, i * segmentMs, (i + 1) * segmentMs});
        m_files = QByteArrayList(3, m_file);
        m_server->otherwise([this](const ScriptedServer::Request &request) {
            return request.path().endsWith("/file")
                ? ScriptedServer::file(request, m_files.value(request.path().split('/').value(3).toInt()))
                : m_server->segments(request);
        });
        m_client = signedIn(*m_server);
        m_item = std::make_unique<MpvObject>();
        m_item->setParentItem(m_window.contentItem());
        m_item->setSize(m_window.size());
        m_player = std::make_unique<ArchivePlayer>();
        m_player->init(m_client.get());
        m_player->setPlayer(m_item.get());
    }

    void cleanup()
    {
        m_player.reset();
        m_item.reset();
        m_client.reset();
        m_server.reset();
    }

    void sendsTheTokenOfTheDay()
    {
        startFrom(segmentMs - 1000);
        m_server->on("POST /client-api/auth/login", R"({"access_token":"second-token"})");
        m_client->doLogin(m_server->url(), "operator", "password");
        QTRY_VERIFY_WITH_TIMEOUT(!m_server->asked("/segments/1/file").isEmpty(), patienceMs);
        for (const auto &request : m_server->asked("/segments/0/file"))
            QCOMPARE(request.headers["authorization"], "Bearer secret-token");
        for (const auto &request : m_server->asked("/segments/1/file"))
            QCOMPARE(request.headers["authorization"], "Bearer second-token");
    }

    void brokenFileIsAnError()
    {
        m_files[0] = "this is no video";
        m_player->startFrom("cam", base);
        QTRY_COMPARE_WITH_TIMEOUT(m_player->state(), "error", patienceMs);
        m_files[0] = m_file;
        startFrom(0);

        // The file that follows cannot be opened until it was paused for a while, and then not at all.
        m_files[1] = "nor is this";
        m_player->seek(base + segmentMs - 1000);
        QTRY_COMPARE_WITH_TIMEOUT(m_item->state(), "error", patienceMs);
        m_player->pause();
        const auto *retryTimer = m_player->findChild<QTimer *>();
        QTRY_VERIFY_WITH_TIMEOUT(!retryTimer->isActive(), patienceMs);
        m_files[1] = m_file;
        m_player->resume();
        QTRY_VERIFY_WITH_TIMEOUT(shows(segmentMs), patienceMs);
        m_files[2] = "nor that";
        m_player->seek(base + 2 * segmentMs - 1000);
        QTRY_COMPARE_WITH_TIMEOUT(m_player->state(), "error", patienceMs);

        // The clock of a grid goes on.
        m_player->setSynchronized(true);
        m_player->showAt(base + 2 * segmentMs);
        QCOMPARE(m_player->state(), "loading");
        QTRY_COMPARE_WITH_TIMEOUT(m_player->state(), "error", patienceMs);
        const auto asked = m_server->asked("/segments/2/file").size();
        for (int i = 0; i < 5; ++i) {
            m_player->showAt(base + 2 * segmentMs + i * 100);
            QTest::qWait(100);
        }
        QCOMPARE(m_player->state(), "error");
        QCOMPARE(m_server->asked("/segments/2/file").size(), asked);
        m_files[2] = m_file;
        m_player->showAt(base + 2 * segmentMs + 3000);
        QTRY_VERIFY_WITH_TIMEOUT(shows(2 * segmentMs), patienceMs);
    }

    void landsOnTheMomentPickedWhileItOpens()
    {
        m_player->startFrom("cam", base);
        QSignalSpy states(m_item.get(), &MpvObject::stateChanged);
        QVERIFY(states.wait());
        QCOMPARE(m_item->state(), "loading");
        m_player->seek(base + segmentMs * 3 / 4);
        QTRY_VERIFY_WITH_TIMEOUT(shows(0), patienceMs);
        QVERIFY2(m_player->currentTime() >= base + segmentMs / 2,
            qPrintable(QString::number(m_player->currentTime() - base)));
    }

private:
    void startFrom(qint64 offset)
    {
        m_player->startFrom("cam", base + offset);
        QTRY_COMPARE_WITH_TIMEOUT(m_player->state(), "playing", patienceMs);
    }

    // Whether it has played for a moment in the file that begins there.
    bool shows(qint64 start) const
    {
        const qint64 into = m_player->currentTime() - base - start;
        return m_player->state() == "playing" && m_item->hasVideo() && into > 100 && into < segmentMs;
    }

    QQuickWindow m_window;
    QByteArray m_file;
    QByteArrayList m_files;
    std::unique_ptr<RecordingServer> m_server;
    std::unique_ptr<ApiClient> m_client;
    std::unique_ptr<MpvObject> m_item;
    std::unique_ptr<ArchivePlayer> m_player;
};

QTEST_MAIN(ArchivePlaybackTest)
#include "tst_ArchivePlayback.moc"
