#include "live/GridLayoutModel.h"

#include <QJSEngine>
#include <QTest>

class GridLayoutModelTest : public QObject
{
    Q_OBJECT

private slots:
    void presets_data();
    void presets();
    void operations_data();
    void operations();
    void everyPresetKeepsItsArrangement();
    void maximizedSlotFollowsItsCamera();
    void changesAreAnnouncedOnceAndComplete();
};

namespace {

QString shown(const GridLayoutModel &model)
{
    return model.slotCameras().join(',');
}

void fill(GridLayoutModel &model, const QString &cameras)
{
    model.restore({{"2x2", cameras.split(',')}}, "2x2");
}

// How often the cells cover each unit of the grid; a cell outside of it counts for none.
QList<int> coverage(const GridLayoutModel &model, const QString &preset)
{
    const int cols = model.layoutCols(preset);
    QList<int> counts(cols * model.layoutRows(preset));
    for (const QVariant &entry : model.cellLayout(preset)) {
        const QVariantMap cell = entry.toMap();
        for (int row = 0; row < cell["rowSpan"].toInt(); ++row) {
            for (int col = 0; col < cell["colSpan"].toInt(); ++col) {
                const int unit = (cell["row"].toInt() + row) * cols + cell["col"].toInt() + col;
                if (unit < counts.size() && cell["col"].toInt() + col < cols)
                    ++counts[unit];
            }
        }
    }
    return counts;
}

} // namespace

void GridLayoutModelTest::presets_data()
{
    QTest::addColumn<int>("cells");
    QTest::addColumn<int>("cols");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("masters");
    QTest::newRow("1x1") << 1 << 1 << 1 << 0;
    QTest::newRow("2x2") << 4 << 2 << 2 << 0;
    QTest::newRow("3x3") << 9 << 3 << 3 << 0;
    QTest::newRow("4x4") << 16 << 4 << 4 << 0;
    QTest::newRow("5x5") << 25 << 5 << 5 << 0;
    QTest::newRow("8x8") << 64 << 8 << 8 << 0;
    QTest::newRow("1+5") << 6 << 3 << 3 << 1;
    QTest::newRow("1+7") << 8 << 4 << 3 << 1;
    QTest::newRow("2+8") << 10 << 4 << 4 << 2;
    QTest::newRow("9x9") << 0 << 0 << 0 << 0;
}

void GridLayoutModelTest::presets()
{
    QFETCH(int, cells);
    QFETCH(int, masters);
    const QString preset = QTest::currentDataTag();
    GridLayoutModel model;
    QCOMPARE(model.layoutCells(preset), cells);
    QTEST(model.layoutCols(preset), "cols");
    QTEST(model.layoutRows(preset), "rows");
    QCOMPARE(model.cellLayout(preset).size(), cells);
    QCOMPARE(coverage(model, preset), QList<int>(model.layoutCols(preset) * model.layoutRows(preset), 1));
    for (int slot = 0; slot < cells; ++slot) {
        const QVariantMap cell = model.cellLayout(preset).at(slot).toMap();
        QCOMPARE(cell["rowSpan"] == 2 && cell["colSpan"] == 2, slot < masters);
    }

    model.setCurrentLayout(preset);
    QCOMPARE(model.currentLayout(), cells > 0 ? preset : "2x2");
    QCOMPARE(model.slotCameras().size(), model.cells());
    QCOMPARE(model.masterSlot(), masters > 0 ? 0 : -1);
}

