#include "app/CrashReporting.h"
#include "net/WSClient.h"
#include "support/RecordingCrashBackend.h"
#include "support/ScriptedServer.h"

#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QWebSocket>
#include <QWebSocketServer>

namespace {

RecordingCrashBackend::Record reports;

} // namespace

class EventChannelTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void addresses();
    void handshake();
    void events_data();
    void events();
    void reconnectsWithAFreshToken();
    void refusedAttemptsBackOff_data();
    void refusedAttemptsBackOff();
    void connectionResetsTheBackOff();
    void stopsWithoutToken();
    void intentionalClose();
    void closeDuringAnAttempt();
    void replacesAConnection();
    void oversizedMessage();

private:
    QString url() const
    {
        return QStringLiteral("ws://127.0.0.1:%1/client-api/ws").arg(m_server->serverPort());
    }
    QTimer *timer(const char *name) const { return m_client->findChild<QTimer *>(name); }
    void listen();
    // Connects and returns the server's end.
    QWebSocket *connected();
    QWebSocket *accepted();
    // Lets the wait that has just begun end at once, and returns how long it would have been.
    int skipWait();
    QStringList breadcrumbs() const { return reports.take().replaceInStrings("breadcrumb|ws|", ""); }

    std::unique_ptr<QWebSocketServer> m_server;
    std::unique_ptr<WSClient> m_client;
};

void EventChannelTest::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    qputenv("ZORVEL_SENTRY_DSN", "http://key@127.0.0.1/1");
    initCrashReporting(std::make_unique<RecordingCrashBackend>(reports));
}

void EventChannelTest::init()
{
    listen();
    m_client = std::make_unique<WSClient>();
    reports.take();
}

void EventChannelTest::listen()
{
    m_server = std::make_unique<QWebSocketServer>("recorder", QWebSocketServer::NonSecureMode);
    QVERIFY(m_server->listen(QHostAddress::LocalHost));
}

void EventChannelTest::cleanup()
{
    m_client.reset();
    m_server.reset();
}

QWebSocket *EventChannelTest::connected()
{
    QSignalSpy arrived(m_server.get(), &QWebSocketServer::newConnection);
    m_client->connectTo(url(), "token");
    if (!arrived.wait() || !QTest::qWaitFor([this] { return m_client->isConnected(); })) {
        qFatal("no connection");
    }
    return accepted();
}

QWebSocket *EventChannelTest::accepted()
{
    QWebSocket *socket = m_server->nextPendingConnection();
    socket->setParent(m_server.get());
    return socket;
}

int EventChannelTest::skipWait()
{
    QTimer *wait = timer("reconnectTimer");
    if (!QTest::qWaitFor([wait] { return wait->isActive(); })) {
        return -1;
    }
    const int delayMs = wait->interval();
    QSignalSpy ended(wait, &QTimer::timeout);
    wait->start(0);
    return ended.wait() ? delayMs : -1;
}

void EventChannelTest::addresses()
{
    const auto channel = [](const char *server) { return WSClient::eventChannelUrl(server); };
    QCOMPARE(channel("https://host:8443/some/path"), "wss://host:8443/client-api/ws");
    QCOMPARE(channel("HTTPS://host"), "wss://host/client-api/ws");
    QCOMPARE(channel("http://127.0.0.1:8090"), "ws://127.0.0.1:8090/client-api/ws");
    QCOMPARE(channel("http://u:p@[::1]:80/?a=b#c"), "ws://[::1]:80/client-api/ws");
}

void EventChannelTest::handshake()
{
    ScriptedServer server;
    m_client->connectTo(server.url().replace("http", "ws") + "/client-api/ws", "tökén");
    QTRY_COMPARE(server.requests().size(), 1);
    const auto headers = server.requests()[0].headers;
    QCOMPARE(server.requests()[0].target, "/client-api/ws");
    QCOMPARE(headers["authorization"], "Bearer tökén");
    QCOMPARE(headers["sec-websocket-version"], "13");
    QCOMPARE(headers["x-request-id"].size(), 36);
    QVERIFY(!headers.contains("content-type"));
    QCOMPARE(headers.value("origin"), "");
}

