#include "http/HttpServer.h"
#include "http/Router.h"

#include <QTcpSocket>
#include <QtTest>

using namespace demo;

namespace {

/// A body in pieces, with or without a known length.
class Pieces : public HttpBody
{
public:
    Pieces(int count, qint64 size)
        : m_left(count)
        , m_size(size)
    {
    }
    qint64 size() const override { return m_size; }
    QByteArray read() override { return m_left-- > 0 ? QByteArray(100000, 'x') : QByteArray(); }

private:
    int m_left;
    qint64 m_size;
};

} // namespace

/// Bytes in, bytes out, over real sockets.
class TestHttpServer : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void answersRequestsOfOneConnectionInOrder();
    void refusesWhatItCannotRead_data();
    void refusesWhatItCannotRead();
    void headHasNoBody();
    void streamsBodies();
    void cutsBodies();
    void routes_data();
    void routes();

private:
    QByteArray talk(const QByteArray &bytes);

    std::unique_ptr<HttpServer> m_server;
};

void TestHttpServer::init()
{
    m_server = std::make_unique<HttpServer>();
    m_server->setHandler([](const HttpRequest &request) {
        HttpResponse response;
        response.body = request.method + ' ' + request.segments.join(u'|').toUtf8() + ' ' + request.body;
        if (request.path == "/chunks")
            response.stream = std::make_shared<Pieces>(20, -1);
        if (request.path == "/stream")
            response.stream = std::make_shared<Pieces>(20, 2000000);
        if (request.query.hasQueryItem("cut"))
            response.cutAfterBytes = request.queryValue("cut").toLongLong();
        if (request.query.hasQueryItem("delay"))
            response.delayMs = request.queryValue("delay").toInt();
        if (response.stream)
            response.body.clear();
        return response;
    });
    QVERIFY(m_server->listen(0));
}

void TestHttpServer::cleanup()
{
    m_server.reset();
}

/// Everything the server says to these bytes until it closes.
QByteArray TestHttpServer::talk(const QByteArray &bytes)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, m_server->port());
    socket.write(bytes);
    QByteArray heard;
    connect(&socket, &QTcpSocket::readyRead, &socket, [&] { heard += socket.readAll(); });
    [&] { QTRY_COMPARE(socket.state(), QAbstractSocket::UnconnectedState); }();
    return heard + socket.readAll();
}

void TestHttpServer::answersRequestsOfOneConnectionInOrder()
{
    const QByteArray heard = talk("GET /slow?delay=200 HTTP/1.1\r\nHost: x\r\n\r\n"
                                  "POST /fast HTTP/1.1\r\nContent-Length: 5\r\n\r\nhello"
                                  "GET /last HTTP/1.1\r\nConnection: close\r\n\r\n");
    QCOMPARE(heard.count("HTTP/1.1 200 OK"), 3);
    QVERIFY(heard.indexOf("GET slow") < heard.indexOf("POST fast hello"));
    QVERIFY(heard.indexOf("POST fast hello") < heard.indexOf("GET last"));
}

void TestHttpServer::refusesWhatItCannotRead_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("status");
    QTest::newRow("no HTTP") << QByteArray("hello there\r\n\r\n") << QByteArray("400");
    QTest::newRow("header without colon") << QByteArray("GET / HTTP/1.1\r\nfoo\r\n\r\n") << QByteArray("400");
    QTest::newRow("endless head") << QByteArray("GET / HTTP/1.1\r\nA: " + QByteArray(70000, 'a'))
                                  << QByteArray("431");
    QTest::newRow("huge body") << QByteArray("PUT / HTTP/1.1\r\nContent-Length: 99999999999\r\n\r\n")
                               << QByteArray("413");
    QTest::newRow("negative body") << QByteArray("PUT / HTTP/1.1\r\nContent-Length: -5\r\n\r\n")
                                   << QByteArray("413");
    QTest::newRow("body in chunks") << QByteArray("PUT / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n")
                                    << QByteArray("411");
}

void TestHttpServer::refusesWhatItCannotRead()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, status);
    QVERIFY(talk(bytes).startsWith("HTTP/1.1 " + status));
}

void TestHttpServer::headHasNoBody()
{
    const QByteArray heard = talk("HEAD /stream HTTP/1.1\r\nConnection: close\r\n\r\n");
    QVERIFY(heard.contains("Content-Length: 2000000\r\n"));
    QVERIFY(heard.endsWith("\r\n\r\n"));
}

void TestHttpServer::streamsBodies()
{
    const QByteArray whole = talk("GET /stream HTTP/1.1\r\nConnection: close\r\n\r\n");
    QCOMPARE(whole.count('x'), 2000000);
    const QByteArray chunks = talk("GET /chunks HTTP/1.1\r\nConnection: close\r\n\r\n");
    QCOMPARE(chunks.count('x'), 2000000);
    QCOMPARE(chunks.count("\r\n186a0\r\n"), 20);
    QVERIFY(chunks.endsWith("\r\n0\r\n\r\n"));
}

void TestHttpServer::cutsBodies()
{
    QCOMPARE(talk("GET /stream?cut=150001 HTTP/1.1\r\n\r\n").count('x'), 150001);
    const QByteArray chunks = talk("GET /chunks?cut=150001 HTTP/1.1\r\n\r\n");
    QCOMPARE(chunks.count('x'), 150001);
    QVERIFY(!chunks.endsWith("0\r\n\r\n"));
    QVERIFY(talk("GET /some?cut=3 HTTP/1.1\r\n\r\n").endsWith("\r\n\r\nGET"));
}

void TestHttpServer::routes_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("literal") << QByteArray("GET") << QByteArray("/a/list") << 200 << QByteArray("list");
    QTest::newRow("argument") << QByteArray("GET") << QByteArray("/a/7/file") << 200 << QByteArray("7");
    QTest::newRow("encoded slash") << QByteArray("GET") << QByteArray("/a/x%2Fy/file") << 200
                                   << QByteArray("x/y");
    QTest::newRow("HEAD counts as GET")
        << QByteArray("HEAD") << QByteArray("/a/7/file") << 200 << QByteArray("7");
    QTest::newRow("other method") << QByteArray("POST") << QByteArray("/a/7/file") << 405 << QByteArray();
    QTest::newRow("unknown") << QByteArray("GET") << QByteArray("/a/7/file/more") << 404 << QByteArray();
    QTest::newRow("guarded") << QByteArray("GET") << QByteArray("/guarded") << 401 << QByteArray();
}

void TestHttpServer::routes()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, target);
    Router router;
    const auto say = [](const QString &text) {
        HttpResponse response;
        response.body = text.toUtf8();
        return response;
    };
    router.setGuard([](const QByteArray &) -> const Account * { return nullptr; });
    router.addOpen("GET", "/a/list", [&](const Call &) { return say("list"); });
    router.addOpen("GET", "/a/{id}/file", [&](const Call &call) { return say(call.args.first()); });
    router.add("GET", "/guarded", [&](const Call &) { return say("secret"); });

    const HttpResponse response = router.handle(*HttpRequest::parseHead(method + ' ' + target + " HTTP/1.1"));
    QTEST(response.status, "status");
    if (response.status == 200)
        QTEST(response.body, "body");
}

QTEST_GUILESS_MAIN(TestHttpServer)
#include "tst_HttpServer.moc"
