#include "live/StreamPoolModel.h"

#include <QAbstractItemModelTester>
#include <QTest>

namespace {

QVariantList placements(const QString &cameraIds)
{
    QVariantList result;
    for (const QString &cameraId : cameraIds.split(','))
        result.append(QVariantMap{{"cameraId", cameraId}, {"visible", true}});
    return result;
}

// The cameras in their rows, those that are parked in brackets.
QString shown(const StreamPoolModel &pool)
{
    QStringList ids;
    for (int row = 0; row < pool.rowCount(); ++row) {
        const QModelIndex index = pool.index(row);
        const QString id = index.data(StreamPoolModel::CameraIdRole).toString();
        ids << (index.data(StreamPoolModel::VisibleRole).toBool() ? id : '[' + id + ']');
    }
    return ids.join(',');
}

} // namespace

class StreamPoolModelTest : public QObject
{
    Q_OBJECT

private slots:
    void rowsStayInTheirPlaceUntilTheGracePeriodIsOver()
    {
        StreamPoolModel pool;
        const QAbstractItemModelTester tester(&pool, QAbstractItemModelTester::FailureReportingMode::QtTest);
        pool.sync(placements("a,b,c,d"));
        pool.setParkGraceMs(600);
        pool.sync(placements("d,c,b"));
        pool.setParkGraceMs(200);
        pool.sync(placements("b,d"));
        pool.setParkGraceMs(20);
        pool.sync(placements("d"));
        pool.reportDisplayState("d", "playing");
        QCOMPARE(shown(pool), "[a],[b],[c],d");

        QTRY_COMPARE(shown(pool), "[a],[c],d");
        QTRY_COMPARE(shown(pool), "[a],d");
        QCOMPARE(pool.displayStateFor("d"), "playing");

        // One that is taken up again stays, and one that was removed begins anew.
        pool.sync(placements("d,a,c"));
        QCOMPARE(shown(pool), "a,d,c");
        pool.setParkGraceMs(600);
        pool.sync(placements("d,a"));
        QTRY_COMPARE(shown(pool), "a,d");
    }
};

QTEST_GUILESS_MAIN(StreamPoolModelTest)
#include "tst_StreamPoolModel.moc"
