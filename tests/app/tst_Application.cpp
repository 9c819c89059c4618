#include "app/Application.h"
#include "app/CrashReporting.h"
#include "app/QmlTypes.h"
#include "support/RecordingCrashBackend.h"
#include "support/ScriptedServer.h"

#include <QNetworkReply>
#include <QQmlComponent>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <clocale>
#include <optional>

// The whole object graph against a scripted server, under an operating system that writes decimal commas.
class ApplicationTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void numbersHaveDecimalPoints();
    void documentsReachServicesAndTypes();
    void brokenRootDocumentIsReported();
    void nothingIsFetchedBeforeSignIn();
    void signInStartsTheSession();
    void statusesArePolledAndPushed();
    void listChangesAreFetchedOnce();
    void pollingEndsWithTheSession_data();
    void pollingEndsWithTheSession();
    void secondSignInStartsAgain();
    void reconnectUsesTheCurrentToken();

private:
    QTimer &timer(const char *name) const { return *m_application->findChild<QTimer *>(name); }
    void answerSignIn(const QByteArray &token);
    void signIn();
    void expireSession();
    QStringList taken();
    qsizetype count(const QByteArray &route) const { return m_server->requestsTo(route).size(); }

    RecordingCrashBackend::Record m_crashRecord;
    std::optional<ScriptedServer> m_server;
    std::optional<Application> m_application;
    qsizetype m_seen = 0;
};

namespace {

const QByteArray camerasRoute = "GET /client-api/cameras";
const QByteArray statusRoute = "GET /client-api/cameras/status";
const QByteArray channelRoute = "GET /client-api/ws";

} // namespace

void ApplicationTest::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    registerQmlTypes();
    qputenv("ZORVEL_SENTRY_DSN", "http://key@127.0.0.1/1");
    initCrashReporting(std::make_unique<RecordingCrashBackend>(m_crashRecord));
}

void ApplicationTest::init()
{
    m_server.emplace();
    m_server->on(camerasRoute, R"([{"id": "c1", "name": "Gate"}, {"id": "c2", "name": "Yard"}])");
    m_server->on(statusRoute, R"([{"camera_id": "c2", "state": "recording"}])");
    m_server->on("GET /client-api/floor-plans", "[]");
    m_server->on("GET /client-api/incidents", "[]");
    m_application.emplace();
    m_seen = 0;
    m_crashRecord.take();
}

void ApplicationTest::cleanup()
{
    m_application.reset();
    m_server.reset();
}

void ApplicationTest::answerSignIn(const QByteArray &token)
{
    const QByteArray answer = R"({"access_token": ")" + token + R"(", "login": "olga", "expires_in": 900})";
    m_server->on("POST /client-api/auth/login", answer);
    m_server->on("POST /client-api/auth/refresh", answer);
}

void ApplicationTest::signIn()
{
    answerSignIn("first");
    m_application->apiClient().doLogin(m_server->url() + "/", "olga", "secret");
    QTRY_COMPARE(m_application->cameraModel().cameraStateById("c2"), "recording");
    QTRY_VERIFY(count(channelRoute) > 0);
}

void ApplicationTest::expireSession()
{
    m_server->on("POST /client-api/auth/refresh", {.status = 401});
    QSignalSpy expired(&m_application->apiClient(), &ApiClient::sessionExpired);
    m_application->apiClient().findChild<QTimer *>("refreshTimer")->start(0);
    QTRY_COMPARE(expired.count(), 1);
}

QStringList ApplicationTest::taken()
{
    QStringList lines;
    for (const auto &request : m_server->requests().mid(std::exchange(m_seen, m_server->requests().size())))
        lines << request.method + ' ' + request.target;
    return lines;
}

void ApplicationTest::numbersHaveDecimalPoints()
{
    if (!std::setlocale(LC_NUMERIC, "de_DE.UTF-8"))
        QSKIP("There is no locale with a decimal comma to try it under.");
    QCOMPARE(std::localeconv()->decimal_point, ",");
    const Application another;
    QCOMPARE(std::localeconv()->decimal_point, ".");
}

void ApplicationTest::documentsReachServicesAndTypes()
{
    signIn();
    QQmlComponent component(&m_application->engine());
    component.setData(R"(
        import QtQuick
        import ZorvelClient
        Item {
            property var services: [apiClient, wsClient, cameraModel, timelineModel, exportModel, formatUtils]
            GridLayoutModel { currentLayout: "1+5" }
            StreamPoolModel { }
            CameraFilterModel { sourceModel: cameraModel }
            MpvObject { }
            ArchivePlayer { }
            CameraStreamView {
                cameraId: "c1"
                hasSubStream: true
                Component.onCompleted: init(apiClient)
            }
        })",
        {});
    const std::unique_ptr<QObject> object(component.create());
    QVERIFY2(object, qPrintable(component.errorString()));
    QTRY_COMPARE(m_server->requestsTo("GET /client-api/cameras/c1/stream-url").size(), 1);
    QStringList classes;
    for (const QVariant &service : object->property("services").toList())
        classes << service.value<QObject *>()->metaObject()->className();
    QCOMPARE(classes,
        QStringList(
            {"ApiClient", "WSClient", "CameraListModel", "TimelineModel", "ExportModel", "FormatUtils"}));
}

void ApplicationTest::brokenRootDocumentIsReported()
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("QQmlApplicationEngine failed to load component"));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("No such file or directory"));
    QVERIFY(!m_application->load(QUrl("qrc:/nowhere/Main.qml")));

    const QTemporaryDir folder;
    QFile document(folder.filePath("Main.qml"));
    QVERIFY(document.open(QFile::WriteOnly));
    document.write("import QtQml\nQtObject { }");
    document.close();
    QVERIFY(m_application->load(QUrl::fromLocalFile(document.fileName())));
}