void GridLayoutModelTest::operations_data()
{
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *script, const QString &expected) { QTest::newRow(script) << expected; };
    row("assignSlot(1, 'x')", "2x2: a,x,b,");
    row("assignSlot(0, 'x')", "2x2: x,,b,");
    row("assignSlot(3, 'a')", "2x2: ,,b,a");
    row("assignSlot(1, 'aa'); model.assignSlot(3, 'a')", "2x2: ,aa,b,a");
    row("assignSlot(4, 'b'); model.assignSlotExclusive(-1, 'b')", "2x2: a,,b,");
    row("assignSlotExclusive(0, 'b')", "2x2: b,,,");
    row("assignSlotExclusive(0, 'a')", "2x2: a,,b,");
    row("assignSlotExclusive(0, '')", "2x2: ,,b,");
    row("assignNextSlot('x') === true || model.clearSlot(0)", "2x2: a,x,b,");
    row("assignNextSlot('b') === true || model.clearSlot(0)", "2x2: a,,b,");
    row("assignNextSlot('') === false || model.clearSlot(0)", "2x2: a,,b,");
    row("assignNextSlot('x'); model.assignNextSlot('y'); model.assignNextSlot('z') === false || "
        "model.clearSlot(0)",
        "2x2: a,x,b,y");
    row("swapSlots(0, 2)", "2x2: b,,a,");
    row("swapSlots(2, 3)", "2x2: a,,,b");
    row("swapSlots(0, 4); model.swapSlots(-1, 0); model.clearSlot(4); model.clearSlot(-1)", "2x2: a,,b,");
    row("clearSlot(2)", "2x2: a,,,");
    row("pruneMissing(['b', 'c'])", "2x2: ,,b,");
    row("currentLayout = '1+5'", "1+5: a,b,,,,");
    row("currentLayout = '1x1'", "1x1: a");
    row("currentLayout = '6x6'", "2x2: a,,b,");
    row("restore({'2x2': ['c', '', 'd', '']}, '2x2')", "2x2: c,,d,");
    row("restore({'1x1': ['c'], '2x2': ['d']}, '1x1')", "1x1: c");
    row("restore({'2x2': ['c', 'd', 'e', 'f']}, '6x6')", "2x2: c,d,e,f");
    row("restore({'6x6': ['c']}, '2x2')", "2x2: ,,,");
    row("restore({'2x2': ['c']}, '1x1')", "1x1: ");
    row("restore({'2x2': ['c']}, '2x2')", "2x2: c,,,");
    row("restore({'2x2': ['c', 'd', 'e', 'f', 'g']}, '2x2')", "2x2: c,d,e,f");
    row("restore({'2x2': ['c', 'd', 'c', 'd']}, '2x2')", "2x2: c,d,,");
    row("restore({'2x2': [1, null, ['c'], 'd']}, '2x2')", "2x2: ,,,d");
    row("restore({'2x2': 'abcd', '1x1': {'0': 'c'}}, '2x2')", "2x2: ,,,");
    row("restore({}, '')", "2x2: ,,,");
}

void GridLayoutModelTest::operations()
{
    GridLayoutModel model;
    QJSEngine engine;
    engine.globalObject().setProperty("model", engine.newQObject(&model));
    QJSEngine::setObjectOwnership(&model, QJSEngine::CppOwnership);
    fill(model, "a,,b,");
    const QJSValue result = engine.evaluate(QString("model.") + QTest::currentDataTag());
    QVERIFY2(!result.isError(), qPrintable(result.toString()));
    QTEST(model.currentLayout() + ": " + shown(model), "expected");

    QStringList active = model.slotCameras();
    active.removeAll("");
    QCOMPARE(model.activeCameras(), active);
    QCOMPARE(model.slotAt(0), model.slotCameras().first());
    QCOMPARE(model.slotAt(-1) + model.slotAt(model.cells()), "");
}

void GridLayoutModelTest::everyPresetKeepsItsArrangement()
{
    GridLayoutModel model;
    model.setCurrentLayout("3x3");
    model.setCurrentLayout("2x2");
    for (const char *camera : {"a", "b", "c", "d"})
        model.assignNextSlot(camera);
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
    other.pruneMissing({"a", "c"});
    QCOMPARE(other.layoutSlots()["2x2"].toStringList(), QStringList({"a", "", "c", ""}));
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

QTEST_GUILESS_MAIN(GridLayoutModelTest)
#include "tst_GridLayoutModel.moc"
