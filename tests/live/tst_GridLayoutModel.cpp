#include "live/GridLayoutModel.h"

#include <QJSEngine>
#include <QTest>

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

class GridLayoutModelTest : public QObject
{
    Q_OBJECT

private slots:
    void cellsFillTheGrid()
    {
        GridLayoutModel model;
        const QMap<QString, int> presets{{"1x1", 1}, {"2x2", 4}, {"3x3", 9}, {"4x4", 16}, {"5x5", 25},
            {"8x8", 64}, {"1+5", 6}, {"1+7", 8}, {"2+8", 10}};
        for (auto preset = presets.cbegin(); preset != presets.cend(); ++preset) {
            const QString name = preset.key();
            QCOMPARE(model.cellLayout(name).size(), preset.value());
            QCOMPARE(coverage(model, name), QList<int>(model.layoutCols(name) * model.layoutRows(name), 1));
        }
    }

    void operations_data()
    {
        QTest::addColumn<QString>("expected");
        const auto row
            = [](const char *script, const QString &expected) { QTest::newRow(script) << expected; };
        row("assignSlot(1, 'x')", "2x2: a,x,b,");
        row("assignSlot(3, 'a')", "2x2: ,,b,a");
        row("assignSlot(4, 'b'); model.assignSlot(-1, 'b')", "2x2: a,,b,");
        row("assignNextSlot('b') === true || model.clearSlot(0)", "2x2: a,,b,");
        row("assignNextSlot('x'); model.assignNextSlot('y'); model.assignNextSlot('z') === false || "
            "model.clearSlot(0)",
            "2x2: a,x,b,y");
        row("swapSlots(2, 3)", "2x2: a,,,b");
        row("swapSlots(0, 4); model.swapSlots(-1, 0); model.clearSlot(4); model.clearSlot(-1)", "2x2: a,,b,");
        row("currentLayout = '1+5'", "1+5: a,b,,,,");
        row("currentLayout = '6x6'", "2x2: a,,b,");
        row("restore({'2x2': ['c', 'd', 'e', 'f', 'g']}, '6x6')", "2x2: c,d,e,f");
        row("restore({'2x2': ['c', 'd', 'c']}, '2x2')", "2x2: c,d,,");
        row("restore({'2x2': [1, null, ['c'], 'd'], '6x6': ['c']}, '2x2')", "2x2: ,,,d");
        row("restore({'2x2': 'abcd', '1x1': {'0': 'c'}}, '')", "2x2: ,,,");
    }

    void operations()
    {
        GridLayoutModel model;
        QJSEngine engine;
        engine.globalObject().setProperty("model", engine.newQObject(&model));
        QJSEngine::setObjectOwnership(&model, QJSEngine::CppOwnership);
        fill(model, "a,,b,");
        const QJSValue result = engine.evaluate(QString("model.") + QTest::currentDataTag());
        QVERIFY2(!result.isError(), qPrintable(result.toString()));
        QTEST(model.currentLayout() + ": " + shown(model), "expected");
    }

    void everyPresetKeepsItsArrangement()
    {
        GridLayoutModel model;
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
        other.pruneMissing({"a", "c"});
        QCOMPARE(other.layoutSlots()["2x2"].toStringList(), QStringList({"a", "", "c", ""}));
    }

    void maximizedSlotFollowsItsCamera()
    {
        GridLayoutModel model;
        fill(model, "a,b,c,");
        const auto endsWith = [&](auto &&action) {
            model.setMaximizedSlot(1);
            action();
            return model.maximizedSlot();
        };
        QCOMPARE(endsWith([&] { model.setMaximizedSlot(4); }), 1);
        QCOMPARE(endsWith([&] { model.clearSlot(0); }), 1);
        QCOMPARE(endsWith([&] { model.assignSlot(1, "x"); }), 1);
        QCOMPARE(endsWith([&] { model.swapSlots(1, 3); }), -1);
        QCOMPARE(endsWith([&] { model.assignSlot(1, "y"), model.clearSlot(1); }), -1);
        QCOMPARE(endsWith([&] { model.assignSlot(1, "y"), model.pruneMissing({"a"}); }), -1);
        QCOMPARE(endsWith([&] { model.setCurrentLayout("3x3"); }), -1);
    }
};

QTEST_GUILESS_MAIN(GridLayoutModelTest)
#include "tst_GridLayoutModel.moc"
