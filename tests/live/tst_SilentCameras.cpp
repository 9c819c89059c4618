#include "live/CameraStreamView.h"
#include "live/MpvObject.h"
#include "support/ClipCamera.h"
#include "support/ScriptedServer.h"

#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>

#include <optional>

// Cameras that fall silent, refuse or never speak, with real players in a real window.
class SilentCamerasTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_server.emplace();
        m_client.emplace();
        m_client->checkStatus(m_server->url());
        m_window.emplace();
        m_window->resize(640, 360);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(&*m_window));
    }

    void silenceIsNoticedWhereItCanBeSeen()
    {
        ClipCamera camera(ZORVEL_TEST_CLIP);
        ClipCamera mute(ZORVEL_TEST_CLIP, false);
        m_server->otherwise([&](const ScriptedServer::Request &request) {
            return ScriptedServer::streamAt(request.path().contains("/mute/") ? mute.url() : camera.url());
        });
        QElapsedTimer clock;
        clock.start();
        const std::unique_ptr<CameraStreamView> waiting(addView("mute"));
        const std::unique_ptr<CameraStreamView> seen(addView("seen"));
        const std::unique_ptr<CameraStreamView> parked(addView("parked"));
        qint64 waitedMs = 0;
        connect(waiting.get(), &CameraStreamView::displayStateChanged, this, [&] {
            if (waitedMs == 0 && waiting->displayState() == "error")
                waitedMs = clock.elapsed();
        });
        QTRY_COMPARE_WITH_TIMEOUT(seen->displayState() + parked->displayState(), "playingplaying", 10000);
        parked->setVisible(false);
        QTest::qWait(1000);

        camera.setSpeaking(false);
        QElapsedTimer silence;
        silence.start();
        QTRY_COMPARE_WITH_TIMEOUT(seen->displayState(), "error", 7000);
        const qint64 noticedMs = silence.elapsed();
        QVERIFY2(noticedMs > 3500 && noticedMs < 5500, qPrintable(QString::number(noticedMs)));
        QTest::qWait(1000);
        QCOMPARE(parked->displayState(), "playing");
        parked->setVisible(true);
        QTRY_COMPARE_WITH_TIMEOUT(parked->displayState(), "error", 2000);

        camera.setSpeaking(true);
        QTRY_COMPARE_WITH_TIMEOUT(seen->displayState() + parked->displayState(), "playingplaying", 10000);

        QTRY_VERIFY_WITH_TIMEOUT(waitedMs > 0, 20000);
        QVERIFY2(waitedMs > 14500 && waitedMs < 18000, qPrintable(QString::number(waitedMs)));
    }

    void failedSwitchIsTriedAgain()
    {
        ClipCamera sub(ZORVEL_TEST_CLIP);
        std::optional<ClipCamera> main;
        main.emplace(ZORVEL_TEST_CLIP);
        const QString mainUrl = main->url();
        main.reset();
        m_server->otherwise([&](const ScriptedServer::Request &request) {
            return ScriptedServer::streamAt(request.item("role") == "sub" ? sub.url() : mainUrl);
        });
        const std::unique_ptr<CameraStreamView> view(addView("cam"));
        view->setHasSubStream(true);
        QTRY_COMPARE_WITH_TIMEOUT(view->displayState(), "playing", 10000);
        QSignalSpy changed(view.get(), &CameraStreamView::displayStateChanged);
        QSignalSpy loads(view->findChildren<MpvObject *>().at(1), &MpvObject::sourceChanged);
        view->setPreferMain(true);
        // Loaded, stopped and, after the delay, loaded again.
        QTRY_VERIFY_WITH_TIMEOUT(loads.count() >= 3, 5000);
        QCOMPARE(changed.count(), 0);
    }

private:
    CameraStreamView *addView(const QString &cameraId)
    {
        auto *const view = new CameraStreamView(m_window->contentItem());
        view->setSize({320, 180});
        view->init(&*m_client);
        view->setCameraId(cameraId);
        return view;
    }

    std::optional<ScriptedServer> m_server;
    std::optional<ApiClient> m_client;
    std::optional<QQuickWindow> m_window;
};

QTEST_MAIN(SilentCamerasTest)
#include "tst_SilentCameras.moc"
