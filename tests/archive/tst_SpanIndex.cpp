#include "archive/SpanIndex.h"

#include <QRandomGenerator>
#include <QTest>

using Spans = std::vector<SpanIndex::Span>;

class SpanIndexTest : public QObject
{
    Q_OBJECT

private slots:
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
