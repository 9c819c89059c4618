#include "live/CameraFilterModel.h"
#include "live/CameraListModel.h"
#include "support/LogCapture.h"

#include <QAbstractItemModelTester>
#include <QLoggingCategory>
#include <QSignalSpy>
#include <QTest>

class CameraModelsTest : public QObject
{
    Q_OBJECT

private slots:
    void rolesAndLookups();
    void firstRowWithAnIdWins();
    void settingCamerasForgetsStatuses();
    void onlyRealChangesAreAnnounced();
    void statusesAreLogged();
    void filtering_data();
    void filtering();
    void filteredRowsFollowTheList();
};

namespace {

CameraData camera(const QString &id, const QString &name, bool hasSubStream = false)
{
    CameraData result;
    result.id = id;
    result.name = name;
    result.ipAddress = "10.0.0." + id;
    result.enabled = true;
    result.hasSubStream = hasSubStream;
    return result;
}

} // namespace

void CameraModelsTest::rolesAndLookups()
{
    CameraListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QSignalSpy counted(&model, &CameraListModel::countChanged);
    model.setCameras({camera("1", "Gate", true), camera("2", "Yard")});
    model.updateStatus("2", "offline", "no route");
    QCOMPARE(counted.count(), 1);
    QCOMPARE(model.property("count"), 2);

    QMap<int, QPair<QByteArray, QVariant>> shown;
    const auto names = model.roleNames();
    for (auto it = names.begin(); it != names.end(); ++it)
        shown[it.key()] = {it.value(), model.index(1).data(it.key())};
    const QMap<int, QPair<QByteArray, QVariant>> expected = {{257, {"cameraId", "2"}},
        {258, {"cameraName", "Yard"}}, {259, {"ipAddress", "10.0.0.2"}}, {260, {"enabled", true}},
        {261, {"hasSubStream", false}}, {262, {"state", "offline"}}, {263, {"cameraError", "no route"}}};
    QCOMPARE(shown, expected);

    QCOMPARE(model.cameraIds(), QStringList({"1", "2"}));
    QCOMPARE(model.cameraIdAt(1), "2");
    QCOMPARE(model.cameraIdAt(-1), "");
    QCOMPARE(model.cameraIdAt(2), "");
    QCOMPARE(model.cameraNameById("1"), "Gate");
    QCOMPARE(model.cameraStateById("2"), "offline");
    QVERIFY(model.cameraHasSubStreamById("1") && !model.cameraHasSubStreamById("2"));
    QVERIFY(model.hasCameraById("1") && !model.hasCameraById("3"));
    QCOMPARE(model.cameraNameById("3") + model.cameraStateById("3"), "");
    QVERIFY(!model.cameraHasSubStreamById("3"));
}

void CameraModelsTest::firstRowWithAnIdWins()
{
    CameraListModel model;
    model.setCameras({camera("1", "First"), camera("1", "Second", true), camera("2", "Other")});
    QSignalSpy changed(&model, &CameraListModel::dataChanged);
    model.updateStatus("1", "recording", "");
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed.first().first().toModelIndex().row(), 0);
    QCOMPARE(model.cameraNameById("1"), "First");
    QVERIFY(!model.cameraHasSubStreamById("1"));
    QCOMPARE(model.cameraNameById("2"), "Other");
}

void CameraModelsTest::settingCamerasForgetsStatuses()
{
    CameraListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.setCameras({camera("1", "Gate"), camera("2", "Yard")});
    model.updateStatus("2", "recording", "");
    QSignalSpy reset(&model, &CameraListModel::modelReset);
    model.setCameras({camera("2", "Yard")});
    QCOMPARE(reset.count(), 1);
    QVERIFY(!model.hasCameraById("1"));
    QCOMPARE(model.cameraStateById("2"), "");
    QCOMPARE(model.cameraIdAt(0), "2");
}

