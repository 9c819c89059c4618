#include "app/CrashReporting.h"
#include "net/ApiClient.h"
#include "support/RecordingCrashBackend.h"
#include "support/ScriptedServer.h"

#include <QNetworkReply>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QUuid>

namespace {

const QByteArray status = "GET /client-api/auth/status";
const QByteArray setup = "POST /client-api/auth/setup";
const QByteArray login = "POST /client-api/auth/login";
const QByteArray refresh = "POST /client-api/auth/refresh";
const QByteArray logout = "POST /client-api/auth/logout";
const QByteArray cameras = "GET /client-api/cameras";

const QByteArray olga = R"({"access_token":"olga-token","user_id":"7","login":"olga","group_id":"3",
    "permissions":["manage_users",5,"view_audit"],"expires_in":900})";

RecordingCrashBackend::Record reports;

} // namespace

class SessionTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void statusCheck();
    void signIn_data();
    void signIn();
    void failures_data();
    void failures();
    void unreachableServer();
    void refreshDelays_data();
    void refreshDelays();
    void refreshRenewsTheSession();
    void refreshRefusedEndsTheSession();
    void malformedRefreshChangesNothing();
    void logoutAtOnce();
    void lateAnswersDoNotBringBackASession_data();
    void lateAnswersDoNotBringBackASession();
    void newerSignInWins();
    void anotherServerNeverSeesTheToken();
    void redirectsStayOnTheServer();

private:
    void signInAsOlga();
    QTimer *refreshTimer() const { return m_client->findChild<QTimer *>("refreshTimer"); }
    // Runs the refresh that the timer would have run later.
    void refreshNow() { refreshTimer()->start(0); }

    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<ApiClient> m_client;
    // The client's session signals in their order.
    QStringList m_signals;
};

void SessionTest::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    qputenv("ZORVEL_SENTRY_DSN", "http://key@127.0.0.1/1");
    initCrashReporting(std::make_unique<RecordingCrashBackend>(reports));
}

void SessionTest::init()
{
    m_server = std::make_unique<ScriptedServer>();
    m_client = std::make_unique<ApiClient>();
    m_signals.clear();
    const ApiClient *client = m_client.get();
    connect(client, &ApiClient::authChanged, this,
        [this, client] { m_signals += client->isAuthenticated() ? "signed in" : "signed out"; });
    connect(client, &ApiClient::loginSucceeded, this, [this] { m_signals += "loginSucceeded"; });
    connect(client, &ApiClient::loginFailed, this,
        [this](const QString &error) { m_signals += "failed: " + error; });
    connect(client, &ApiClient::statusReceived, this,
        [this](bool required) { m_signals += required ? "setup required" : "set up"; });
    connect(client, &ApiClient::statusFailed, this,
        [this](const QString &error) { m_signals += "status: " + error; });
    connect(client, &ApiClient::sessionExpired, this, [this] { m_signals += "sessionExpired"; });
    connect(client, &ApiClient::camerasReceived, this, [this] { m_signals += "cameras"; });
    reports.take();
}

void SessionTest::cleanup()
{
    m_client.reset();
    m_server.reset();
}

void SessionTest::signInAsOlga()
{
    m_server->on(login, {.body = olga, .headers = {"Set-Cookie: refresh=olga; Path=/; HttpOnly"}});
    m_client->doLogin(m_server->url(), "olga", "geheim");
    QTRY_VERIFY(m_client->isAuthenticated());
    m_signals.clear();
}

void SessionTest::statusCheck()
{
    m_server->on(status, R"({"setup_required":true})");
    QSignalSpy loading(m_client.get(), &ApiClient::loadingChanged);
    m_client->checkStatus(m_server->url() + "///");
    QVERIFY(m_client->isLoading());
    QTRY_COMPARE(m_signals, QStringList("setup required"));
    QVERIFY(!m_client->isLoading());
    QCOMPARE(loading.size(), 2);
    QCOMPARE(m_client->serverUrl(), m_server->url());

    const ScriptedServer::Request request = m_server->requestsTo(status).value(0);
    QVERIFY(!request.headers.contains("authorization"));
    QVERIFY(!QUuid::fromString(QString::fromLatin1('{' + request.headers["x-request-id"] + '}')).isNull());
    m_client->checkStatus(m_server->url());
    QTRY_COMPARE(m_server->requestsTo(status).size(), 2);
    QVERIFY(
        m_server->requests()[0].headers["x-request-id"] != m_server->requests()[1].headers["x-request-id"]);
}

