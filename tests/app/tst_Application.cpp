#include "app/Application.h"
#include "support/LogCapture.h"
#include "support/RecordingCrashBackend.h"
#include "support/ScriptedServer.h"

#include <QLoggingCategory>
#include <QTest>

#include <clocale>
#include <optional>

namespace {

const QByteArray camerasRoute = "GET /client-api/cameras";
const QByteArray statusRoute = "GET /client-api/cameras/status";
const QByteArray channelRoute = "GET /client-api/ws";

} // namespace

// The whole object graph against a scripted server, under an operating system that writes decimal commas.
class ApplicationTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { RecordingCrashBackend::install(m_crashRecord); }

    void init()
    {
        m_server.emplace();
        m_server->on(camerasRoute, R"([{"id": "c1", "name": "Gate"}, {"id": "c2", "name": "Yard"}])");
        m_server->on(statusRoute, R"([{"camera_id": "c2", "state": "recording"}])");
        m_application.emplace();
        m_crashRecord.take();
    }

    void cleanup()
    {
        m_application.reset();
        m_server.reset();
    }

    void numbersHaveDecimalPoints()
    {
        if (!std::setlocale(LC_NUMERIC, "de_DE.UTF-8"))
            QSKIP("There is no locale with a decimal comma to try it under.");
        QCOMPARE(std::localeconv()->decimal_point, ",");
        const Application another;
        QCOMPARE(std::localeconv()->decimal_point, ".");
    }

    void signInStartsTheSession()
    {
        signIn();
        QTRY_VERIFY(count("GET /client-api/floor-plans") == 1 && count("GET /client-api/incidents") == 1);
        QCOMPARE(m_server->asked(channelRoute).first().headers["authorization"], "Bearer first");
        const QStringList reported = m_crashRecord.take();
        QVERIFY(reported.contains("user|olga"));
        QVERIFY(reported.contains("tag|server|" + m_server->url()));
        QCOMPARE(timer("statusPollTimer").interval(), 15000);
        timer("statusPollTimer").setInterval(20);
        m_server->on(statusRoute, R"([{"camera_id": "c2", "state": "offline"}])");
        QTRY_COMPARE(m_application->cameraModel().cameraStateById("c2"), "offline");
        QCOMPARE(count(camerasRoute), 1);
        m_application->apiClient().doLogout();
        QVERIFY(m_crashRecord.take().contains("no user"));
    }

    void statusesAreLoggedWithoutSecrets()
    {
        signIn();
        LogCapture log;
        QLoggingCategory::setFilterRules("zorvel.status.debug=true");
        emit m_application->wsClient().cameraStatusChanged("c1", "error", "no signal from rtsp://u:p@one");
        m_server->on(statusRoute, R"([{"camera_id": "c2", "state": "error", "error": "rtsp:\/\/u:p@two"}])");
        m_application->apiClient().fetchCamerasStatus();
        QTRY_COMPARE(m_application->cameraModel().cameraStateById("c2"), "error");
        QLoggingCategory::setFilterRules({});
        const QString logged = log.taken().join('\n');
        // The list's line for the one, the client's and the list's for the other.
        QVERIFY2(logged.count("rtsp://one") == 1 && logged.count("rtsp://two") == 2, qPrintable(logged));
        QVERIFY2(!logged.contains("u:p"), qPrintable(logged));
    }

    void listChangesAreFetchedOnce()
    {
        signIn();
        const qsizetype polls = count(statusRoute);
        WSClient &channel = m_application->wsClient();
        emit channel.cameraUpdated("c2");
        QTest::qWait(150);
        emit channel.cameraAdded("c3");
        QTest::qWait(150);
        emit channel.cameraDeleted("c1");
        QTRY_COMPARE(count(statusRoute), polls + 1);
        QTest::qWait(400);
        QCOMPARE(count(camerasRoute), 2);
    }

    void sessionEnds()
    {
        signIn();
        timer("statusPollTimer").setInterval(50);
        emit m_application->wsClient().cameraUpdated("c1");
        m_server->on("POST /client-api/auth/refresh", {.status = 401});
        m_application->apiClient().findChild<QTimer *>("refreshTimer")->start(0);
        QTRY_VERIFY(!m_application->apiClient().isAuthenticated());
        QVERIFY(m_crashRecord.take().contains("no user"));
        QCOMPARE(m_application->cameraModel().count(), 0);
        const qsizetype lists = count(camerasRoute);
        const qsizetype polls = count(statusRoute);
        QTest::qWait(400);
        QCOMPARE(count(camerasRoute), lists);
        QCOMPARE(count(statusRoute), polls);
    }

    void cameraListThatFailedAtFirst()
    {
        m_server->on(camerasRoute, {.status = 503});
        answerSignIn("first");
        m_application->apiClient().doLogin(m_server->url(), "olga", "secret");
        QTRY_COMPARE(count(camerasRoute), 1);
        m_server->on(camerasRoute, R"([{"id": "c2"}])");
        m_application->apiClient().fetchCamerasStatus();
        QTRY_COMPARE(m_application->cameraModel().cameraStateById("c2"), "recording");
    }

    void reconnectUsesTheCurrentToken()
    {
        signIn();
        answerSignIn("renewed");
        m_application->apiClient().findChild<QTimer *>("refreshTimer")->start(0);
        QTRY_VERIFY(m_server->asked(channelRoute).last().headers["authorization"] == "Bearer renewed");
    }

private:
    QTimer &timer(const char *name) const { return *m_application->findChild<QTimer *>(name); }
    qsizetype count(const QByteArray &route) const { return m_server->asked(route).size(); }

    void answerSignIn(const QByteArray &token)
    {
        QByteArray answer = R"({"access_token": "TOKEN", "login": "olga"})";
        answer.replace("TOKEN", token);
        m_server->on("POST /client-api/auth/login", answer);
        m_server->on("POST /client-api/auth/refresh", answer);
    }

    void signIn()
    {
        answerSignIn("first");
        m_application->apiClient().doLogin(m_server->url(), "olga", "secret");
        QTRY_COMPARE(m_application->cameraModel().cameraStateById("c2"), "recording");
        QTRY_VERIFY(count(channelRoute) > 0);
    }

    RecordingCrashBackend::Record m_crashRecord;
    std::optional<ScriptedServer> m_server;
    std::optional<Application> m_application;
};

QTEST_MAIN(ApplicationTest)
#include "tst_Application.moc"
