#include "net/ApiClient.h"
#include "support/RecordingCrashBackend.h"
#include "support/ScriptedServer.h"
#include "support/SignalLines.h"

#include <QNetworkReply>
#include <QTest>
#include <QUuid>

namespace {

const QByteArray status = "GET /client-api/auth/status";
const QByteArray login = "POST /client-api/auth/login";
const QByteArray refresh = "POST /client-api/auth/refresh";
const QByteArray logout = "POST /client-api/auth/logout";
const QByteArray cameras = "GET /client-api/cameras";

const QByteArray olga = R"({"access_token":"olga-token","user_id":"7","login":"olga","group_id":"3",
    "permissions":["manage_users",5,"view_audit"],"expires_in":900})";

} // namespace

class SessionTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { RecordingCrashBackend::install(s_reports); }

    void init()
    {
        m_server = std::make_unique<ScriptedServer>();
        m_client = std::make_unique<ApiClient>();
        m_signals.emplace(m_client.get(), QStringList({"errorChanged", "loadingChanged"}));
        s_reports.take();
    }

    void signIn()
    {
        m_server->on(login, olga);
        m_client->doLogin(m_server->url() + "///", "olga", "geheim");
        QTRY_COMPARE(m_signals->lines, QStringList({"authChanged", "loginSucceeded"}));
        QVERIFY(!m_client->isLoading());
        QVERIFY(m_client->hasPermission("manage_users") && !m_client->hasPermission("manage_cameras"));
        const ScriptedServer::Request request = m_server->asked(login).value(0);
        QVERIFY(!request.headers.contains("authorization"));
        QVERIFY(!QUuid::fromString(QString('{' + request.headers["x-request-id"] + '}')).isNull());
        QCOMPARE(s_reports.take(),
            QStringList({"breadcrumb|auth|login attempt: " + m_server->url() + "|info",
                "breadcrumb|auth|login succeeded|info"}));

        // Members of wrong types.
        m_server->on(login, R"({"access_token":1,"user_id":{},"login":[],"permissions":"all"})");
        m_client->doLogin(m_server->url(), "olga", "geheim");
        QTRY_COMPARE(m_signals->lines.count("loginSucceeded"), 2);
        QCOMPARE(m_client->accessToken() + m_client->userId() + m_client->login(), "");
        QCOMPARE(m_client->permissions(), QStringList());
    }

    void failures_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("body");
        // An empty text stands for the network layer's own.
        QTest::addColumn<QString>("error");

        QTest::newRow("server's text")
            << 403 << QByteArray(R"({"error":"Неверный пароль"})") << "Неверный пароль";
        for (const char *body : {R"({"error":["no"]})", "<html>"})
            QTest::addRow("502 with %s", body) << 502 << QByteArray(body) << "";
        for (const char *body : {"", "[{}]", "<html>", "{\"login\":", "\xff\xfe{}"})
            QTest::addRow("200 with %s", body) << 200 << QByteArray(body) << "Invalid server response";
        QTest::newRow("deep nesting") << 200 << QByteArray(100'000, '[') << "Invalid server response";
    }

    void failures()
    {
        QFETCH(int, code);
        QFETCH(QByteArray, body);
        QFETCH(QString, error);
        const auto ownText = [this](const QString &path) {
            return QString("Error transferring %1%2 - server replied: Scripted").arg(m_server->url(), path);
        };
        m_server->on(login, {.status = code, .body = body});
        m_server->on(status, {.status = code, .body = body});

        const QString loginError = error.isEmpty() ? ownText("/client-api/auth/login") : error;
        m_client->doLogin(m_server->url(), "olga", "wrong");
        QTRY_COMPARE(m_signals->lines, QStringList("loginFailed|" + loginError));
        QCOMPARE(m_client->errorMessage(), loginError);
        QCOMPARE(s_reports.take().value(1),
            code == 200 ? "breadcrumb|auth|login: invalid server response|warning"
                        : "breadcrumb|auth|login failed: " + loginError + "|warning");

        // The status check does not look into the body of a failure.
        m_signals->lines.clear();
        m_client->checkStatus(m_server->url());
        QCOMPARE(m_client->errorMessage(), "");
        const QString statusError = code == 200 ? error : ownText("/client-api/auth/status");
        QTRY_COMPARE(m_signals->lines, QStringList("statusFailed|" + statusError));
        QVERIFY(!m_client->isAuthenticated() && !m_client->isLoading() && !refreshTimer()->isActive());
    }

    void refreshDelays()
    {
        const QMap<QByteArray, int> delays{{"900", 840'000}, {"61", 1000}, {"-9223372036854775808", 1000},
            {"\"soon\"", 840'000},
            // Longer than a timer can run: as long as it can, which is still before the token ends.
            {"9223372036854775807", 2'147'423'000}};
        for (auto delay = delays.cbegin(); delay != delays.cend(); ++delay) {
            m_server->on(login, R"({"expires_in":)" + delay.key() + '}');
            m_client->doLogin(m_server->url(), "olga", "geheim");
            QTRY_COMPARE(m_signals->lines.count("loginSucceeded"), 1);
            QVERIFY(refreshTimer()->isActive() && refreshTimer()->isSingleShot());
            QCOMPARE(refreshTimer()->interval(), delay.value());
            m_signals->lines.clear();
        }
    }

    void refreshRenewsOrEndsTheSession()
    {
        signInAsOlga();
        m_server->on(
            refresh, {.body = R"({"access_token":"second","login":"olga","expires_in":120})", .held = true});
        refreshNow();
        QTRY_COMPARE(m_server->asked(refresh).size(), 1);
        refreshNow();
        QTest::qWait(50);
        QCOMPARE(m_server->asked(refresh).size(), 1);
        m_server->release();
        QTRY_COMPARE(m_signals->lines, QStringList("authChanged"));
        m_signals->lines.clear();
        QCOMPARE(m_client->accessToken(), "second");
        QCOMPARE(m_client->permissions(), QStringList());
        QCOMPARE(refreshTimer()->interval(), 60'000);
        const ScriptedServer::Request request = m_server->asked(refresh).value(0);
        QVERIFY(!request.headers.contains("authorization"));
        QCOMPARE(request.headers["cookie"], "refresh=olga");

        m_server->on(refresh, QByteArray("[]"));
        refreshNow();
        QTRY_COMPARE(m_server->asked(refresh).size(), 2);
        QTest::qWait(50);
        QCOMPARE(m_signals->lines, QStringList());
        QVERIFY(m_client->isAuthenticated() && !refreshTimer()->isActive());

        m_server->on(refresh, {.status = 401});
        refreshNow();
        QTRY_COMPARE(m_signals->lines, QStringList({"authChanged", "sessionExpired"}));
        QVERIFY(!m_client->isAuthenticated() && m_client->accessToken().isEmpty());
        QVERIFY(s_reports.take().contains("breadcrumb|auth|token refresh failed -> session expired|warning"));
    }

    void lateAnswersDoNotBringBackASession()
    {
        signInAsOlga();
        m_server->on(refresh, {.body = olga, .headers = {"Set-Cookie: refresh=old; Path=/"}, .held = true});
        m_server->on(login, {.body = olga, .held = true});
        m_server->on(cameras, {.body = "[]", .held = true});
        m_server->on(logout, {.headers = {"Set-Cookie: refresh=; Path=/; Max-Age=0"}, .held = true});
        refreshNow();
        m_client->fetchCameras();
        m_client->doLogin(m_server->url(), "olga", "geheim");
        QTRY_COMPARE(m_server->requests().size(), 4);
        const auto unanswered = m_client->findChildren<QNetworkReply *>();
        QCOMPARE(unanswered.size(), 3);
        for (const QNetworkReply *reply : unanswered)
            QCOMPARE(reply->request().transferTimeout(), 30'000);
        m_client->doLogout();
        QVERIFY(!m_client->isLoading());
        QTRY_COMPARE(m_server->requests().size(), 5);
        QCOMPARE(m_server->asked(logout).value(0).headers["authorization"], "Bearer olga-token");
        // The answer to the sign-out is still waited for.
        QTRY_COMPARE(m_client->findChildren<QNetworkReply *>().size(), 1);
        m_client->doLogin(m_server->url(), "olga", "geheim");
        QTRY_COMPARE(m_server->requests().size(), 6);

        m_server->on(
            login, {.body = R"({"access_token":"ivan"})", .headers = {"Set-Cookie: refresh=ivan; Path=/"}});
        m_client->doLogin(m_server->url(), "ivan", "tajna");
        QTRY_COMPARE(m_client->accessToken(), "ivan");
        m_signals->lines.clear();
        m_server->release();
        QTest::qWait(100);
        QCOMPARE(m_signals->lines, QStringList());
        QCOMPARE(m_client->accessToken(), "ivan");

        m_server->on(refresh, {.status = 401});
        refreshNow();
        QTRY_COMPARE(m_server->asked(refresh).size(), 2);
        QCOMPARE(m_server->asked(refresh)[1].headers["cookie"], "refresh=ivan");
    }

    void anotherServerNeverSeesTokenOrCookie()
    {
        signInAsOlga();
        ScriptedServer other;
        m_server->on("GET /elsewhere", QByteArray("[]"));
        const auto redirectTo = [this](const ScriptedServer &target) {
            m_server->on(
                cameras, {.status = 307, .headers = {"Location: " + target.url().toLatin1() + "/elsewhere"}});
            m_client->fetchCameras();
        };
        redirectTo(*m_server);
        QTRY_COMPARE(m_signals->lines, QStringList("camerasReceived|[]"));
        redirectTo(other);
        QTRY_COMPARE(m_server->asked(cameras).size(), 2);
        QTest::qWait(100);
        QCOMPARE(other.requests().size(), 0);

        m_signals->lines.clear();
        m_client->checkStatus(other.url());
        QCOMPARE(m_signals->lines, QStringList({"authChanged", "signedOut"}));
        m_client->fetchCameras();
        QTRY_COMPARE(other.requests().size(), 2);
        for (const auto &request : other.requests()) {
            QVERIFY(!request.headers.value("authorization").contains("olga"));
            QVERIFY(!request.headers.value("cookie").contains("olga"));
        }
    }

private:
    void signInAsOlga()
    {
        m_server->on(login, {.body = olga, .headers = {"Set-Cookie: refresh=olga; Path=/; HttpOnly"}});
        m_client->doLogin(m_server->url(), "olga", "geheim");
        QTRY_VERIFY(m_client->isAuthenticated());
        m_signals->lines.clear();
    }

    QTimer *refreshTimer() const { return m_client->findChild<QTimer *>("refreshTimer"); }
    // Runs the refresh that the timer would have run later.
    void refreshNow() { refreshTimer()->start(0); }

    static inline RecordingCrashBackend::Record s_reports;
    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<ApiClient> m_client;
    std::optional<SignalLines> m_signals;
};

QTEST_GUILESS_MAIN(SessionTest)
#include "tst_Session.moc"
