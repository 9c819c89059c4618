#include "Decoder.h"
#include "RecorderFixture.h"

#include <QProcess>
#include <QtTest>

using namespace demo;

/// Live streams as an ordinary RTSP client sees them.
class TestStreams : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void showsEveryPictureOfThePresent_data();
    void showsEveryPictureOfThePresent();
    void needsUserAndPassword();
    void offlineCutsAndRefusesViewers();
    void hangKeepsTheConnectionAndGoesOn();
    void renamedCameraShowsItsName();
    void servesSixteenViewersCheaply();

private:
    QStringList open(const QString &url, double seconds) const;
    std::unique_ptr<QProcess> watch(const QString &url) const;

    RecorderFixture m_recorder{16};
};

void TestStreams::initTestCase()
{
    m_recorder.signIn();
}

void TestStreams::cleanup()
{
    m_recorder.post("/demo/cameras/cam-001/fault", {{"kind", "none"}});
    QTRY_COMPARE(m_recorder.streamCount("cam-001/sub", "playing"), 0);
}

QStringList TestStreams::open(const QString &url, double seconds) const
{
    return {"-rtsp_transport", "tcp", "-t", QString::number(seconds), "-i", url};
}

/// A viewer that plays until it is cut and reports each packet on its standard output.
std::unique_ptr<QProcess> TestStreams::watch(const QString &url) const
{
    auto viewer = std::make_unique<QProcess>();
    viewer->start("ffmpeg",
        {"-nostdin", "-v", "error", "-rtsp_transport", "tcp", "-i", url, "-c", "copy", "-f", "framecrc",
            "-flush_packets", "1", "-"});
    return viewer;
}

void TestStreams::showsEveryPictureOfThePresent_data()
{
    QTest::addColumn<QString>("role");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QString>("transport");
    QTest::newRow("main") << "main" << QSize(1280, 720) << "tcp";
    QTest::newRow("sub") << "sub" << QSize(640, 360) << "tcp";
    QTest::newRow("sub over UDP") << "sub" << QSize(640, 360) << "udp";
}

void TestStreams::showsEveryPictureOfThePresent()
{
    QFETCH(QString, role);
    QFETCH(QSize, size);
    QFETCH(QString, transport);
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    const Decoded decoded = Decoder::decode(
        {"-rtsp_transport", transport, "-t", "3", "-i", m_recorder.streamUrl("cam-002", role)}, size);
    const qint64 after = QDateTime::currentMSecsSinceEpoch();

    QCOMPARE(decoded.complaints, QByteArray());
    const QList<FrameInstant> instants = decoded.instants();
    QVERIFY2(instants.size() >= 40, qPrintable(QString::number(instants.size())));
    QCOMPARE(instants.first().frame, 0);
    QVERIFY(instants.first().toMs() > before - 1000 && instants.last().toMs() < after + 200);
    for (qsizetype i = 1; i < instants.size(); ++i) {
        const bool isNext = instants[i].frame == 0
            ? instants[i] == FrameInstant{instants[i - 1].second + 1, 0}
            : instants[i] == FrameInstant{instants[i - 1].second, instants[i - 1].frame + 1};
        QVERIFY2(isNext, qPrintable(QString("picture %1").arg(i)));
    }
    const QString stream = "cam-002/" + role;
    QVERIFY(m_recorder.streamCount(stream, "played") >= 1);
    QTRY_COMPARE(m_recorder.streamCount(stream, "playing"), 0);
}

void TestStreams::needsUserAndPassword()
{
    const QUrl right(m_recorder.streamUrl("cam-003", "sub"));
    for (const char *password : {"", "wrong"}) {
        QUrl url = right;
        url.setPassword(password);
        const Decoded decoded = Decoder::decode(open(url.toString(), 1), QSize(640, 360));
        QVERIFY(decoded.frames.isEmpty());
        QVERIFY(decoded.complaints.contains("401"));
    }
    QCOMPARE(m_recorder.streamCount("cam-003/sub", "played"), 0);
}

void TestStreams::offlineCutsAndRefusesViewers()
{
    const QString url = m_recorder.streamUrl("cam-001", "sub");
    const auto viewer = watch(url);
    const auto other = watch(m_recorder.streamUrl("cam-002", "sub"));
    QTRY_COMPARE(m_recorder.streamCount("cam-001/sub", "playing"), 1);
    QTRY_COMPARE(m_recorder.streamCount("cam-002/sub", "playing"), 1);

    m_recorder.post("/demo/cameras/cam-001/fault", {{"kind", "offline"}});
    QTRY_COMPARE(viewer->state(), QProcess::NotRunning);
    QCOMPARE(other->state(), QProcess::Running);
    QVERIFY(Decoder::decode(open(url, 1), QSize(640, 360)).complaints.contains("404"));

    m_recorder.post("/demo/cameras/cam-001/fault", {{"kind", "none"}});
    QVERIFY(!Decoder::decode(open(url, 1), QSize(640, 360)).frames.isEmpty());
    QCOMPARE(m_recorder.streamCount("cam-002/sub", "playing"), 1);
    m_recorder.ask("DELETE", "/demo/rtsp");
    QTRY_COMPARE(other->state(), QProcess::NotRunning);
}

void TestStreams::hangKeepsTheConnectionAndGoesOn()
{
    const auto viewer = watch(m_recorder.streamUrl("cam-001", "sub"));
    QTRY_VERIFY(viewer->bytesAvailable() > 2000);
    m_recorder.post("/demo/cameras/cam-001/fault", {{"kind", "hang"}});
    QTest::qWait(500);
    viewer->readAllStandardOutput();
    QTest::qWait(1000);
    QCOMPARE(viewer->readAllStandardOutput(), QByteArray());
    QCOMPARE(m_recorder.streamCount("cam-001/sub", "playing"), 1);
    QCOMPARE(viewer->state(), QProcess::Running);

    m_recorder.post("/demo/cameras/cam-001/fault", {{"kind", "none"}});
    QTRY_VERIFY(viewer->bytesAvailable() > 500);
    viewer->kill();
    viewer->waitForFinished();
}

void TestStreams::renamedCameraShowsItsName()
{
    const auto nameOf = [this] {
        const QImage frame
            = Decoder::decode(open(m_recorder.streamUrl("cam-004", "sub"), 0.5), QSize(640, 360))
                  .frames.value(0);
        return frame.copy(0, 48, 640, 48);
    };
    const QImage before = nameOf();
    QVERIFY(!before.isNull());
    m_recorder.ask("PATCH", "/demo/cameras/cam-004", {{"name", "Somewhere else"}});
    QVERIFY(nameOf() != before);
}

void TestStreams::servesSixteenViewersCheaply()
{
    std::vector<std::unique_ptr<QProcess>> viewers;
    for (int i = 0; i < 16; ++i)
        viewers.push_back(
            watch(m_recorder.streamUrl(QString("cam-%1").arg(i % 7 + 1, 3, 10, QChar(u'0')), "sub")));
    for (const auto &viewer : viewers)
        QTRY_VERIFY_WITH_TIMEOUT(viewer->bytesAvailable() > 2000, 20000);

    const std::clock_t from = std::clock();
    QTest::qWait(4000);
    const double cores = double(std::clock() - from) / CLOCKS_PER_SEC / 4;
    for (const auto &viewer : viewers) {
        viewer->kill();
        viewer->waitForFinished();
    }
    qInfo("sixteen viewers cost %.3f of a core", cores);
    QVERIFY(cores < 0.5);
}

QTEST_MAIN(TestStreams)
#include "tst_Streams.moc"