void CameraModelsTest::onlyRealChangesAreAnnounced()
{
    CameraListModel model;
    model.setCameras({camera("1", "Gate"), camera("2", "Yard")});
    QStringList trace;
    connect(&model, &CameraListModel::dataChanged,
        [&](const QModelIndex &from, const QModelIndex &to, const QList<int> &roles) {
            QCOMPARE(roles, QList<int>({CameraListModel::StateRole, CameraListModel::CameraErrorRole}));
            trace << QString("row %1-%2").arg(from.row()).arg(to.row());
        });
    connect(&model, &CameraListModel::cameraStateChanged,
        [&](const QString &id, const QString &state, const QString &error) {
            QCOMPARE(model.cameraStateById(id), state);
            trace << QString("%1 %2 %3").arg(id, state, error);
        });
    model.updateStatuses({{"2", "recording", ""}, {"9", "recording", ""}, {"1", "", ""}});
    model.updateStatuses({{"2", "recording", ""}});
    model.updateStatus("2", "recording", "slow");
    model.updateStatus("2", "recording", "slow");
    QCOMPARE(trace, QStringList({"row 1-1", "2 recording ", "row 1-1", "2 recording slow"}));
}

void CameraModelsTest::statusesAreLogged()
{
    CameraListModel model;
    model.setCameras({camera("1", "Gate")});
    LogCapture log;
    const QList<CameraStatusData> statuses = {{"1", "recording", "rtsp://u:p@h"}, {"9", "offline", ""}};
    const QString summary
        = "info zorvel.status: updateStatuses: 2 received, 1 matched, 1 unmatched, model has 1 cameras";
    model.updateStatuses(statuses);
    QCOMPARE(log.taken(), QStringList(summary));
    QLoggingCategory::setFilterRules("zorvel.status.debug=true");
    model.updateStatuses(statuses);
    QLoggingCategory::setFilterRules({});
    QCOMPARE(log.taken(),
        QStringList({"debug zorvel.status: updateStatuses: id=1 state=recording error=rtsp://h",
            "debug zorvel.status: updateStatuses: no camera for id=9 state=offline (not in model)",
            summary}));
    model.updateStatus("1", "error", "no signal from rtsp://u:p@h");
    model.updateStatus("9", "error", "no signal");
    QCOMPARE(log.taken(),
        QStringList({"info zorvel.status: updateStatus(WS): id=1 state=error error=no signal from rtsp://h",
            "info zorvel.status: updateStatus(WS): no camera for id=9 state=error (not in model)"}));
}

void CameraModelsTest::filtering_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("ids");
    QTest::newRow("everything") << "" << QStringList{"1", "2", "3"};
    QTest::newRow("ignoring case") << "CAM" << QStringList{"1", "3"};
    QTest::newRow("beyond ASCII") << "ДВОР" << QStringList{"2"};
    QTest::newRow("taken literally") << "." << QStringList{};
}

void CameraModelsTest::filtering()
{
    QFETCH(QString, text);
    CameraListModel cameras;
    CameraFilterModel filter;
    const QAbstractItemModelTester tester(&filter, QAbstractItemModelTester::FailureReportingMode::QtTest);
    filter.setSourceModel(&cameras);
    cameras.setCameras({camera("1", "Entrance cam 2"), camera("2", "Двор"), camera("3", "Camera")});
    QSignalSpy changed(&filter, &CameraFilterModel::filterTextChanged);
    filter.setFilterText(text);
    filter.setFilterText(text);
    QCOMPARE(changed.count(), text.isEmpty() ? 0 : 1);
    QStringList ids;
    for (int row = 0; row < filter.rowCount(); ++row)
        ids << filter.cameraIdAt(row);
    QTEST(ids, "ids");
    QCOMPARE(filter.cameraIdAt(-1), "");
    QCOMPARE(filter.cameraIdAt(filter.rowCount()), "");
}

void CameraModelsTest::filteredRowsFollowTheList()
{
    CameraListModel cameras;
    CameraFilterModel filter;
    const QAbstractItemModelTester tester(&filter, QAbstractItemModelTester::FailureReportingMode::QtTest);
    filter.setSourceModel(&cameras);
    filter.setFilterText("yard");
    cameras.setCameras({camera("1", "Gate"), camera("2", "Yard"), camera("3", "Back yard")});
    QCOMPARE(filter.rowCount(), 2);
    QSignalSpy changed(&filter, &CameraFilterModel::dataChanged);
    cameras.updateStatuses({{"1", "recording", ""}, {"3", "recording", ""}});
    QCOMPARE(changed.count(), 1);
    QCOMPARE(filter.index(1, 0).data(CameraListModel::StateRole), "recording");
    cameras.setCameras({camera("4", "Yard")});
    QCOMPARE(filter.cameraIdAt(0), "4");
    cameras.setCameras({});
    QCOMPARE(filter.rowCount(), 0);
}

QTEST_GUILESS_MAIN(CameraModelsTest)
#include "tst_CameraModels.moc"
