#include "archive/ClockFollower.h"

#include <QTest>

#include <cmath>

class ClockFollowerTest : public QObject
{
    Q_OBJECT

private slots:
    // Plays 25 frames a second against a clock that never stops.
    void catchesUp()
    {
        for (const double rate : {0.5, 1.0, 4.0}) {
            for (const double behind : {-1500.0, 400.0, 2000.0}) {
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
        }
    }

    void plainRateWithoutClock()
    {
        ClockFollower follower;
        constexpr qint64 end = 100'000;
        QCOMPARE(follower.rateFor(0, end, 2.0), 2.0);
        QCOMPARE(ClockFollower::rateWhenBehind(-40, 2.0), 2.0);
        QCOMPARE(ClockFollower::rateWhenBehind(70, 4.0), 4.0);
        QVERIFY(ClockFollower::rateWhenBehind(-70, 2.0) < 2.0);
        QVERIFY(ClockFollower::rateWhenBehind(50'000, 4.0) <= 8.0);
        follower.setClock(5000);
        QVERIFY(follower.rateFor(0, end, 2.0) > 2.0);
        QVERIFY(follower.rateFor(90'000, end, 2.0) < 2.0);
        QVERIFY(follower.rateFor(5000, 6000, 2.0) > follower.rateFor(5000, end, 2.0));
        follower.reset();
        QCOMPARE(follower.rateFor(0, end, 2.0), 2.0);
        follower.setClock(5000);
        QTRY_COMPARE(follower.rateFor(0, end, 2.0), 2.0);
    }
};

QTEST_GUILESS_MAIN(ClockFollowerTest)
#include "tst_ClockFollower.moc"
