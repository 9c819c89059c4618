#include "archive/FormatUtils.h"

#include <QDateTime>
#include <QTest>

#include <limits>

class FormatUtilsTest : public QObject
{
    Q_OBJECT

private slots:
    void sizes_data();
    void sizes();
    void bitrates_data();
    void bitrates();
    void exportRange_data();
    void exportRange();
};

void FormatUtilsTest::sizes_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");

    QTest::newRow("invalid") << QVariant() << "—";
    QTest::newRow("null") << QVariant::fromValue(nullptr) << "—";
    QTest::newRow("not a number") << QVariant(std::numeric_limits<double>::quiet_NaN()) << "—";
    QTest::newRow("zero") << QVariant(0) << "0 B";
    QTest::newRow("bytes") << QVariant(900) << "900 B";
    QTest::newRow("below one unit") << QVariant(1023) << "1023 B";
    QTest::newRow("one decimal below ten") << QVariant(1536) << "1.5 KB";
    QTest::newRow("none from ten") << QVariant(15360) << "15 KB";
    QTest::newRow("number as text") << QVariant("1073741824") << "1.0 GB";
    QTest::newRow("beyond the last unit") << QVariant(std::pow(1024.0, 6) * 3) << "3072 PB";
}

void FormatUtilsTest::sizes()
{
    QFETCH(QVariant, value);
    QFETCH(QString, text);
    const FormatUtils format;
    QCOMPARE(format.bytes(value), text);
    QCOMPARE(format.rate(value), text == "—" ? text : text + "/s");
}

void FormatUtilsTest::bitrates_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");

    QTest::newRow("zero") << QVariant(0) << "0 Mbps";
    QTest::newRow("invalid") << QVariant() << "0 Mbps";
    QTest::newRow("one decimal") << QVariant(4'240'000) << "4.2 Mbps";
    QTest::newRow("small") << QVariant(40'000.0) << "0.0 Mbps";
}

void FormatUtilsTest::bitrates()
{
    QFETCH(QVariant, value);
    QFETCH(QString, text);
    QCOMPARE(FormatUtils().bitrate(value), text);
}

void FormatUtilsTest::exportRange_data()
{
    QTest::addColumn<qint64>("start");
    QTest::addColumn<qint64>("end");
    QTest::addColumn<QString>("text");

    const qint64 start = QDateTime({2024, 5, 3}, {14, 5}).toMSecsSinceEpoch();
    QTest::newRow("empty") << start << start << "";
    QTest::newRow("reversed") << start << start - 1 << "";
    QTest::newRow("ninety seconds") << start << start + 90'000 << "14:05:00 – 14:06:30  (1:30)";
    QTest::newRow("rounded up") << start << start + 59'500 << "14:05:00 – 14:05:59  (1:00)";
    QTest::newRow("over an hour") << start << start + 3'605'000 << "14:05:00 – 15:05:05  (60:05)";
}

void FormatUtilsTest::exportRange()
{
    QFETCH(qint64, start);
    QFETCH(qint64, end);
    QFETCH(QString, text);
    QCOMPARE(FormatUtils().exportRangeText(start, end), text);
    QVERIFY(!FormatUtils()
                 .exportRangeText(std::numeric_limits<qint64>::min(), std::numeric_limits<qint64>::max())
                 .isEmpty());
}

QTEST_GUILESS_MAIN(FormatUtilsTest)
#include "tst_FormatUtils.moc"