void SessionTest::signIn_data()
{
    QTest::addColumn<QByteArray>("route");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QStringList>("user");
    QTest::addColumn<QStringList>("permissions");
    QTest::addColumn<QStringList>("breadcrumbs");

    const QStringList user{"olga-token", "7", "olga", "3"};
    const QStringList nobody{"", "", "", ""};
    const QStringList noted{
        "breadcrumb|auth|login attempt: SERVER|info", "breadcrumb|auth|login succeeded|info"};
    const QStringList granted{"manage_users", "", "view_audit"};
    QTest::newRow("login") << login << olga << user << granted << noted;
    QTest::newRow("setup") << setup << olga << user << granted << QStringList();
    QTest::newRow("without members") << login << QByteArray("{}") << nobody << QStringList() << noted;
    QTest::newRow("members of wrong types")
        << login
        << QByteArray(R"({"access_token":1,"user_id":{},"login":[],"group_id":null,"permissions":"all"})")
        << nobody << QStringList() << noted;
}

void SessionTest::signIn()
{
    QFETCH(QByteArray, route);
    QFETCH(QByteArray, answer);
    QFETCH(QStringList, breadcrumbs);
    m_server->on(route, answer);
    if (route == login) {
        m_client->doLogin(m_server->url() + '/', "olga", "ge\"heim");
    } else {
        m_client->doSetup(m_server->url() + '/', "olga", "ge\"heim");
    }
    QTRY_COMPARE(m_signals, QStringList({"signed in", "loginSucceeded"}));
    QTEST(QStringList({m_client->accessToken(), m_client->userId(), m_client->login(), m_client->groupId()}),
        "user");
    QTEST(m_client->permissions(), "permissions");
    QCOMPARE(m_client->hasPermission("manage_users"), answer == olga);
    QVERIFY(!m_client->hasPermission("manage_cameras"));
    QVERIFY(!m_client->isLoading());

    const ScriptedServer::Request request = m_server->requestsTo(route).value(0);
    QCOMPARE(request.body, QByteArray(R"({"login":"olga","password":"ge\"heim"})"));
    QCOMPARE(request.headers["content-type"], "application/json");
    QVERIFY(!request.headers.contains("authorization"));
    QCOMPARE(reports.take(), breadcrumbs.replaceInStrings("SERVER", m_server->url()));
}

void SessionTest::failures_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("signInError");
    QTest::addColumn<bool>("isTransportError");

    // An empty text stands for the network layer's own.
    QTest::newRow("server's text") << 403 << QByteArray(R"({"error":"Неверный пароль"})") << "Неверный пароль"
                                   << true;
    QTest::newRow("empty text") << 403 << QByteArray(R"({"error":""})") << "" << true;
    QTest::newRow("text of a wrong type") << 403 << QByteArray(R"({"error":["no"]})") << "" << true;
    QTest::newRow("error page") << 502 << QByteArray("<html>Bad gateway") << "" << true;
    for (const char *body :
        {"", "[]", "[{}]", "null", "true", "7", "\"text\"", "<html>", "{\"login\":", "\xff\xfe{}"}) {
        QTest::addRow("success with %s", body)
            << 200 << QByteArray(body) << "Invalid server response" << false;
    }
    QTest::newRow("deep nesting") << 200 << QByteArray(100'000, '[') << "Invalid server response" << false;
}

void SessionTest::failures()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, signInError);
    QFETCH(bool, isTransportError);
    const auto ownText = [this](const QByteArray &route) {
        const QString path = QString::fromLatin1(route.split(' ').value(1));
        return QStringLiteral("Error transferring %1%2 - server replied: Scripted")
            .arg(m_server->url(), path);
    };
    QFETCH(int, status);
    for (const QByteArray &route : {login, setup, ::status}) {
        m_server->on(route, {.status = status, .body = body});
    }

    const QString loginError = signInError.isEmpty() ? ownText(login) : signInError;
    m_client->doLogin(m_server->url(), "olga", "wrong");
    QTRY_COMPARE(m_signals, QStringList("failed: " + loginError));
    QCOMPARE(m_client->errorMessage(), loginError);
    QCOMPARE(reports.take().value(1),
        isTransportError ? "breadcrumb|auth|login failed: " + loginError + "|warning"
                         : "breadcrumb|auth|login: invalid server response|warning");

    m_signals.clear();
    m_client->doSetup(m_server->url(), "olga", "wrong");
    QCOMPARE(m_client->errorMessage(), "");
    QTRY_COMPARE(m_signals, QStringList("failed: " + (signInError.isEmpty() ? ownText(setup) : signInError)));

    // The status check does not look into the body of a failure.
    m_signals.clear();
    m_client->checkStatus(m_server->url());
    QTRY_COMPARE(m_signals, QStringList("status: " + (isTransportError ? ownText(::status) : signInError)));
    QVERIFY(!m_client->isAuthenticated() && !m_client->isLoading() && !refreshTimer()->isActive());
}

