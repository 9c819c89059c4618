#include "archive/ClockFollower.h"

#include <QTest>

#include <cmath>

class ClockFollowerTest : public QObject
{
    Q_OBJECT

private slots:
    void rates_data();
    void rates();
    void catchesUp_data();
    void catchesUp();
    void plainRateWithoutClock();
};

void ClockFollowerTest::rates_data()
{
    QTest::addColumn<qint64>("behind");
    QTest::addColumn<double>("factor");
    QTest::newRow("in step") << qint64(0) << 1.0;
    QTest::newRow("tolerated") << qint64(-40) << 1.0;
    QTest::newRow("behind") << qint64(300) << 1.5;
    QTest::newRow("ahead") << qint64(-150) << 0.75;
    QTest::newRow("far behind") << qint64(50'000) << 3.0;
    QTest::newRow("far ahead") << qint64(-50'000) << 0.5;
}

void ClockFollowerTest::rates()
{
    QFETCH(qint64, behind);
    QFETCH(double, factor);
    for (const double rate : {0.5, 1.0, 2.0})
        QVERIFY(std::abs(ClockFollower::rateWhenBehind(behind, rate) - rate * factor) < 1e-9);
    QVERIFY(ClockFollower::rateWhenBehind(behind, 4.0) <= 8.0);
}

void ClockFollowerTest::catchesUp_data()
{
    QTest::addColumn<double>("rate");
    QTest::addColumn<double>("behind");
    for (const double rate : {0.5, 1.0, 4.0}) {
        for (const double behind : {-1500.0, 400.0, 2000.0})
            QTest::addRow("%.1fx, %.0f ms behind", rate, behind) << rate << behind;
    }
}

// Plays 25 frames a second against a clock that never stops.
void ClockFollowerTest::catchesUp()
{
    QFETCH(double, rate);
    QFETCH(double, behind);
    constexpr double frameMs = 40;
    double clock = 100'000;
    double shown = clock - behind;
    double last = std::abs(behind);
    for (double wall = 0; wall < 8000 / rate; wall += frameMs) {
        shown += frameMs * ClockFollower::rateWhenBehind(std::lround(clock - shown), rate);
        clock += frameMs * rate;
        const double now = std::abs(clock - shown);
        QVERIFY2(now <= std::max(last, 250.0), "it moves away from the clock");
        last = now;
    }
    QVERIFY2(last < 150, qPrintable(QString::number(last)));
}

void ClockFollowerTest::plainRateWithoutClock()
{
    ClockFollower follower;
    constexpr qint64 end = 100'000;
    QCOMPARE(follower.rateFor(0, end, 2.0), 2.0);
    follower.setClock(5000);
    QVERIFY(follower.rateFor(0, end, 2.0) > 2.0);
    QVERIFY(follower.rateFor(90'000, end, 2.0) < 2.0);
    QVERIFY(follower.rateFor(5000, 6000, 2.0) > follower.rateFor(5000, end, 2.0));
    follower.reset();
    QCOMPARE(follower.rateFor(0, end, 2.0), 2.0);
    follower.setClock(5000);
    QTRY_COMPARE(follower.rateFor(0, end, 2.0), 2.0);
}

QTEST_GUILESS_MAIN(ClockFollowerTest)
#include "tst_ClockFollower.moc"
