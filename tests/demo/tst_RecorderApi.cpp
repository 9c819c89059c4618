#include "RecorderFixture.h"

#include <QSignalSpy>
#include <QWebSocket>
#include <QtTest>

using namespace demo;

/// Sign-in, sessions, cameras, incidents, events and faults, over real connections.
class RecorderApiTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_recorder = std::make_unique<RecorderFixture>(); }

    void cleanup() { m_recorder.reset(); }

    void firstSetup()
    {
        QCOMPARE(m_recorder->get("/client-api/auth/status").object["setup_required"], true);
        const auto setUp = [this](const QString &login, const QString &password) {
            return m_recorder->post("/client-api/auth/setup", {{"login", login}, {"password", password}});
        };
        QCOMPARE(setUp("admin", "short").status, 400);
        QCOMPARE(setUp(" ", "secret-1").status, 400);
        const auto answer = setUp("admin", "secret-1");
        QCOMPARE(answer.status, 200);
        QCOMPARE(answer.object["expires_in"], 900);
        QCOMPARE(answer.object["permissions"].toArray().size(), Accounts::allPermissions().size());
        QVERIFY(answer.headers["set-cookie"].contains("HttpOnly"));
        QCOMPARE(m_recorder->get("/client-api/auth/status").object["setup_required"], false);
        QCOMPARE(setUp("eve", "secret-2").status, 409);
    }

    void wrongPasswords()
    {
        m_recorder->signIn();
        for (const QByteArray body :
            {R"({"login": "admin", "password": "secret-2"})", R"({"login": "Admin", "password": "secret-1"})",
                R"({"login": "admin"})", R"({"login": 1, "password": ["secret-1"]})", "login=admin"}) {
            const auto answer = m_recorder->ask("POST", "/client-api/auth/login", body);
            QCOMPARE(answer.status, 401);
            QCOMPARE(answer.object["error"], "Wrong login or password");
            QVERIFY(!answer.headers.contains("set-cookie"));
        }
    }

    void refreshesByCookieOnce()
    {
        m_recorder->signIn();
        m_recorder->setToken({});
        const auto login = m_recorder->login();
        const auto renewed = refresh(login);
        QCOMPARE(renewed.status, 200);
        QCOMPARE(renewed.object["user_id"], login.object["user_id"]);
        m_recorder->use(login);
        QCOMPARE(m_recorder->get("/client-api/cameras").status, 401);
        m_recorder->use(renewed);
        QCOMPARE(m_recorder->get("/client-api/cameras").status, 200);
        QCOMPARE(refresh(login).status, 401);
        QCOMPARE(refresh({}).status, 401);
    }

    void accessTokensExpire()
    {
        m_recorder->signIn();
        QCOMPARE(m_recorder->post("/demo/sessions", {{"access_seconds", 1}}).status, 204);
        const auto login = m_recorder->login();
        QCOMPARE(login.object["expires_in"], 1);
        m_recorder->use(login);
        QCOMPARE(m_recorder->get("/client-api/cameras").status, 200);
        QTRY_COMPARE_WITH_TIMEOUT(m_recorder->get("/client-api/cameras").status, 401, 3000);
        const auto renewed = refresh(login);
        QCOMPARE(renewed.status, 200);
        m_recorder->post("/demo/sessions/expire", {{"what", "all"}});
        QCOMPARE(refresh(renewed).status, 401);
    }

    void logoutEndsTheSession()
    {
        m_recorder->signIn();
        const auto other = m_recorder->login();
        const auto events = openEvents();
        QTRY_COMPARE(m_recorder->get("/demo/events").object["connected"], 1);
        QCOMPARE(m_recorder->ask("POST", "/client-api/auth/logout").status, 204);
        QCOMPARE(m_recorder->get("/client-api/cameras").status, 401);
        QTRY_COMPARE(events->closeCode(), QWebSocketProtocol::CloseCodePolicyViolated);
        m_recorder->use(other);
        QCOMPARE(m_recorder->get("/client-api/cameras").status, 200);
    }

    void everyDataCallNeedsASession()
    {
        m_recorder->setToken("made-up");
        const std::pair<const char *, const char *> calls[]{{"GET", "/cameras"}, {"GET", "/cameras/status"},
            {"GET", "/cameras/cam-001/stream-url?role=main"}, {"GET", "/floor-plans"}, {"GET", "/incidents"},
            {"POST", "/incidents"}, {"POST", "/incidents/1/ack"}, {"GET", "/preferences"},
            {"PUT", "/preferences"}, {"POST", "/auth/logout"}};
        for (const auto &[method, path] : calls) {
            const auto answer = m_recorder->ask(method, QString("/client-api%1").arg(path), QByteArray("{}"));
            QVERIFY2(answer.status == 401, path);
            QVERIFY(!answer.object["error"].toString().isEmpty());
        }
    }

    void permissionsAreHeld()
    {
        m_recorder->signIn();
        m_recorder->ask("PUT", "/client-api/preferences", {{"screens", QJsonArray{"grid-2"}}});
        const QJsonObject user{{"login", "guard"}, {"password", "secret-3"}};
        QCOMPARE(m_recorder->post("/demo/users", user).status, 201);
        QCOMPARE(m_recorder->post("/demo/users", user).status, 400);
        const QString incident = m_recorder->post("/demo/incidents").object["id"].toString();

        const auto login = m_recorder->login("guard", "secret-3");
        QCOMPARE(login.object["permissions"].toArray().size(), 0);
        m_recorder->use(login);
        QCOMPARE(m_recorder->get("/client-api/cameras").status, 200);
        const QString path = "/client-api/incidents/" + incident;
        QCOMPARE(m_recorder->post(path + "/ack").status, 403);
        QCOMPARE(m_recorder->post(path + "/resolve", {{"resolution", "x"}}).status, 403);
        QCOMPARE(m_recorder->post("/client-api/incidents", {{"title", "x"}}).status, 403);
        QCOMPARE(m_recorder->get("/client-api/incidents").array[0].toObject()["status"], "open");
        QCOMPARE(m_recorder->get("/client-api/preferences").body, QByteArray("{}"));
    }

    void restartKeepsEverythingButSecrets()
    {
        m_recorder->signIn();
        const auto login = m_recorder->login();
        m_recorder->ask("PATCH", "/demo/cameras/cam-002", {{"name", "Ворота"}});
        m_recorder->ask("DELETE", "/demo/cameras/cam-009");
        m_recorder->post("/demo/cameras", {{"name", "New"}, {"has_sub_stream", false}});
        m_recorder->ask("PUT", "/client-api/preferences", {{"grids", QJsonObject{{"live", 1}}}});
        m_recorder->post("/demo/incidents", {{"title", "Smoke"}});
        const QByteArray counts = m_recorder->get("/demo/requests").body;
        QVERIFY(counts.contains("POST /client-api/auth/login"));

        m_recorder->stop();
        QFile file(m_recorder->folder() + "/recorder.json");
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray state = file.readAll();
        const QByteArray cookie = cookieOf(login).mid(qstrlen("zorvel_refresh="));
        for (const QByteArray &secret : {QByteArray("secret-1"), m_recorder->token(), cookie})
            QVERIFY(!secret.isEmpty() && !state.contains(secret) && !counts.contains(secret));

        m_recorder->start();
        const QJsonArray cameras = m_recorder->get("/client-api/cameras").array;
        QCOMPARE(cameras.size(), 9);
        QCOMPARE(cameras[1].toObject()["name"], "Ворота");
        QCOMPARE(cameras[8].toObject()["id"], "cam-010");
        QCOMPARE(m_recorder->get("/client-api/preferences").object["grids"].toObject()["live"], 1);
        QCOMPARE(m_recorder->get("/client-api/incidents").array[0].toObject()["title"], "Smoke");
        QCOMPARE(refresh(login).status, 200);
        QCOMPARE(m_recorder->login().status, 200);
    }

    void damagedStateIsLeftAlone()
    {
        const QTemporaryDir folder;
        QFile file(folder.filePath("recorder.json"));
        QVERIFY(file.open(QIODevice::ReadWrite));
        file.write("{ \"accounts\": [");
        file.flush();
        QString error;
        QVERIFY(!StateFile(folder.path()).load(&error));
        QVERIFY(error.contains("recorder.json"));
        file.seek(0);
        QCOMPARE(file.readAll(), QByteArray("{ \"accounts\": ["));
    }

    void eventHandshakesAreChecked()
    {
        m_recorder->signIn();
        const auto handshake = [this](const QByteArray &path, const QByteArray &token) {
            QTcpSocket socket;
            socket.connectToHost("127.0.0.1", m_recorder->httpPort());
            socket.write("GET " + path
                + " HTTP/1.1\r\nHost: x\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                + "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
                + "Authorization: Bearer " + token + "\r\n\r\n");
            QByteArray heard;
            [&] { QTRY_VERIFY((heard += socket.readAll()).contains("\r\n\r\n")); }();
            return heard.mid(9, 3).toInt();
        };
        QCOMPARE(handshake("/client-api/ws", "made-up"), 401);
        QCOMPARE(handshake("/client-api/ws", ""), 401);
        QCOMPARE(handshake("/client-api/other", m_recorder->token()), 404);
        m_recorder->post("/demo/events/refuse", {{"status", 503}});
        QCOMPARE(handshake("/client-api/ws", m_recorder->token()), 503);
        m_recorder->post("/demo/events/refuse");
        QCOMPARE(handshake("/client-api/ws", m_recorder->token()), 101);
        QCOMPARE(m_recorder->get("/demo/events").object["refused"], 4);
    }

    void eventsArePushed()
    {
        m_recorder->signIn();
        const auto first = openEvents();
        const auto second = openEvents();
        QTRY_COMPARE(m_recorder->get("/demo/events").object["connected"], 2);
        QSignalSpy heard(first.get(), &QWebSocket::textMessageReceived);
        QSignalSpy alsoHeard(second.get(), &QWebSocket::textMessageReceived);
        const auto next = [&heard](const QString &type) -> QJsonObject {
            [&] { QTRY_VERIFY(!heard.isEmpty()); }();
            const QByteArray text = heard.isEmpty() ? "" : heard.takeFirst()[0].toString().toUtf8();
            const QJsonObject frame = QJsonDocument::fromJson(text).object();
            return frame["type"] == type ? frame["data"].toObject() : QJsonObject();
        };

        m_recorder->post("/demo/cameras/cam-001/fault", {{"kind", "offline"}});
        const QJsonObject status = next("camera_status");
        QCOMPARE(status["camera_id"], "cam-001");
        QCOMPARE(status["state"], "offline");
        QVERIFY(!status["error"].toString().isEmpty());

        m_recorder->post("/demo/cameras", {{"name", "New"}});
        QCOMPARE(next("camera_added")["id"], "cam-010");
        m_recorder->ask("PATCH", "/demo/cameras/cam-010", {{"name", "Newer"}});
        QCOMPARE(next("camera_updated")["name"], "Newer");
        m_recorder->ask("DELETE", "/demo/cameras/cam-010");
        QCOMPARE(next("camera_deleted")["camera_id"], "cam-010");

        const QString incident = m_recorder->post("/demo/incidents").object["id"].toString();
        QCOMPARE(next("incident")["id"], incident);
        m_recorder->post("/client-api/incidents/" + incident + "/ack");
        QCOMPARE(next("incident_updated")["status"], "acked");
        m_recorder->post("/client-api/incidents/" + incident + "/resolve", {{"resolution", "x"}});
        QCOMPARE(next("incident_updated")["status"], "resolved");
        QVERIFY(m_recorder->get("/client-api/incidents?status=open,acked").array.isEmpty());

        m_recorder->ask("POST", "/demo/events/send", QByteArray("{broken"));
        QTRY_COMPARE(heard.size(), 1);
        QCOMPARE(heard.takeFirst()[0].toString(), "{broken");
        QTRY_COMPARE(alsoHeard.size(), 8);

        m_recorder->post("/demo/events/cut");
        QTRY_COMPARE(first->state(), QAbstractSocket::UnconnectedState);
        QTRY_COMPARE(m_recorder->get("/demo/events").object["connected"], 0);
    }

    void faultsStrike()
    {
        m_recorder->signIn();
        const QString cameras = "/client-api/cameras";
        m_recorder->post("/demo/faults",
            {{"path", cameras}, {"status", 503}, {"body", R"({"error": "busy"})"}, {"skip", 1},
                {"times", 2}});
        QList<int> statuses;
        for (int i = 0; i < 4; ++i)
            statuses.append(m_recorder->get(cameras).status);
        QCOMPARE(statuses, (QList<int>{200, 503, 503, 200}));

        m_recorder->post(
            "/demo/faults", {{"path", cameras}, {"method", "GET"}, {"body", "[{"}, {"times", 1}});
        QCOMPARE(m_recorder->get(cameras).body, QByteArray("[{"));

        m_recorder->post("/demo/faults", {{"path", cameras}, {"delay_ms", 300}, {"times", 1}});
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(m_recorder->get(cameras).array.size(), 9);
        QVERIFY(timer.elapsed() >= 300);

        m_recorder->post("/demo/faults", {{"path", cameras}, {"cut_after_bytes", 40}});
        QCOMPARE(m_recorder->get(cameras).body.size(), 40);
        QCOMPARE(m_recorder->get("/client-api/preferences").status, 200);
        m_recorder->ask("DELETE", "/demo/faults");
        QCOMPARE(m_recorder->get(cameras).array.size(), 9);
        QCOMPARE(m_recorder->post("/demo/faults", {{"status", 500}}).status, 400);
        QCOMPARE(m_recorder->get("/demo/requests").object["GET /client-api/cameras"], 8);
    }

private:
    std::unique_ptr<QWebSocket> openEvents()
    {
        auto socket = std::make_unique<QWebSocket>();
        QNetworkRequest request(QUrl(QString("ws://127.0.0.1:%1/client-api/ws").arg(m_recorder->httpPort())));
        request.setRawHeader("Authorization", "Bearer " + m_recorder->token());
        socket->open(request);
        return socket;
    }

    RecorderFixture::Answer refresh(const RecorderFixture::Answer &signedIn)
    {
        return m_recorder->ask("POST", "/client-api/auth/refresh", "", {{"Cookie", cookieOf(signedIn)}});
    }

    QByteArray cookieOf(const RecorderFixture::Answer &answer) const
    {
        return answer.headers.value("set-cookie").split(';').first();
    }

    std::unique_ptr<RecorderFixture> m_recorder;
};

QTEST_MAIN(RecorderApiTest)
#include "tst_RecorderApi.moc"
