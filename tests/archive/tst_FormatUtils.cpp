#include "archive/FormatUtils.h"

#include <QDateTime>
#include <QTest>

#include <cmath>
#include <limits>

class FormatUtilsTest : public QObject
{
    Q_OBJECT

private slots:
    void numbers()
    {
        const FormatUtils format;
        const std::pair<QVariant, QString> sizes[]{{QVariant(), "—"}, {QVariant::fromValue(nullptr), "—"},
            {qQNaN(), "—"}, {0, "0 B"}, {1023, "1023 B"}, {1536, "1.5 KB"}, {15360, "15 KB"},
            {"1073741824", "1.0 GB"}, {std::pow(1024.0, 6) * 3, "3072 PB"}};
        for (const auto &[value, text] : sizes) {
            QCOMPARE(format.bytes(value), text);
            QCOMPARE(format.rate(value), text == "—" ? text : text + "/s");
        }
        QCOMPARE(format.bitrate(QVariant()), "0 Mbps");
        QCOMPARE(format.bitrate(4'240'000), "4.2 Mbps");
        QCOMPARE(format.bitrate(40'000.0), "0.0 Mbps");
    }

    void exportRange()
    {
        const qint64 start = QDateTime({2024, 5, 3}, {14, 5}).toMSecsSinceEpoch();
        const auto text = [](qint64 from, qint64 to) { return FormatUtils().exportRangeText(from, to); };
        QCOMPARE(text(start, start), "");
        QCOMPARE(text(start, start - 1), "");
        QCOMPARE(text(start, start + 90'000), "14:05:00 – 14:06:30  (1:30)");
        QCOMPARE(text(start, start + 59'500), "14:05:00 – 14:05:59  (1:00)");
        QCOMPARE(text(start, start + 3'605'000), "14:05:00 – 15:05:05  (60:05)");
        constexpr qint64 most = std::numeric_limits<qint64>::max();
        QVERIFY(!text(-most, most).isEmpty());
    }
};

QTEST_GUILESS_MAIN(FormatUtilsTest)
#include "tst_FormatUtils.moc"
