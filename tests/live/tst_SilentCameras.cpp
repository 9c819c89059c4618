#include "live/CameraStreamView.h"
#include "support/ClipCamera.h"
#include "support/ScriptedServer.h"

#include <QQuickWindow>
#include <QTest>

#include <optional>

// Cameras that fall silent or never speak, with real players in a real window.
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

        QTRY_VERIFY_WITH_TIMEOUT(waitedMs > 0, 30000);
        QVERIFY2(waitedMs > 14500 && waitedMs < 18000, qPrintable(QString::number(waitedMs)));
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
