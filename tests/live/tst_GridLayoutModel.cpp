#include "live/GridLayoutModel.h"

#include <QBitArray>
#include <QJSEngine>
#include <QSignalSpy>
#include <QTest>

class GridLayoutModelTest : public QObject
{
    Q_OBJECT

private slots:
    void presets_data();
    void presets();
    void cellsCoverTheGridOnce_data();
    void cellsCoverTheGridOnce();
    void firstVisitCompacts_data();
    void firstVisitCompacts();
    void everyPresetKeepsItsArrangement();
    void assigning_data();
    void assigning();
    void maximizedSlotFollowsItsCamera();
    void changesAreAnnouncedOnceAndComplete();
    void restoreKeepsWhatIsValid_data();
    void restoreKeepsWhatIsValid();
    void pruneEmptiesUnknownCamerasEverywhere();
};

namespace {

const QStringList allPresets = {"1x1", "2x2", "3x3", "4x4", "5x5", "8x8", "1+5", "1+7", "2+8"};

QString shown(const GridLayoutModel &model)
{
    return model.slotCameras().join(',');
}

void fill(GridLayoutModel &model, const QString &cameras)
{
    model.restore({{"2x2", cameras.split(',')}}, "2x2");
}

} // namespace

void GridLayoutModelTest::presets_data()
{
    QTest::addColumn<int>("cells");
    QTest::addColumn<int>("cols");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("masters");
    QTest::newRow("1x1") << 1 << 1 << 1 << 0;
    QTest::newRow("8x8") << 64 << 8 << 8 << 0;
    QTest::newRow("1+5") << 6 << 3 << 3 << 1;
    QTest::newRow("1+7") << 8 << 4 << 3 << 1;
    QTest::newRow("2+8") << 10 << 4 << 4 << 2;
    QTest::newRow("9x9") << 0 << 0 << 0 << 0;
}

void GridLayoutModelTest::presets()
{
    QFETCH(int, masters);
    const QString preset = QTest::currentDataTag();
    GridLayoutModel model;
    QTEST(model.layoutCells(preset), "cells");
    QTEST(model.layoutCols(preset), "cols");
    QTEST(model.layoutRows(preset), "rows");
    int spanning = 0;
    for (const QVariant &cell : model.cellLayout(preset))
        spanning += cell.toMap()["rowSpan"] == 2 && cell.toMap()["colSpan"] == 2;
    QCOMPARE(spanning, masters);

    model.setCurrentLayout(preset);
    QCOMPARE(model.currentLayout(), model.layoutCells(preset) > 0 ? preset : "2x2");
    QCOMPARE(model.slotCameras().size(), model.cells());
    QCOMPARE(model.masterSlot(), masters > 0 ? 0 : -1);
}

void GridLayoutModelTest::cellsCoverTheGridOnce_data()
{
    QTest::addColumn<QString>("preset");
    for (const QString &preset : allPresets)
        QTest::addRow("%s", qPrintable(preset)) << preset;
}

void GridLayoutModelTest::cellsCoverTheGridOnce()
{
    QFETCH(QString, preset);
    const GridLayoutModel model;
    const int cols = model.layoutCols(preset);
    QBitArray covered(cols * model.layoutRows(preset));
    const QVariantList cells = model.cellLayout(preset);
    QCOMPARE(cells.size(), model.layoutCells(preset));
    for (const QVariant &entry : cells) {
        const QVariantMap cell = entry.toMap();
        for (int row = 0; row < cell["rowSpan"].toInt(); ++row) {
            for (int col = 0; col < cell["colSpan"].toInt(); ++col) {
                const int unit = (cell["row"].toInt() + row) * cols + cell["col"].toInt() + col;
                QVERIFY2(
                    unit < covered.size() && !covered.testBit(unit), "outside or on top of another cell");
                covered.setBit(unit);
            }
        }
    }
    QCOMPARE(covered.count(true), covered.size());
}

void GridLayoutModelTest::firstVisitCompacts_data()
{
    QTest::addColumn<QString>("left");
    QTest::addColumn<QString>("preset");
    QTest::addColumn<QString>("seeded");
    QTest::newRow("larger") << ",a,,b"
                            << "1+5"
                            << "a,b,,,,";
    QTest::newRow("smaller") << ",a,,b"
                             << "1x1"
                             << "a";
    QTest::newRow("empty") << ",,,"
                           << "1x1"
                           << "";
}

void GridLayoutModelTest::firstVisitCompacts()
{
    QFETCH(QString, left);
    QFETCH(QString, preset);
    GridLayoutModel model;
    fill(model, left);
    model.setCurrentLayout(preset);
    QTEST(shown(model), "seeded");
}

