#include "live/StreamSwitchMachine.h"

#include <QTest>

namespace {

// A machine whose outputs are kept in the order in which they came.
class Recorded : public StreamSwitchMachine
{
public:
    Recorded()
    {
        connect(this, &StreamSwitchMachine::urlRequested,
            [this](const QString &role) { m_trace << "url " + role; });
        connect(this, &StreamSwitchMachine::loadRequested,
            [this](int slot, const QString &url) { m_trace << QString("load %1 %2").arg(slot).arg(url); });
        connect(this, &StreamSwitchMachine::stopRequested,
            [this](int slot) { m_trace << QString("stop %1").arg(slot); });
        connect(this, &StreamSwitchMachine::frontSlotChanged,
            [this](int slot) { m_trace << QString("front %1").arg(slot); });
        connect(this, &StreamSwitchMachine::displayStateChanged,
            [this](const QString &state) { m_trace << state; });
    }

    QString taken() { return std::exchange(m_trace, {}).join(", "); }

    void playSub()
    {
        setCamera("cam", true);
        provideUrl("sub", "S");
        onFirstFrame(0);
        m_trace.clear();
    }

    void beginUpgrade()
    {
        playSub();
        setPreferMain(true);
        provideUrl("main", "M");
        m_trace.clear();
    }

private:
    QStringList m_trace;
};

} // namespace

class StreamSwitchMachineTest : public QObject
{
    Q_OBJECT

private slots:
    void startsOnTheCheapStream()
    {
        const auto trace = [](bool hasSub, bool preferMain, const QString &role) {
            Recorded machine;
            machine.setPreferMain(preferMain);
            machine.taken();
            machine.setCamera("cam", hasSub);
            machine.provideUrl(role, "U");
            machine.onFirstFrame(0);
            return machine.taken();
        };
        QCOMPARE(trace(true, false, "sub"), "loading, url sub, load 0 U, front 0, playing");
        QCOMPARE(trace(true, true, "sub"), "loading, url sub, load 0 U, front 0, playing, url main");
        QCOMPARE(trace(false, true, "main"), "loading, url main, load 0 U, front 0, playing");
    }

    void switchesBehindThePicture()
    {
        Recorded machine;
        machine.playSub();
        machine.setPreferMain(true);
        machine.setPreferMain(false);
        machine.setPreferMain(true);
        QCOMPARE(machine.taken(), "url main");
        machine.provideUrl("main", "M");
        QCOMPARE(machine.taken(), "load 1 M");
        machine.onFirstFrame(1);
        QCOMPARE(machine.taken(), "front 1, stop 0");
        machine.setPreferMain(false);
        machine.onFirstFrame(0);
        QCOMPARE(machine.taken(), "load 0 S, front 0, stop 1");

        // A switch that is no longer wanted is stopped.
        machine.setPreferMain(true);
        machine.setPreferMain(false);
        machine.onFirstFrame(1);
        machine.onPlayerError(1);
        QCOMPARE(machine.taken(), "load 1 M, stop 1");
        QCOMPARE(machine.frontSlot(), 0);
    }

    void failedSwitchKeepsThePicture_data()
    {
        QTest::addColumn<bool>("urlFails");
        QTest::newRow("player error") << false;
        QTest::newRow("url failure") << true;
    }

    void failedSwitchKeepsThePicture()
    {
        QFETCH(bool, urlFails);
        const auto fail = [&](Recorded &machine) {
            urlFails ? machine.urlFailed("main") : machine.onPlayerError(1);
            return machine.taken();
        };
        Recorded machine;
        machine.beginUpgrade();
        QCOMPARE(fail(machine), "stop 1");
        machine.provideUrl("sub", "S2");
        QCOMPARE(machine.taken(), "");
        QCOMPARE(machine.displayState(), "playing");

        machine.retry();
        QCOMPARE(machine.taken(), "load 1 M");
        QCOMPARE(fail(machine), "stop 1");
        machine.setPreferMain(false);
        machine.setPreferMain(true);
        QCOMPARE(machine.taken(), "load 1 M");
        machine.onFirstFrame(1);
        QCOMPARE(machine.taken(), "front 1, stop 0");
    }

    void failuresWithoutAPicture()
    {
        Recorded machine;
        machine.setCamera("cam", true);
        machine.urlFailed("main");
        QCOMPARE(machine.taken(), "loading, url sub");
        machine.urlFailed("sub");
        machine.retry();
        QCOMPARE(machine.taken(), "error, loading, url sub");
        machine.provideUrl("sub", "S");
        machine.onPlayerError(0);
        QCOMPARE(machine.taken(), "load 0 S, stop 0, error");
        machine.retry();
        machine.onFirstFrame(0);
        QCOMPARE(machine.taken(), "loading, load 0 S, front 0, playing");

        machine.setPreferMain(true);
        machine.provideUrl("main", "M");
        machine.taken();
        machine.onPlayerError(0);
        QCOMPARE(machine.taken(), "stop 0, stop 1, error");
        QCOMPARE(machine.frontSlot(), -1);
    }

    void strayReportsChangeNothing()
    {
        Recorded machine;
        machine.retry();
        machine.onFirstFrame(-1);
        machine.onPlayerError(-1);
        QCOMPARE(machine.taken(), "");
        machine.playSub();
        for (const int slot : {-1, 0, 1, 2})
            machine.onFirstFrame(slot);
        for (const int slot : {-1, 1, 2})
            machine.onPlayerError(slot);
        machine.provideUrl("third", "T");
        machine.provideUrl("main", "");
        machine.retry();
        QCOMPARE(machine.taken(), "");
    }

    void suspendingAndOtherCameras()
    {
        Recorded machine;
        machine.beginUpgrade();
        machine.setSuspended(true);
        QCOMPARE(machine.taken(), "stop 0, stop 1, idle");
        machine.provideUrl("sub", "S2");
        machine.setPreferMain(false);
        QCOMPARE(machine.taken(), "");
        machine.setSuspended(false);
        QCOMPARE(machine.taken(), "loading, load 0 S2");

        machine.setCamera("cam", true);
        QCOMPARE(machine.taken(), "");
        machine.setCamera("cam", false);
        QCOMPARE(machine.taken(), "stop 0, url main");
        machine.setCamera("other", false);
        QCOMPARE(machine.taken(), "url main");
        machine.setCamera({}, false);
        machine.provideUrl("main", "M");
        QCOMPARE(machine.taken(), "idle");
    }
};

QTEST_GUILESS_MAIN(StreamSwitchMachineTest)
#include "tst_StreamSwitchMachine.moc"
