#include "archive/SpanIndex.h"

#include <QRandomGenerator>
#include <QTest>

#include <limits>

using Spans = std::vector<SpanIndex::Span>;
Q_DECLARE_METATYPE(SpanIndex::Span)

class SpanIndexTest : public QObject
{
    Q_OBJECT

private slots:
    void normalises_data();
    void normalises();
    void readsMaps();
    void runs_data();
    void runs();
    void agreesWithCountingMilliseconds();
    void hostileViews();
};

void SpanIndexTest::normalises_data()
{
    QTest::addColumn<Spans>("given");
    QTest::addColumn<Spans>("kept");
    constexpr qint64 most = std::numeric_limits<qint64>::max();

    QTest::newRow("none") << Spans{} << Spans{};
    QTest::newRow("empty and reversed") << Spans{{5, 5}, {9, 3}} << Spans{};
    QTest::newRow("out of order") << Spans{{50, 60}, {10, 20}} << Spans{{10, 20}, {50, 60}};
    QTest::newRow("overlapping") << Spans{{10, 30}, {20, 40}} << Spans{{10, 40}};
    QTest::newRow("inside another") << Spans{{10, 100}, {20, 30}, {40, 50}} << Spans{{10, 100}};
    QTest::newRow("touching") << Spans{{10, 20}, {20, 30}} << Spans{{10, 30}};
    QTest::newRow("the same many times") << Spans(1000, {7, 8}) << Spans{{7, 8}};
    QTest::newRow("beyond all bounds")
        << Spans{{-most, 0}, {10, most}} << Spans{{-900'000'000'000'000, 0}, {10, 900'000'000'000'000}};
}

void SpanIndexTest::normalises()
{
    QFETCH(Spans, given);
    QFETCH(Spans, kept);
    QCOMPARE(SpanIndex(given).spans(), kept);
}

void SpanIndexTest::readsMaps()
{
    const QVariantList spans{QVariantMap{{"start", 10}, {"end", 20.0}}, "text", QVariant(), 7,
        QVariantList{1, 2}, QVariantMap{{"start", "x"}}, QVariantMap{{"start", "30"}, {"end", 40}}};
    QCOMPARE(SpanIndex::fromVariantList(spans).spans(), (Spans{{10, 20}, {30, 40}}));
}

void SpanIndexTest::runs_data()
{
    QTest::addColumn<Spans>("spans");
    QTest::addColumn<QString>("drawn");

    // Ten columns of 100 ms; a digit is the tenths of the column that are drawn as recorded.
    QTest::newRow("nothing") << Spans{} << "..........";
    QTest::newRow("outside") << Spans{{-500, 0}, {1000, 2000}} << "..........";
    QTest::newRow("everything") << Spans{{-500, 5000}} << "##########";
    QTest::newRow("half-open edges") << Spans{{200, 400}} << "..##......";
    QTest::newRow("partly filled edges") << Spans{{150, 425}} << ".5##3.....";
    QTest::newRow("one millisecond shows") << Spans{{555, 556}} << ".....0....";
    QTest::newRow("several in one column") << Spans{{300, 310}, {320, 330}, {340, 370}} << "...5......";
    QTest::newRow("a short gap") << Spans{{0, 445}, {455, 1000}} << "####9#####";
}

void SpanIndexTest::runs()
{
    QFETCH(Spans, spans);
    QFETCH(QString, drawn);

    QString line(10, '.');
    int next = 0;
    for (const SpanIndex::Run &run : SpanIndex(spans).runs(0, 1000, 10)) {
        QVERIFY(run.first >= next && run.first <= run.last);
        next = run.last + 1;
        QVERIFY(run.coverage > 0 && run.coverage <= 1);
        for (int column = run.first; column <= run.last; ++column)
            line[column] = run.coverage == 1 ? QChar('#') : QChar('0' + qRound(run.coverage * 10));
    }
    QCOMPARE(line, drawn);
}

void SpanIndexTest::agreesWithCountingMilliseconds()
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

void SpanIndexTest::hostileViews()
{
    const SpanIndex index(Spans{{0, 10}, {20, 30}});
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    QVERIFY(index.runs(0, 100, 0).empty());
    QVERIFY(index.runs(0, 100, -5).empty());
    QVERIFY(index.runs(100, 0, 10).empty());
    QVERIFY(index.runs(5, 5, 10).empty());
    QCOMPARE(index.coveredMs(30, 0), 0);
    QVERIFY(!index.runs(-most, most, 100).empty());
    QCOMPARE(index.runs(0, 40, 4000).size(), std::size_t(2));
}

QTEST_GUILESS_MAIN(SpanIndexTest)
#include "tst_SpanIndex.moc"