void GridLayoutModelTest::everyPresetKeepsItsArrangement()
{
    GridLayoutModel model;
    model.setCurrentLayout("3x3");
    model.setCurrentLayout("2x2");
    fill(model, "a,b,c,d");
    model.setCurrentLayout("3x3");
    QCOMPARE(shown(model), "a,b,c,d,,,,,");
    for (int slot = 0; slot < 4; ++slot)
        model.clearSlot(slot);
    model.setCurrentLayout("2x2");
    QCOMPARE(shown(model), "a,b,c,d");
    model.setCurrentLayout("3x3");
    QCOMPARE(shown(model), ",,,,,,,,");

    GridLayoutModel other;
    other.restore(model.layoutSlots(), model.currentLayout());
    QCOMPARE(other.layoutSlots(), model.layoutSlots());
    QCOMPARE(other.currentLayout(), "3x3");
}

void GridLayoutModelTest::assigning_data()
{
    using Action = std::function<void(GridLayoutModel &)>;
    QTest::addColumn<Action>("action");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *name, const Action &action, const QString &expected) {
        QTest::newRow(name) << action << expected;
    };
    row(
        "into an empty slot", [](auto &m) { m.assignSlot(1, "x"); }, "a,x,b,");
    row(
        "over a camera", [](auto &m) { m.assignSlot(0, "x"); }, "x,,b,");
    row(
        "placed elsewhere", [](auto &m) { m.assignSlot(3, "a"); }, ",,b,a");
    row(
        "exclusive over another", [](auto &m) { m.assignSlotExclusive(0, "b"); }, "b,,,");
    row(
        "same slot", [](auto &m) { m.assignSlotExclusive(0, "a"); }, "a,,b,");
    row(
        "no camera", [](auto &m) { m.assignSlotExclusive(0, ""); }, ",,b,");
    row(
        "out of range", [](auto &m) { m.assignSlot(4, "b"), m.assignSlotExclusive(-1, "b"); }, "a,,b,");
    row(
        "a longer id", [](auto &m) { m.assignSlot(1, "aa"), m.assignSlot(3, "a"); }, ",aa,b,a");
    row(
        "next free", [](auto &m) { QVERIFY(m.assignNextSlot("x")); }, "a,x,b,");
    row(
        "next free when placed", [](auto &m) { QVERIFY(m.assignNextSlot("b")); }, "a,,b,");
    row(
        "next free when full",
        [](auto &m) { QVERIFY(m.assignNextSlot("x") && m.assignNextSlot("y") && !m.assignNextSlot("z")); },
        "a,x,b,y");
    row(
        "next free without a camera", [](auto &m) { QVERIFY(!m.assignNextSlot("")); }, "a,,b,");
    row(
        "swap", [](auto &m) { m.swapSlots(0, 2); }, "b,,a,");
    row(
        "swap with an empty slot", [](auto &m) { m.swapSlots(2, 3); }, "a,,,b");
    row(
        "swap out of range", [](auto &m) { m.swapSlots(0, 4), m.swapSlots(-1, 0); }, "a,,b,");
    row(
        "clear out of range", [](auto &m) { m.clearSlot(4), m.clearSlot(-1); }, "a,,b,");
}

void GridLayoutModelTest::assigning()
{
    QFETCH(std::function<void(GridLayoutModel &)>, action);
    GridLayoutModel model;
    fill(model, "a,,b,");
    action(model);
    QTEST(shown(model), "expected");
    QCOMPARE(model.layoutSlots()["2x2"].toStringList(), model.slotCameras());
    QStringList active = model.slotCameras();
    active.removeAll("");
    QCOMPARE(model.activeCameras(), active);
    QCOMPARE(model.slotAt(0), model.slotCameras().first());
    QCOMPARE(model.slotAt(4), "");
}

void GridLayoutModelTest::maximizedSlotFollowsItsCamera()
{
    GridLayoutModel model;
    fill(model, "a,b,c,");
    const auto endsWith = [&](auto &&action) {
        model.setMaximizedSlot(1);
        action();
        return model.maximizedSlot();
    };
    QCOMPARE(endsWith([&] { model.setMaximizedSlot(4), model.setMaximizedSlot(-2); }), 1);
    QCOMPARE(endsWith([&] { model.clearSlot(0); }), 1);
    QCOMPARE(endsWith([&] { model.assignSlot(1, "x"); }), 1);
    QCOMPARE(endsWith([&] { fill(model, "a,b,c,"); }), 1);
    QCOMPARE(endsWith([&] { model.swapSlots(1, 3); }), -1);
    QCOMPARE(endsWith([&] { model.assignSlot(1, "b"), model.assignSlot(0, "b"); }), -1);
    QCOMPARE(endsWith([&] { model.assignSlot(1, "y"), model.clearSlot(1); }), -1);
    QCOMPARE(endsWith([&] { model.assignSlot(1, "y"), model.pruneMissing({"a"}); }), -1);
    QCOMPARE(endsWith([&] { model.setCurrentLayout("3x3"); }), -1);
}

