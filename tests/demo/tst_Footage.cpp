#include "Decoder.h"
#include "footage/Footage.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace demo;

/// Pictures put together from ready slices, as a real decoder sees them.
class FootageTest : public QObject
{
    Q_OBJECT

private slots:
    void everyPictureShowsItsInstant_data()
    {
        QTest::addColumn<bool>("isMain");
        QTest::addColumn<int>("camera");
        QTest::addColumn<qint64>("second");
        QTest::addColumn<int>("seconds");
        QTest::newRow("main") << true << 1 << qint64(1763708003) << 3;
        QTest::newRow("sub, beyond the scene's loop") << false << 1 << qint64(1763708003) << 12;
        QTest::newRow("same scene, shifted, all code bits change")
            << false << 17 << qint64(0x6fffffff - 1) << 3;
        QTest::newRow("the last theme over a new day") << false << 7 << qint64(1763769598) << 3;
    }

    void everyPictureShowsItsInstant()
    {
        QFETCH(bool, isMain);
        QFETCH(int, camera);
        QFETCH(qint64, second);
        const VideoFormat format = isMain ? VideoFormat::main() : VideoFormat::sub();
        QFETCH(int, seconds);
        const Decoded decoded
            = Decoder::decodeUnits(stream({camera, "Gate"}, format, second, seconds), format.size);

        QCOMPARE(decoded.complaints, QByteArray());
        QList<FrameInstant> expected;
        for (int i = 0; i < seconds * FrameInstant::framesPerSecond; ++i)
            expected.append({second + i / FrameInstant::framesPerSecond, i % FrameInstant::framesPerSecond});
        QCOMPARE(decoded.instants(), expected);
    }

    void slicesDoNotLeakIntoEachOther()
    {
        for (const VideoFormat &format : {VideoFormat::main(), VideoFormat::sub()}) {
            const Footage::Look look{3, "Parking south"};
            const qint64 second = 1763708000;
            const Decoded early = Decoder::decodeUnits(stream(look, format, second, 10), format.size);
            const Decoded late = Decoder::decodeUnits(stream(look, format, second + 11110, 10), format.size);
            QCOMPARE(early.frames.size(), 150);
            QCOMPARE(late.frames.size(), early.frames.size());

            const int band = format.bandHeight();
            const QRect below(0, band, format.size.width(), format.size.height() - band);
            const QRect name(0, band, format.size.width(), band);
            const int cellsEnd = 7 * format.size.width() / FrameCode::cells;
            const QRect steady(cellsEnd, 0, format.size.width() - cellsEnd, band);
            for (qsizetype i = 0; i < early.frames.size(); ++i) {
                const QImage &whole = early.frames[i - i % FrameInstant::framesPerSecond];
                QVERIFY2(early.frames[i].copy(below) == late.frames[i].copy(below),
                    qPrintable(QString::number(i)));
                QVERIFY2(early.frames[i].copy(name) == whole.copy(name), qPrintable(QString::number(i)));
                QVERIFY2(early.frames[i].copy(steady) == whole.copy(steady), qPrintable(QString::number(i)));
            }
            QVERIFY(early.frames[0].copy(steady) != late.frames[0].copy(steady));
            QVERIFY(early.frames[0].copy(below) != early.frames[7].copy(below));
        }
    }

    void damagedCacheIsMadeAnew()
    {
        QTemporaryDir cache;
        const FrameInstant instant{1763708000, 3};
        const QByteArray picture = Footage(cache.path()).picture({1, "Gate"}, VideoFormat::sub(), instant);
        const QStringList files = QDir(cache.path()).entryList(QDir::Files);
        QCOMPARE(files.size(), 1);
        QFile file(cache.filePath(files.first()));
        QVERIFY(file.resize(file.size() / 2));
        QCOMPARE(Footage(cache.path()).picture({1, "Gate"}, VideoFormat::sub(), instant), picture);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("no scene");
        file.close();
        QCOMPARE(Footage(cache.path()).picture({1, "Gate"}, VideoFormat::sub(), instant), picture);
    }

private:
    QByteArray stream(const Footage::Look &look, const VideoFormat &format, qint64 second, int seconds)
    {
        QByteArray units;
        for (int i = 0; i < seconds * FrameInstant::framesPerSecond; ++i) {
            const FrameInstant instant{
                second + i / FrameInstant::framesPerSecond, i % FrameInstant::framesPerSecond};
            if (instant.frame == 0)
                units += m_footage.headers(format).lengthPrefixed();
            units += m_footage.picture(look, format, instant);
        }
        return units;
    }

    QTemporaryDir m_cache;
    Footage m_footage{m_cache.path()};
};

// The same stretch of the loop at two times of day: below the time band every pixel must agree, and within a
// second nothing but the frame's cells may change in the band.
QTEST_MAIN(FootageTest)
#include "tst_Footage.moc"
