#include "archive/SpanIndex.h"

#include <QRandomGenerator>
#include <QTest>

#include <limits>

using Spans = std::vector<SpanIndex::Span>;

class SpanIndexTest : public QObject
{
    Q_OBJECT

private slots:
    void normalises()
    {
        constexpr qint64 most = std::numeric_limits<qint64>::max();
        const std::pair<Spans, Spans> cases[]{{{{5, 5}, {9, 3}}, {}}, {{{10, 20}, {20, 30}}, {{10, 30}}},
            {{{-most, 0}, {10, most}}, {{-900'000'000'000'000, 0}, {10, 900'000'000'000'000}}}};
        for (const auto &[given, kept] : cases)
            QCOMPARE(SpanIndex(given).spans(), kept);
        const QVariantList maps{QVariantMap{{"start", 10}, {"end", 20.0}}, "text", QVariant(), 7,
            QVariantMap{{"start", "x"}}, QVariantMap{{"start", "30"}, {"end", 40}}};
        QCOMPARE(SpanIndex::fromVariantList(maps).spans(), (Spans{{10, 20}, {30, 40}}));
        const SpanIndex index(Spans{{0, 10}, {20, 30}});
        QVERIFY(index.runs(0, 100, -5).empty() && index.runs(100, 0, 10).empty());
        QVERIFY(!index.runs(-most, most, 100).empty());
    }

    void agreesWithCountingMilliseconds()
    {
        QRandomGenerator random(42);
        for (int round = 0; round < 50; ++round) {
            std::vector<char> recorded(2000, 0);
            Spans spans;
            for (int i = random.bounded(40); i > 0; --i) {
                const int start = random.bounded(2000);
                const int end = random.bounded(2000);
                spans.emplace_back(start, end);
                for (int ms = start; ms < end; ++ms)
                    recorded[ms] = 1;
            }
            const SpanIndex index(spans);
            for (int query = 0; query < 50; ++query) {
                const int from = random.bounded(2000);
                const int to = from + random.bounded(2000 - from);
                QCOMPARE(index.coveredMs(from, to),
                    qint64(std::count(recorded.begin() + from, recorded.begin() + to, 1)));
            }
        }
    }
};

QTEST_GUILESS_MAIN(SpanIndexTest)
#include "tst_SpanIndex.moc"