void SessionTest::unreachableServer()
{
    const QString url = m_server->url();
    m_server.reset();
    for (const QString &address :
        {url, QStringLiteral("127.0.0.1:8090"), QStringLiteral("nonsense"), QString()}) {
        m_signals.clear();
        m_client->checkStatus(address);
        QTRY_COMPARE(m_signals.size(), 1);
        QVERIFY2(m_signals[0].size() > 10 && m_client->errorMessage() == m_signals[0].mid(8),
            qPrintable(m_signals[0]));
    }
}

void SessionTest::refreshDelays_data()
{
    QTest::addColumn<QByteArray>("expiresIn");
    QTest::addColumn<int>("delayMs");
    QTest::newRow("900") << QByteArray(R"("expires_in":900)") << 840'000;
    QTest::newRow("62") << QByteArray(R"("expires_in":62)") << 2000;
    QTest::newRow("61") << QByteArray(R"("expires_in":61)") << 1000;
    QTest::newRow("negative") << QByteArray(R"("expires_in":-9223372036854775808)") << 1000;
    QTest::newRow("absent") << QByteArray(R"("x":1)") << 840'000;
    QTest::newRow("wrong type") << QByteArray(R"("expires_in":"soon")") << 840'000;
    // Longer than a timer can run: as long as it can, which is still before the token ends.
    QTest::newRow("huge") << QByteArray(R"("expires_in":9223372036854775807)") << 2'147'423'000;
}

void SessionTest::refreshDelays()
{
    QFETCH(QByteArray, expiresIn);
    m_server->on(login, '{' + expiresIn + '}');
    m_client->doLogin(m_server->url(), "olga", "geheim");
    QTRY_VERIFY(m_client->isAuthenticated());
    QVERIFY(refreshTimer()->isActive() && refreshTimer()->isSingleShot());
    QTEST(refreshTimer()->interval(), "delayMs");
}