void EventChannelTest::events_data()
{
    QTest::addColumn<QString>("frame");
    QTest::addColumn<QString>("signal");
    const auto row = [](const char *name, const char *frame, const QString &signal) {
        QTest::newRow(name) << QString(frame) << signal;
    };
    row("status",
        R"({"type":"camera_status","data":{"camera_id":"1","state":"offline","error":"rtsp://u:p@h gone"}})",
        "status 1 offline rtsp://u:p@h gone");
    row("status without data", R"({"type":"camera_status"})", "status   ");
    row("added", R"({"type":"camera_added","data":{"id":"1","camera_id":"2"}})", "added 1");
    row("updated", R"({"type":"camera_updated","data":{"id":"1"}})", "updated 1");
    row("deleted", R"({"type":"camera_deleted","data":{"camera_id":"2","id":"1"}})", "deleted 2");
    row("deleted by the wrong key", R"({"type":"camera_deleted","data":{"id":"1"}})", "deleted ");
    row("number for an id", R"({"type":"camera_added","data":{"id":1}})", "added ");
    row("incident", R"({"type":"incident","data":{"id":"i","severity":9}})", "new i 9");
    row("changed incident", R"({"type":"incident_updated","data":{"id":"i","severity":9007199254740993}})",
        "changed i 9007199254740993");
    row("incident without an object", R"({"type":"incident","data":[1]})", "new  ");
}

