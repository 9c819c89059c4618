#include "live/CameraFilterModel.h"
#include "live/CameraListModel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

namespace {

CameraData camera(const QString &id, const QString &name, bool hasSubStream = false)
{
    CameraData result;
    result.id = id;
    result.name = name;
    result.hasSubStream = hasSubStream;
    return result;
}

} // namespace

class CameraModelsTest : public QObject
{
    Q_OBJECT

private slots:
    void aNewListForgetsTheStatuses()
    {
        CameraListModel model;
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        // The first row with an id wins.
        model.setCameras({camera("1", "Gate"), camera("1", "Second", true), camera("2", "Yard", true)});
        model.updateStatus("1", "recording", "");
        QCOMPARE(model.cameraNameById("1"), "Gate");
        QVERIFY(!model.cameraHasSubStreamById("1") && model.cameraHasSubStreamById("2"));
        QCOMPARE(model.cameraIdAt(-1) + model.cameraIdAt(3), "");
        QCOMPARE(model.cameraNameById("3") + model.cameraStateById("3"), "");
        model.setCameras({camera("2", "Yard"), camera("1", "Gate")});
        QCOMPARE(model.cameraStateById("1"), "");
        QCOMPARE(model.cameraIds(), QStringList({"2", "1"}));
    }

    void filtering()
    {
        CameraListModel cameras;
        CameraFilterModel filter;
        const QAbstractItemModelTester tester(
            &filter, QAbstractItemModelTester::FailureReportingMode::QtTest);
        filter.setSourceModel(&cameras);
        cameras.setCameras({camera("1", "Entrance cam 2"), camera("2", "Двор"), camera("3", "Camera")});
        const auto ids = [&](const QString &text) {
            filter.setFilterText(text);
            QStringList shown;
            for (int row = 0; row < filter.rowCount(); ++row)
                shown << filter.cameraIdAt(row);
            return shown.join(' ');
        };
        QCOMPARE(ids(""), "1 2 3");
        QCOMPARE(ids("ДВОР"), "2");
        QCOMPARE(ids("."), "");
        QCOMPARE(ids("CAM"), "1 3");
        QCOMPARE(filter.cameraIdAt(-1) + filter.cameraIdAt(2), "");

        QSignalSpy changed(&filter, &CameraFilterModel::dataChanged);
        // Only what really changes is announced.
        for (int times = 0; times < 2; ++times)
            cameras.updateStatuses({{"2", "recording", ""}, {"3", "recording", ""}});
        QCOMPARE(changed.count(), 1);
        QCOMPARE(filter.index(1, 0).data(CameraListModel::StateRole), "recording");
        cameras.setCameras({camera("4", "Yard cam")});
        QCOMPARE(filter.cameraIdAt(0), "4");
    }
};

QTEST_GUILESS_MAIN(CameraModelsTest)
#include "tst_CameraModels.moc"