void GridLayoutModelTest::changesAreAnnouncedOnceAndComplete()
{
    GridLayoutModel model;
    fill(model, "a,b,c,d");
    model.setMaximizedSlot(3);
    QStringList trace;
    const auto note = [&](const char *signal) {
        trace << QString("%1 %2 %3/%4 %5")
                     .arg(signal, model.currentLayout())
                     .arg(model.slotCameras().size())
                     .arg(model.cells())
                     .arg(model.maximizedSlot());
    };
    connect(&model, &GridLayoutModel::currentLayoutChanged, [&] { note("layout"); });
    connect(&model, &GridLayoutModel::slotCamerasChanged, [&] { note("slots"); });
    connect(&model, &GridLayoutModel::maximizedSlotChanged, [&] { note("maximized"); });
    connect(&model, &GridLayoutModel::layoutSlotsChanged, [&] { note("arrangements"); });
    const auto taken = [&] { return std::exchange(trace, {}); };

    model.setCurrentLayout("1x1");
    QCOMPARE(taken(),
        QStringList(
            {"layout 1x1 1/1 -1", "slots 1x1 1/1 -1", "maximized 1x1 1/1 -1", "arrangements 1x1 1/1 -1"}));
    model.setCurrentLayout("2x2");
    QCOMPARE(taken(), QStringList({"layout 2x2 4/4 -1", "slots 2x2 4/4 -1"}));
    model.swapSlots(0, 1);
    QCOMPARE(taken(), QStringList({"slots 2x2 4/4 -1", "arrangements 2x2 4/4 -1"}));
    model.setCurrentLayout("2x2");
    model.setCurrentLayout("nonsense");
    model.swapSlots(2, 2);
    model.assignSlot(0, "b");
    model.pruneMissing({"a", "b", "c", "d"});
    model.restore(model.layoutSlots(), "2x2");
    QCOMPARE(taken(), QStringList());
}

void GridLayoutModelTest::restoreKeepsWhatIsValid_data()
{
    QTest::addColumn<QString>("saved");
    QTest::addColumn<QString>("layout");
    QTest::addColumn<QString>("expected");
    QTest::newRow("as saved") << "{'2x2': ['a', '', 'b', '']}"
                              << "2x2"
                              << "2x2: a,,b,";
    QTest::newRow("another preset") << "{'1x1': ['a'], '2x2': ['b']}"
                                    << "1x1"
                                    << "1x1: a";
    QTest::newRow("unknown layout") << "{'2x2': ['a', 'b', 'c', 'd']}"
                                    << "6x6"
                                    << "2x2: a,b,c,d";
    QTest::newRow("unknown preset") << "{'6x6': ['a']}"
                                    << "2x2"
                                    << "2x2: ,,,";
    QTest::newRow("no arrangement for the layout") << "{'2x2': ['a']}"
                                                   << "1x1"
                                                   << "1x1: ";
    QTest::newRow("too short") << "{'2x2': ['a']}"
                               << "2x2"
                               << "2x2: a,,,";
    QTest::newRow("too long") << "{'2x2': ['a', 'b', 'c', 'd', 'e']}"
                              << "2x2"
                              << "2x2: a,b,c,d";
    QTest::newRow("duplicates") << "{'2x2': ['a', 'b', 'a', 'b']}"
                                << "2x2"
                                << "2x2: a,b,,";
    QTest::newRow("wrong entries") << "{'2x2': [1, null, ['a'], 'b']}"
                                   << "2x2"
                                   << "2x2: ,,,b";
    QTest::newRow("not lists") << "{'2x2': 'abcd', '1x1': {'0': 'a'}}"
                               << "2x2"
                               << "2x2: ,,,";
    QTest::newRow("nothing") << "{}"
                             << ""
                             << "2x2: ,,,";
}

void GridLayoutModelTest::restoreKeepsWhatIsValid()
{
    QFETCH(QString, saved);
    QFETCH(QString, layout);
    GridLayoutModel model;
    fill(model, "x,y,z,");
    QJSEngine engine;
    engine.globalObject().setProperty("model", engine.newQObject(&model));
    QJSEngine::setObjectOwnership(&model, QJSEngine::CppOwnership);
    const QJSValue result = engine.evaluate(QString("model.restore(%1, '%2')").arg(saved, layout));
    QVERIFY2(!result.isError(), qPrintable(result.toString()));
    QTEST(model.currentLayout() + ": " + shown(model), "expected");
}

void GridLayoutModelTest::pruneEmptiesUnknownCamerasEverywhere()
{
    GridLayoutModel model;
    model.restore({{"2x2", QStringList{"a", "b", "c", ""}}, {"1x1", QStringList{"b"}}}, "2x2");
    model.pruneMissing({"a", "c", "other"});
    QCOMPARE(shown(model), "a,,c,");
    model.setCurrentLayout("1x1");
    QCOMPARE(shown(model), "");
}

QTEST_GUILESS_MAIN(GridLayoutModelTest)
#include "tst_GridLayoutModel.moc"
