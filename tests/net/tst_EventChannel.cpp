#include "net/WSClient.h"
#include "support/LogCapture.h"
#include "support/RecordingCrashBackend.h"
#include "support/ScriptedServer.h"
#include "support/SignalLines.h"

#include <QTest>
#include <QWebSocket>
#include <QWebSocketServer>

class EventChannelTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { RecordingCrashBackend::install(s_reports); }

    void init()
    {
        listen();
        m_client = std::make_unique<WSClient>();
        s_reports.take();
    }

    void addresses()
    {
        const auto channel = [](const char *server) { return WSClient::eventChannelUrl(server); };
        QCOMPARE(channel("HTTPS://host:8443/some/path"), "wss://host:8443/client-api/ws");
        QCOMPARE(channel("http://127.0.0.1"), "ws://127.0.0.1/client-api/ws");
        QCOMPARE(channel("http://u:p@[::1]:80/?a=b#c"), "ws://[::1]:80/client-api/ws");
    }

    void events_data()
    {
        QTest::addColumn<QString>("data");
        QTest::addColumn<QString>("signal");
        const auto row = [](const char *type, const char *data, const char *signal) {
            QTest::newRow(type) << QString(data) << QString(signal);
        };
        row("camera_status", R"({"camera_id":"1","state":"error","error":"http:/u?token=geheim"})",
            "cameraStatusChanged|1|error|http:/u?token=geheim");
        row("camera_status", "null", "cameraStatusChanged|||");
        row("camera_added", R"({"id":"1","camera_id":"2"})", "cameraAdded|1");
        row("camera_deleted", R"({"camera_id":"2","id":"1"})", "cameraDeleted|2");
        row("incident", "[1]", "incidentReceived|{}|true");
        row("incident_updated", R"({"severity":9007199254740993})",
            R"(incidentReceived|{"severity":9007199254740993}|false)");
    }

    void events()
    {
        QFETCH(QString, data);
        QFETCH(QString, signal);
        LogCapture log;
        const SignalLines events(m_client.get());
        QWebSocket *server = connected();
        // Ignored: the event that follows shows that the channel outlives them.
        for (const char *noise : {"", "[]", "null", "{", R"({"type":7})", R"({"type":"Incident"})"})
            server->sendTextMessage(noise);
        server->sendTextMessage(QString(100'000, u'['));
        const QString frame = QString(R"({"type":"%1","data":%2})").arg(QTest::currentDataTag(), data);
        server->sendBinaryMessage(frame.toUtf8());
        server->sendTextMessage(frame);
        QTRY_COMPARE(events.lines, QStringList(signal));
        const QString logged = log.taken().join('\n');
        QCOMPARE(logged.contains("info zorvel.status: WS camera_status: id="), signal.startsWith("cameraS"));
        QVERIFY2(!logged.contains("geheim"), qPrintable(logged));
    }

    void reconnectsWithAFreshToken()
    {
        connect(m_client.get(), &WSClient::needsToken, this, [this] { m_client->setToken("fresh"); });
        QSignalSpy changed(m_client.get(), &WSClient::connectionChanged);
        QWebSocket *server = connected();
        QCOMPARE(server->request().rawHeader("Authorization"), "Bearer tökén");
        QCOMPARE(server->request().rawHeader("X-Request-ID").size(), 36);
        server->close();
        QCOMPARE(skipWait(), 1000);
        QTRY_VERIFY(m_client->isConnected());
        QCOMPARE(changed.size(), 3);
        server = accepted();
        QCOMPARE(server->request().rawHeader("Authorization"), "Bearer fresh");
        QCOMPARE(breadcrumbs(),
            QStringList({"connected|info", "disconnected, will reconnect|warning", "connected|info"}));
        server->abort();
        QCOMPARE(skipWait(), 1000);
    }

    void refusedAttemptsBackOff_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::newRow("nobody listens") << QByteArray("dead");
        QTest::newRow("no answer") << QByteArray();
        QTest::newRow("upgrade with a wrong key") << QByteArray(
            "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\n"
            "Connection: Upgrade\r\nSec-WebSocket-Accept: AAAAAAAAAAAAAAAAAAAAAAAAAAA=\r\n\r\n");
    }

    void refusedAttemptsBackOff()
    {
        QFETCH(QByteArray, answer);
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        const quint16 port = server.serverPort();
        connect(&server, &QTcpServer::newConnection, this, [&] {
            QTcpSocket *socket = server.nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [socket, answer] {
                socket->readAll();
                socket->write(answer);
            });
        });
        if (answer == "dead")
            server.close();
        QCOMPARE(timer("answerTimer")->interval(), 15'000);
        if (answer.isEmpty())
            timer("answerTimer")->setInterval(50);
        m_client->connectTo(QString("ws://127.0.0.1:%1/client-api/ws").arg(port), "token");
        for (const int delayMs : {1000, 2000, 4000, 8000, 16000, 30000, 30000})
            QCOMPARE(skipWait(), delayMs);
        QTRY_VERIFY(timer("reconnectTimer")->isActive());
        QCOMPARE(breadcrumbs(), QStringList(8, "disconnected, will reconnect|warning"));
    }

    void stopsWithoutToken()
    {
        connect(m_client.get(), &WSClient::needsToken, this, [this] { m_client->setToken({}); });
        connected()->close();
        QCOMPARE(skipWait(), 1000);
        QTest::qWait(50);
        QVERIFY(!isBusy() && !m_server->hasPendingConnections());
        connected();
    }

    void intentionalClose()
    {
        QWebSocket *server = connected();
        QSignalSpy closed(server, &QWebSocket::disconnected);
        m_client->disconnect();
        QVERIFY(closed.wait());
        QCOMPARE(server->closeCode(), QWebSocketProtocol::CloseCodeNormal);
        QTRY_VERIFY(!m_client->isConnected());
        QVERIFY(!isBusy());

        // A close while waiting, or during an attempt, ends that.
        connected()->close();
        QTRY_VERIFY(timer("reconnectTimer")->isActive());
        m_client->disconnect();
        QVERIFY(!isBusy());
        s_reports.take();
        m_client->connectTo(url(), "token");
        m_client->disconnect();
        QTest::qWait(50);
        QVERIFY(!m_client->isConnected() && !isBusy());
        QCOMPARE(breadcrumbs(), QStringList("disconnected (intentional)|info"));
    }

private:
    QString url() const { return QString("ws://127.0.0.1:%1/client-api/ws").arg(m_server->serverPort()); }
    QTimer *timer(const char *name) const { return m_client->findChild<QTimer *>(name); }
    bool isBusy() const { return timer("reconnectTimer")->isActive() || timer("answerTimer")->isActive(); }
    QStringList breadcrumbs() { return s_reports.take().replaceInStrings("breadcrumb|ws|", ""); }

    void listen()
    {
        m_server = std::make_unique<QWebSocketServer>("recorder", QWebSocketServer::NonSecureMode);
        QVERIFY(m_server->listen(QHostAddress::LocalHost));
    }

    // Connects and returns the server's end.
    QWebSocket *connected()
    {
        QSignalSpy arrived(m_server.get(), &QWebSocketServer::newConnection);
        m_client->connectTo(url(), "tökén");
        if (!arrived.wait() || !QTest::qWaitFor([this] { return m_client->isConnected(); }))
            qFatal("no connection");
        return accepted();
    }

    QWebSocket *accepted()
    {
        QWebSocket *socket = m_server->nextPendingConnection();
        socket->setParent(m_server.get());
        return socket;
    }

    // Lets the wait that has just begun end at once, and returns how long it would have been.
    int skipWait()
    {
        QTimer *wait = timer("reconnectTimer");
        if (!QTest::qWaitFor([wait] { return wait->isActive(); }))
            return -1;
        const int delayMs = wait->interval();
        QSignalSpy ended(wait, &QTimer::timeout);
        wait->start(0);
        return ended.wait() ? delayMs : -1;
    }

    static inline RecordingCrashBackend::Record s_reports;
    std::unique_ptr<QWebSocketServer> m_server;
    std::unique_ptr<WSClient> m_client;
};

QTEST_GUILESS_MAIN(EventChannelTest)
#include "tst_EventChannel.moc"