void EventChannelTest::events()
{
    QFETCH(QString, frame);
    QStringList events;
    const auto add = [&events](const QStringList &parts) { events += parts.join(u' '); };
    connect(m_client.get(), &WSClient::cameraStatusChanged, this,
        [&](const QString &id, const QString &state, const QString &error) {
            add({"status", id, state, error});
        });
    connect(m_client.get(), &WSClient::cameraAdded, this, [&](const QString &id) { add({"added", id}); });
    connect(m_client.get(), &WSClient::cameraUpdated, this, [&](const QString &id) { add({"updated", id}); });
    connect(m_client.get(), &WSClient::cameraDeleted, this, [&](const QString &id) { add({"deleted", id}); });
    connect(m_client.get(), &WSClient::incidentReceived, this, [&](const QVariantMap &data, bool isNew) {
        add({isNew ? "new" : "changed", data["id"].toString(), data["severity"].toString()});
    });
    QWebSocket *server = connected();
    // Ignored: the answer that follows shows that the channel outlives them.
    for (const char *noise :
        {"", "[]", "null", "{", R"({"type":7})", R"({"type":"Camera_Status"})", R"({"data":{}})"}) {
        server->sendTextMessage(noise);
    }
    server->sendTextMessage(QString(100'000, u'['));
    server->sendBinaryMessage(frame.toUtf8());
    if (frame.contains("camera_status") && frame.contains("data")) {
        QTest::ignoreMessage(QtInfoMsg, "WS camera_status: id=1 state=offline error=rtsp://h gone");
    }
    server->sendTextMessage(frame);
    QTRY_COMPARE(events.size(), 1);
    QTEST(events[0], "signal");
}

void EventChannelTest::reconnectsWithAFreshToken()
{
    connect(m_client.get(), &WSClient::needsToken, this, [this] { m_client->setToken("fresh"); });
    QSignalSpy changed(m_client.get(), &WSClient::connectionChanged);
    QWebSocket *server = connected();
    QCOMPARE(server->request().rawHeader("Authorization"), "Bearer token");
    m_client->setToken("another");
    QVERIFY(m_client->isConnected());
    server->close();
    QCOMPARE(skipWait(), 1000);
    QTRY_VERIFY(m_client->isConnected());
    QCOMPARE(changed.size(), 3);
    QCOMPARE(accepted()->request().rawHeader("Authorization"), "Bearer fresh");
    QCOMPARE(breadcrumbs(),
        QStringList({"connected|info", "disconnected, will reconnect|warning", "connected|info"}));
}

void EventChannelTest::refusedAttemptsBackOff_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<bool>("isClosed");
    const auto answered
        = [](const char *name, const QByteArray &answer) { QTest::newRow(name) << answer << false; };
    QTest::newRow("nobody listens") << QByteArray() << true;
    QTest::newRow("closed without an answer") << QByteArray("close") << false;
    answered("no answer", {});
    answered("200", "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}");
    answered("401", "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Bearer\r\nContent-Length: 0\r\n\r\n");
    answered("404", "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
    answered("redirect", "HTTP/1.1 302 Found\r\nLocation: ws://127.0.0.1:1/\r\nContent-Length: 0\r\n\r\n");
    answered("upgrade with a wrong key",
        "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\n"
        "Connection: Upgrade\r\nSec-WebSocket-Accept: AAAAAAAAAAAAAAAAAAAAAAAAAAA=\r\n\r\n");
    answered("not HTTP", "SSH-2.0-server\r\n\r\n");
}

void EventChannelTest::refusedAttemptsBackOff()
{
    QFETCH(QByteArray, answer);
    QFETCH(bool, isClosed);
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const quint16 port = server.serverPort();
    connect(&server, &QTcpServer::newConnection, this, [&] {
        QTcpSocket *socket = server.nextPendingConnection();
        connect(socket, &QTcpSocket::readyRead, socket, [socket, answer] {
            socket->readAll();
            if (answer == "close") {
                socket->close();
            } else {
                socket->write(answer);
            }
        });
    });
    if (isClosed) {
        server.close();
    }
    if (answer.isEmpty()) {
        QCOMPARE(timer("answerTimer")->interval(), 15'000);
        timer("answerTimer")->setInterval(50);
    }
    m_client->connectTo(QStringLiteral("ws://127.0.0.1:%1/client-api/ws").arg(port), "token");
    for (const int delayMs : {1000, 2000, 4000, 8000, 16000, 30000, 30000}) {
        QCOMPARE(skipWait(), delayMs);
    }
    QTRY_VERIFY(timer("reconnectTimer")->isActive());
    QTest::qWait(50);
    QCOMPARE(breadcrumbs(), QStringList(8, "disconnected, will reconnect|warning"));
}

void EventChannelTest::connectionResetsTheBackOff()
{
    connected();
    for (const int delayMs : {1000, 2000}) {
        m_server.reset();
        QCOMPARE(skipWait(), delayMs);
    }
    listen();
    connected()->abort();
    QCOMPARE(skipWait(), 1000);
}

void EventChannelTest::stopsWithoutToken()
{
    connect(m_client.get(), &WSClient::needsToken, this, [this] { m_client->setToken({}); });
    connected()->close();
    QCOMPARE(skipWait(), 1000);
    QTest::qWait(50);
    QVERIFY(!timer("reconnectTimer")->isActive() && !timer("answerTimer")->isActive());
    QVERIFY(!m_server->hasPendingConnections());
    connected();
}

void EventChannelTest::intentionalClose()
{
    QWebSocket *server = connected();
    QSignalSpy closed(server, &QWebSocket::disconnected);
    m_client->disconnect();
    QVERIFY(closed.wait());
    QCOMPARE(server->closeCode(), QWebSocketProtocol::CloseCodeNormal);
    QCOMPARE(server->closeReason(), "");
    QTRY_VERIFY(!m_client->isConnected());
    QVERIFY(!timer("reconnectTimer")->isActive());
    QCOMPARE(breadcrumbs(), QStringList({"connected|info", "disconnected (intentional)|info"}));

    // The next connection is kept open again.
    connected()->close();
    QCOMPARE(skipWait(), 1000);

    // A close while waiting ends the waiting.
    QTRY_VERIFY(m_client->isConnected());
    accepted()->abort();
    QTRY_VERIFY(timer("reconnectTimer")->isActive());
    m_client->disconnect();
    QVERIFY(!timer("reconnectTimer")->isActive());
}

void EventChannelTest::closeDuringAnAttempt()
{
    m_client->connectTo(url(), "token");
    m_client->disconnect();
    QTest::qWait(50);
    QVERIFY(!m_client->isConnected() && !timer("reconnectTimer")->isActive()
        && !timer("answerTimer")->isActive());
    QCOMPARE(breadcrumbs(), QStringList("disconnected (intentional)|info"));
}

void EventChannelTest::replacesAConnection()
{
    QWebSocket *first = connected();
    QSignalSpy closed(first, &QWebSocket::disconnected);
    m_client->connectTo(url(), "second");
    m_client->connectTo(url(), "third");
    QVERIFY(!m_client->isConnected());
    QTRY_VERIFY(m_client->isConnected());
    QTRY_COMPARE(closed.size(), 1);
    QTest::qWait(50);
    QVERIFY(m_client->isConnected() && !timer("reconnectTimer")->isActive());
    QCOMPARE(breadcrumbs(), QStringList({"connected|info", "connected|info"}));
}

void EventChannelTest::oversizedMessage()
{
    connected()->sendTextMessage(QString(20'000'000, u' '));
    QTRY_VERIFY(!m_client->isConnected());
    QCOMPARE(skipWait(), 1000);
}

QTEST_GUILESS_MAIN(EventChannelTest)
#include "tst_EventChannel.moc"
