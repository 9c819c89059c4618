#include "http/HttpServer.h"

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
class HttpServerTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
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

    void cleanup() { m_server.reset(); }

    void answersRequestsOfOneConnectionInOrder()
    {
        const QByteArray heard = talk("GET /slow?delay=200 HTTP/1.1\r\nHost: x\r\n\r\n"
                                      "POST /fast HTTP/1.1\r\nContent-Length: 5\r\n\r\nhello"
                                      "GET /last HTTP/1.1\r\nConnection: close\r\n\r\n");
        QCOMPARE(heard.count("HTTP/1.1 200 OK"), 3);
        QVERIFY(heard.indexOf("GET slow") < heard.indexOf("POST fast hello"));
        QVERIFY(heard.indexOf("POST fast hello") < heard.indexOf("GET last"));
    }

    void refusesWhatItCannotRead()
    {
        const std::pair<QByteArray, QByteArray> refused[]{{"hello there\r\n\r\n", "400"},
            {"GET / HTTP/1.1\r\nfoo\r\n\r\n", "400"},
            {"GET / HTTP/1.1\r\nA: " + QByteArray(70000, 'a'), "431"},
            {"PUT / HTTP/1.1\r\nContent-Length: 99999999999\r\n\r\n", "413"},
            {"PUT / HTTP/1.1\r\nContent-Length: -5\r\n\r\n", "413"},
            {"PUT / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n", "411"}};
        for (const auto &[bytes, status] : refused)
            QCOMPARE(talk(bytes).left(12), "HTTP/1.1 " + status);
    }

    void streamsBodies()
    {
        const QByteArray whole = talk("GET /stream HTTP/1.1\r\nConnection: close\r\n\r\n");
        QCOMPARE(whole.count('x'), 2000000);
        const QByteArray chunks = talk("GET /chunks HTTP/1.1\r\nConnection: close\r\n\r\n");
        QCOMPARE(chunks.count('x'), 2000000);
        QCOMPARE(chunks.count("\r\n186a0\r\n"), 20);
        QVERIFY(chunks.endsWith("\r\n0\r\n\r\n"));
    }

    void cutsBodies()
    {
        QCOMPARE(talk("GET /stream?cut=150001 HTTP/1.1\r\n\r\n").count('x'), 150001);
        const QByteArray chunks = talk("GET /chunks?cut=150001 HTTP/1.1\r\n\r\n");
        QCOMPARE(chunks.count('x'), 150001);
        QVERIFY(!chunks.endsWith("0\r\n\r\n"));
        QVERIFY(talk("GET /some?cut=3 HTTP/1.1\r\n\r\n").endsWith("\r\n\r\nGET"));
    }

private:
    // Everything the server says to these bytes until it closes.
    QByteArray talk(const QByteArray &bytes)
    {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, m_server->port());
        socket.write(bytes);
        QByteArray heard;
        connect(&socket, &QTcpSocket::readyRead, &socket, [&] { heard += socket.readAll(); });
        [&] { QTRY_COMPARE(socket.state(), QAbstractSocket::UnconnectedState); }();
        return heard + socket.readAll();
    }

    std::unique_ptr<HttpServer> m_server;
};

QTEST_GUILESS_MAIN(HttpServerTest)
#include "tst_HttpServer.moc"