void SessionTest::refreshRenewsTheSession()
{
    signInAsOlga();
    m_server->on(
        refresh, {.body = R"({"access_token":"second","login":"olga","expires_in":120})", .held = true});
    refreshNow();
    QTRY_COMPARE(m_server->requestsTo(refresh).size(), 1);
    refreshNow();
    QTest::qWait(50);
    QCOMPARE(m_server->requestsTo(refresh).size(), 1);
    QCOMPARE(m_client->accessToken(), "olga-token");

    m_server->release();
    QTRY_COMPARE(m_signals, QStringList("signed in"));
    QCOMPARE(m_client->accessToken(), "second");
    QCOMPARE(m_client->permissions(), QStringList());
    QCOMPARE(refreshTimer()->interval(), 60'000);
    const ScriptedServer::Request request = m_server->requestsTo(refresh).value(0);
    QVERIFY(!request.headers.contains("authorization"));
    QCOMPARE(request.headers["cookie"], "refresh=olga");
    QCOMPARE(request.headers["content-type"], "application/json");
    QCOMPARE(request.body, QByteArray());
}

void SessionTest::refreshRefusedEndsTheSession()
{
    signInAsOlga();
    reports.take();
    m_server->on(refresh, {.status = 401});
    refreshNow();
    QTRY_COMPARE(m_signals, QStringList({"signed out", "sessionExpired"}));
    QCOMPARE(m_client->accessToken(), "");
    QVERIFY(!refreshTimer()->isActive());
    QCOMPARE(reports.take(), QStringList("breadcrumb|auth|token refresh failed -> session expired|warning"));
}

void SessionTest::malformedRefreshChangesNothing()
{
    signInAsOlga();
    m_server->on(refresh, QByteArray("[]"));
    refreshNow();
    QTRY_COMPARE(m_server->requestsTo(refresh).size(), 1);
    QTest::qWait(50);
    QCOMPARE(m_signals, QStringList());
    QCOMPARE(m_client->accessToken(), "olga-token");
    QVERIFY(m_client->isAuthenticated() && !refreshTimer()->isActive());
}

void SessionTest::logoutAtOnce()
{
    signInAsOlga();
    m_server->on(logout, {.status = 500});
    m_client->doLogout();
    m_client->doLogout();
    QCOMPARE(m_signals, QStringList("signed out"));
    QCOMPARE(m_client->accessToken(), "");
    QCOMPARE(m_client->login(), "olga");
    QVERIFY(m_client->hasPermission("view_audit"));
    QVERIFY(!refreshTimer()->isActive());
    QTRY_COMPARE(m_server->requestsTo(logout).size(), 1);
    QTest::qWait(50);
    QCOMPARE(m_server->requestsTo(logout).size(), 1);
    QCOMPARE(m_signals, QStringList("signed out"));
    const ScriptedServer::Request request = m_server->requestsTo(logout).value(0);
    QCOMPARE(request.headers["authorization"], "Bearer olga-token");
    QCOMPARE(request.body, QByteArray());
}

void SessionTest::lateAnswersDoNotBringBackASession_data()
{
    QTest::addColumn<bool>("nextUserComes");
    QTest::newRow("signed out") << false;
    QTest::newRow("the next user") << true;
}

void SessionTest::lateAnswersDoNotBringBackASession()
{
    QFETCH(bool, nextUserComes);
    signInAsOlga();
    m_server->on(refresh, {.body = olga, .headers = {"Set-Cookie: refresh=old; Path=/"}, .held = true});
    m_server->on(login, {.body = olga, .held = true});
    m_server->on(cameras, {.body = "[]", .held = true});
    m_server->on(logout, {.headers = {"Set-Cookie: refresh=; Path=/; Max-Age=0"}, .held = true});
    refreshNow();
    m_client->fetchCameras();
    QTRY_COMPARE(m_server->requests().size(), 3);
    const auto unanswered = m_client->findChildren<QNetworkReply *>();
    QCOMPARE(unanswered.size(), 2);
    for (const QNetworkReply *reply : unanswered)
        QCOMPARE(reply->request().transferTimeout(), 30'000);
    m_client->doLogin(m_server->url(), "olga", "geheim");
    QTRY_COMPARE(m_server->requests().size(), 4);
    m_client->doLogout();
    QVERIFY(!m_client->isLoading());
    QTRY_COMPARE(m_server->requests().size(), 5);

    if (nextUserComes) {
        m_server->on(login,
            {.body = R"({"access_token":"ivan-token"})", .headers = {"Set-Cookie: refresh=ivan; Path=/"}});
        m_client->doLogin(m_server->url(), "ivan", "tajna");
        QTRY_COMPARE(m_client->accessToken(), "ivan-token");
    }
    m_signals.clear();
    m_server->release();
    QTest::qWait(100);
    QCOMPARE(m_signals, QStringList());
    QCOMPARE(m_client->accessToken(), nextUserComes ? "ivan-token" : "");
    if (!nextUserComes) {
        return;
    }

    m_server->on(refresh, {.status = 401});
    refreshNow();
    QTRY_COMPARE(m_server->requestsTo(refresh).size(), 2);
    QCOMPARE(m_server->requestsTo(refresh)[1].headers["cookie"], "refresh=ivan");
}

void SessionTest::newerSignInWins()
{
    m_server->on(login, {.body = olga, .held = true});
    m_client->doLogin(m_server->url(), "olga", "geheim");
    QTRY_COMPARE(m_server->requests().size(), 1);
    m_server->on(login, {.status = 401, .body = R"({"error":"no such user"})"});
    m_client->doLogin(m_server->url(), "ivan", "tajna");
    QTRY_COMPARE(m_signals, QStringList("failed: no such user"));
    m_server->release();
    QTest::qWait(50);
    QCOMPARE(m_signals, QStringList("failed: no such user"));
    QVERIFY(!m_client->isAuthenticated() && !m_client->isLoading());
}

void SessionTest::anotherServerNeverSeesTheToken()
{
    signInAsOlga();
    ScriptedServer other;
    other.on(status, QByteArray("{}"));
    m_client->checkStatus(other.url());
    QCOMPARE(m_signals, QStringList("signed out"));
    m_client->fetchCameras();
    QTRY_COMPARE(other.requests().size(), 2);
    for (const auto &request : other.requests()) {
        QVERIFY(!request.headers.value("authorization").contains("olga"));
    }
}

void SessionTest::redirectsStayOnTheServer()
{
    signInAsOlga();
    ScriptedServer other;
    const auto redirectTo = [this](const ScriptedServer &target) {
        m_server->on(
            cameras, {.status = 307, .headers = {"Location: " + target.url().toLatin1() + "/elsewhere"}});
        m_client->fetchCameras();
    };
    m_server->on("GET /elsewhere", QByteArray("[]"));
    redirectTo(*m_server);
    QTRY_COMPARE(m_signals, QStringList("cameras"));
    redirectTo(other);
    QTRY_COMPARE(m_server->requestsTo(cameras).size(), 2);
    QTest::qWait(100);
    QCOMPARE(other.requests().size(), 0);
}

QTEST_GUILESS_MAIN(SessionTest)
#include "tst_Session.moc"
