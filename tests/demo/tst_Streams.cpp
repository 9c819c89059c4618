#include "Decoder.h"
#include "RecorderFixture.h"
#include "footage/Footage.h"

#include <QProcess>
#include <QtTest>

using namespace demo;

/// Live streams as an ordinary RTSP client sees them.
class StreamsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_recorder.signIn(); }

    void showsEveryPictureOfThePresent_data()
    {
        QTest::addColumn<QString>("role");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QString>("transport");
        QTest::newRow("main") << "main" << QSize(1280, 720) << "tcp";
        QTest::newRow("sub over UDP") << "sub" << QSize(640, 360) << "udp";
    }

    void showsEveryPictureOfThePresent()
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

    void needsUserAndPassword()
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

    void damagedCacheIsMadeAnew()
    {
        const QTemporaryDir cache;
        const auto picture = [&cache] {
            return Footage(cache.path()).picture({1, "Gate"}, VideoFormat::sub(), {1763708000, 3});
        };
        const QByteArray made = picture();
        QFile file(cache.filePath(QDir(cache.path()).entryList(QDir::Files).value(0)));
        QVERIFY(file.resize(file.size() / 2));
        QCOMPARE(picture(), made);
        QVERIFY(file.resize(0));
        QCOMPARE(picture(), made);
    }

    void servesSixteenViewersCheaply()
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

private:
    QStringList open(const QString &url, double seconds) const
    {
        return {"-rtsp_transport", "tcp", "-t", QString::number(seconds), "-i", url};
    }

    // A viewer that plays until it is cut and reports each packet on its standard output.
    std::unique_ptr<QProcess> watch(const QString &url) const
    {
        auto viewer = std::make_unique<QProcess>();
        viewer->start("ffmpeg",
            {"-nostdin", "-v", "error", "-rtsp_transport", "tcp", "-i", url, "-c", "copy", "-f", "framecrc",
                "-flush_packets", "1", "-"});
        return viewer;
    }

    RecorderFixture m_recorder{16};
};

QTEST_MAIN(StreamsTest)
#include "tst_Streams.moc"