void ApplicationTest::nothingIsFetchedBeforeSignIn()
{
    QVERIFY(!timer("statusPollTimer").isActive() && !timer("cameraRefetchTimer").isActive());
    QVERIFY(!m_application->wsClient().isConnected());
    QSignalSpy asked(&m_application->apiClient(), &ApiClient::statusReceived);
    m_server->on("GET /client-api/auth/status", R"({"setup_required": false})");
    m_application->apiClient().checkStatus(m_server->url());
    QTRY_COMPARE(asked.count(), 1);
    QCOMPARE(taken(), QStringList("GET /client-api/auth/status"));
}

void ApplicationTest::signInStartsTheSession()
{
    // Several connections carry them, so the server may see them in another order.
    QStringList asked;
    ApiClient &client = m_application->apiClient();
    connect(&client, &ApiClient::loginSucceeded, this, [&] {
        for (const auto *reply : client.findChildren<QNetworkReply *>())
            asked << reply->url().path();
    });
    signIn();
    QCOMPARE(asked.filter(QRegularExpression("/(cameras|floor-plans|incidents)$")),
        QStringList({"/client-api/cameras", "/client-api/floor-plans", "/client-api/incidents"}));
    QStringList requests = taken();
    requests.sort();
    QCOMPARE(requests,
        QStringList({"GET /client-api/cameras", "GET /client-api/cameras/status",
            "GET /client-api/floor-plans", "GET /client-api/incidents?status=open,acked",
            "GET /client-api/ws", "POST /client-api/auth/login"}));
    QCOMPARE(m_server->requestsTo(channelRoute).first().headers["authorization"], "Bearer first");
    QCOMPARE(m_application->cameraModel().cameraIds(), QStringList({"c1", "c2"}));
    QVERIFY(timer("statusPollTimer").isActive());
    QCOMPARE(timer("statusPollTimer").interval(), 15000);
    const QStringList reported = m_crashRecord.take();
    QVERIFY(reported.contains("user|olga"));
    QVERIFY(reported.contains("tag|server|" + m_server->url()));
}

void ApplicationTest::statusesArePolledAndPushed()
{
    signIn();
    timer("statusPollTimer").setInterval(20);
    const qsizetype lists = count(camerasRoute);
    m_server->on(statusRoute, R"([{"camera_id": "c2", "state": "offline"}])");
    QTRY_COMPARE(m_application->cameraModel().cameraStateById("c2"), "offline");
    QTRY_VERIFY(count(statusRoute) >= 4);
    QCOMPARE(count(camerasRoute), lists);
    emit m_application->wsClient().cameraStatusChanged("c1", "error", "no signal");
    QCOMPARE(m_application->cameraModel().cameraStateById("c1"), "error");
}

void ApplicationTest::listChangesAreFetchedOnce()
{
    signIn();
    taken();
    m_server->on(camerasRoute, R"([{"id": "c2", "name": "Back yard"}])");
    WSClient &channel = m_application->wsClient();
    emit channel.cameraUpdated("c2");
    QTest::qWait(150);
    emit channel.cameraAdded("c3");
    QTest::qWait(150);
    emit channel.cameraDeleted("c1");
    QCOMPARE(count(camerasRoute), 1);
    QTRY_COMPARE(m_application->cameraModel().cameraNameById("c2"), "Back yard");
    QTRY_COMPARE(m_application->cameraModel().cameraStateById("c2"), "recording");
    QTest::qWait(400);
    QCOMPARE(taken().filter("cameras"),
        QStringList({"GET /client-api/cameras", "GET /client-api/cameras/status"}));
}

void ApplicationTest::pollingEndsWithTheSession_data()
{
    QTest::addColumn<bool>("expires");
    QTest::newRow("expired") << true;
    QTest::newRow("signed out") << false;
}

void ApplicationTest::pollingEndsWithTheSession()
{
    QFETCH(bool, expires);
    signIn();
    m_crashRecord.take();
    timer("statusPollTimer").setInterval(50);
    emit m_application->wsClient().cameraUpdated("c1");
    if (expires)
        expireSession();
    else
        m_application->apiClient().doLogout();
    QCOMPARE(m_crashRecord.take().contains("no user"), expires);
    QCOMPARE(m_application->cameraModel().count(), 0);
    const qsizetype lists = count(camerasRoute);
    const qsizetype polls = count(statusRoute);
    QTest::qWait(400);
    QCOMPARE(count(camerasRoute), lists);
    QCOMPARE(count(statusRoute), polls);
    QVERIFY(!timer("statusPollTimer").isActive());
}

void ApplicationTest::secondSignInStartsAgain()
{
    signIn();
    expireSession();
    taken();
    const qsizetype channels = count(channelRoute);
    answerSignIn("second");
    m_application->apiClient().doLogin(m_server->url(), "olga", "secret");
    QTRY_COMPARE(count(statusRoute), 2);
    QTRY_VERIFY(count(channelRoute) > channels);
    QCOMPARE(m_server->requestsTo(channelRoute).last().headers["authorization"], "Bearer second");
    QVERIFY(timer("statusPollTimer").isActive());
}

void ApplicationTest::reconnectUsesTheCurrentToken()
{
    signIn();
    answerSignIn("renewed");
    QSignalSpy renewed(&m_application->apiClient(), &ApiClient::authChanged);
    m_application->apiClient().findChild<QTimer *>("refreshTimer")->start(0);
    QTRY_COMPARE(renewed.count(), 1);
    QTRY_VERIFY(m_server->requestsTo(channelRoute).last().headers["authorization"] == "Bearer renewed");
}

QTEST_MAIN(ApplicationTest)
#include "tst_Application.moc"
