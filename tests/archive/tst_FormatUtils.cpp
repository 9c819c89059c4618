#include "archive/FormatUtils.h"

#include <QDateTime>
#include <QTest>

#include <limits>

class FormatUtilsTest : public QObject
{
    Q_OBJECT

private slots:
    void sizesAndRates()
    {
        const FormatUtils texts;
        for (const auto &[value, text] : QList<std::pair<QVariant, QString>>{{0, "0 B"}, {1023, "1023 B"},
                 {1536, "1.5 KB"}, {15 * 1024, "15 KB"}, {3.5 * 1024 * 1024 * 1024, "3.5 GB"}, {{}, "—"}})
            QCOMPARE(texts.bytes(value), text);
        QCOMPARE(texts.rate(1536), "1.5 KB/s");
        QCOMPARE(texts.rate({}), "—");
        QCOMPARE(texts.bitrate(4'200'000), "4.2 Mbps");
        QCOMPARE(texts.bitrate(0), "0 Mbps");
    }

    void exportRange()
    {
        const qint64 start = QDateTime({2024, 5, 3}, {14, 5}).toMSecsSinceEpoch();
        const auto text = [](qint64 from, qint64 to) { return FormatUtils().exportRangeText(from, to); };
        QCOMPARE(text(start, start - 1), "");
        QCOMPARE(text(start, start + 59'500), "14:05:00 – 14:05:59  (1:00)");
        QCOMPARE(text(start, start + 3'605'000), "14:05:00 – 15:05:05  (60:05)");
        constexpr qint64 most = std::numeric_limits<qint64>::max();
        QVERIFY(!text(-most, most).isEmpty());
    }
};

QTEST_GUILESS_MAIN(FormatUtilsTest)
#include "tst_FormatUtils.moc"
