#include "live/StreamSwitchMachine.h"

#include <QTest>

#include <functional>
#include <memory>

namespace {

// On the way to a picture, and from there to the other stream behind it.
const QString playing = "camera both > loading, url sub | sub S > load 0 S | frame 0 > front 0, playing";
const QString upgrading = playing + " | want main > url main | main M > load 1 M";

} // namespace

class StreamSwitchMachineTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_machine = std::make_unique<StreamSwitchMachine>();
        const auto note = [this](const QString &text) { m_told << text; };
        connect(m_machine.get(), &StreamSwitchMachine::urlRequested, this,
            [note](const QString &role) { note("url " + role); });
        connect(m_machine.get(), &StreamSwitchMachine::loadRequested, this,
            [note](int slot, const QString &url) { note(QString("load %1 %2").arg(slot).arg(url)); });
        connect(m_machine.get(), &StreamSwitchMachine::stopRequested, this,
            [note](int slot) { note(QString("stop %1").arg(slot)); });
        connect(m_machine.get(), &StreamSwitchMachine::frontSlotChanged, this,
            [note](int slot) { note(QString("front %1").arg(slot)); });
        connect(m_machine.get(), &StreamSwitchMachine::displayStateChanged, this, note);
    }

    // What is done and, behind each ">", what the machine says to it.
    void conversations_data()
    {
        QTest::addColumn<QString>("lines");
        const auto row = [](const char *name, const QString &lines) { QTest::newRow(name) << lines; };
        row("the cheap stream comes first",
            "want main > idle | camera both > loading, url sub | sub S > load 0 S"
            " | frame 0 > front 0, playing, url main");
        row("a camera with one stream",
            "want main > idle | camera main > loading, url main | main M > load 0 M"
            " | frame 0 > front 0, playing");
        row("switches behind the picture",
            playing
                + " | want main > url main | want sub > | want main > | main M > load 1 M"
                  " | frame 1 > front 1, stop 0 | want sub > load 0 S | frame 0 > front 0, stop 1");
        row("a switch that is no longer wanted", upgrading + " | want sub > stop 1 | frame 1 > | error 1 >");
        for (const QString failure : {"error 1", "no main"}) {
            const QString failing = " | %1 > stop 1 | sub S2 > | retry > load 1 M | %1 > stop 1 | want sub >";
            row(qPrintable("the picture stays after " + failure),
                upgrading + failing.arg(failure) + " | want main > load 1 M | frame 1 > front 1, stop 0");
        }
        row("failures without a picture",
            "camera both > loading, url sub | no main > | no sub > error | retry > loading, url sub"
            " | sub S > load 0 S | error 0 > stop 0, error | retry > loading, load 0 S"
            " | frame 0 > front 0, playing");
        row("the picture fails during a switch", upgrading + " | error 0 > stop 0, stop 1, error");
        row("stray reports",
            playing
                + " | frame -1 > | frame 0 > | frame 1 > | frame 2 > | error -1 > | error 1 > | error 2 >"
                  " | third T > | main > | retry >");
        row("suspended",
            upgrading
                + " | suspend > stop 0, stop 1, idle | sub S2 > | want sub > | resume > loading, load 0 S2");
        row("other cameras",
            playing
                + " | camera both > | camera main > stop 0, loading, url main | other > url main"
                  " | none > idle | main M >");
    }

    void conversations()
    {
        QFETCH(QString, lines);
        for (const QString &line : lines.split(" | ")) {
            const QString action = line.section('>', 0, 0).trimmed();
            act(action.section(' ', 0, 0), action.section(' ', 1));
            QCOMPARE(QString(action + " > " + std::exchange(m_told, {}).join(", ")).trimmed(), line);
        }
    }

private:
    void act(const QString &verb, const QString &argument)
    {
        const QHash<QString, std::function<void()>> verbs{
            {"camera", [&] { m_machine->setCamera("cam", argument == "both"); }},
            {"other", [&] { m_machine->setCamera("other", false); }},
            {"none", [&] { m_machine->setCamera({}, false); }},
            {"want", [&] { m_machine->setPreferMain(argument == "main"); }},
            {"no", [&] { m_machine->urlFailed(argument); }},
            {"frame", [&] { m_machine->onFirstFrame(argument.toInt()); }},
            {"error", [&] { m_machine->onPlayerError(argument.toInt()); }},
            {"retry", [&] { m_machine->retry(); }},
            {"suspend", [&] { m_machine->setSuspended(true); }},
            {"resume", [&] { m_machine->setSuspended(false); }},
        };
        // Anything else is the role of a stream, whose address has come.
        verbs.value(verb, [&] { m_machine->provideUrl(verb, argument); })();
    }

    std::unique_ptr<StreamSwitchMachine> m_machine;
    QStringList m_told;
};

QTEST_GUILESS_MAIN(StreamSwitchMachineTest)
#include "tst_StreamSwitchMachine.moc"
