#include "live/StreamPoolModel.h"

#include <QAbstractItemModelTester>
#include <QTest>

namespace {

QVariantMap placement(const QString &cameraId, double x = 0, int z = 0)
{
    return {{"cameraId", cameraId}, {"x", x}, {"y", 2.5}, {"w", 320}, {"h", 180}, {"visible", true},
        {"preferMain", z > 0}, {"suspended", false}, {"hasSub", true}, {"z", z}};
}

// A pool watched by the model tester, whose announcements are kept as text.
struct WatchedPool : StreamPoolModel
{
    WatchedPool()
    {
        const auto note = [this](const QString &what, int first, int last) {
            m_trace << QString("%1 %2-%3").arg(what).arg(first).arg(last);
        };
        connect(this, &StreamPoolModel::rowsInserted,
            [note](const QModelIndex &, int first, int last) { note("insert", first, last); });
        connect(this, &StreamPoolModel::rowsRemoved,
            [note](const QModelIndex &, int first, int last) { note("remove", first, last); });
        connect(this, &StreamPoolModel::dataChanged,
            [this, note](const QModelIndex &from, const QModelIndex &to, const QList<int> &roles) {
                QStringList names;
                for (const int role : roles)
                    names << roleNames().value(role);
                note(names.join('+'), from.row(), to.row());
            });
        connect(
            this, &StreamPoolModel::cameraRemoved, [this](const QString &id) { m_trace << "gone " + id; });
        connect(this, &StreamPoolModel::streamStateChanged,
            [this](const QString &id, const QString &state) { m_trace << id + ' ' + state; });
    }

    QStringList taken() { return std::exchange(m_trace, {}); }
    QString cameras() const
    {
        QStringList ids;
        for (int row = 0; row < rowCount(); ++row)
            ids << index(row).data(CameraIdRole).toString();
        return ids.join(',');
    }

    QStringList m_trace;
    QAbstractItemModelTester m_tester{this, QAbstractItemModelTester::FailureReportingMode::QtTest};
};

} // namespace

class StreamPoolModelTest : public QObject
{
    Q_OBJECT

private slots:
    void rowsChangeInPlace()
    {
        WatchedPool pool;
        const QVariantList placements = {placement("a"), placement("b")};
        pool.sync(placements);
        QCOMPARE(pool.taken(), QStringList("insert 0-1"));
        pool.sync(placements);
        QCOMPARE(pool.taken(), QStringList());
        pool.sync({placement("c"), placement("b", 7), placement("a", 0, 100)});
        QCOMPARE(pool.taken(), QStringList({"x 1-1", "preferMain+z 0-0", "insert 2-2"}));
        QCOMPARE(pool.cameras(), "a,b,c");
    }

    void parkingAndReviving()
    {
        WatchedPool pool;
        pool.sync({placement("a", 0, 100), placement("b")});
        pool.taken();
        for (int times = 0; times < 2; ++times)
            pool.sync({placement("b")});
        QCOMPARE(pool.taken(), QStringList("visible+z 0-0"));
        QCOMPARE(pool.index(0).data(StreamPoolModel::VisibleRole), false);
        QCOMPARE(pool.index(0).data(StreamPoolModel::ZRole), 0);
        pool.sync({placement("b"), placement("a", 0, 100)});
        QCOMPARE(pool.taken(), QStringList("visible+z 0-0"));
    }

    void removalAfterTheGracePeriod()
    {
        WatchedPool pool;
        pool.sync({placement("a"), placement("b"), placement("c"), placement("d")});
        pool.setParkGraceMs(400);
        pool.sync({placement("b"), placement("c"), placement("d")});
        pool.setParkGraceMs(100);
        pool.sync({placement("b"), placement("d")});
        pool.setParkGraceMs(30);
        pool.sync({placement("d")});
        pool.reportDisplayState("d", "playing");
        pool.taken();

        QTRY_COMPARE(pool.cameras(), "a,c,d");
        QCOMPARE(pool.taken(), QStringList({"remove 1-1", "gone b"}));
        QTRY_COMPARE(pool.cameras(), "a,d");
        QCOMPARE(pool.displayStateFor("d"), "playing");
        QTRY_COMPARE(pool.cameras(), "d");
        pool.sync({placement("c", 3), placement("d")});
        QCOMPARE(pool.cameras(), "d,c");
    }

    void clearingDropsParkedRowsToo()
    {
        WatchedPool pool;
        pool.setParkGraceMs(20);
        pool.sync({placement("a"), placement("b")});
        for (const char *camera : {"b", "b", "x"})
            pool.reportDisplayState(camera, "playing");
        QCOMPARE(pool.taken(), QStringList({"insert 0-1", "b playing"}));
        pool.sync({placement("b")});
        pool.taken();
        pool.clear();
        pool.clear();
        QCOMPARE(pool.taken(), QStringList({"gone a", "gone b"}));
        QCOMPARE(pool.displayStateFor("b"), "");
        pool.sync({placement("b")});
        QTest::qWait(60);
        QCOMPARE(pool.cameras(), "b");
    }

    void hostilePlacements()
    {
        WatchedPool pool;
        pool.sync({QVariantMap(), "text", placement(""), placement("a", 1), placement("a", 2), QVariant(),
            QVariantMap{{"cameraId", "b"}, {"x", "wide"}, {"z", QVariantList()}}});
        QCOMPARE(pool.cameras(), "a,b");
        QCOMPARE(pool.index(0).data(StreamPoolModel::XRole), 1.0);
        QCOMPARE(pool.index(1).data(StreamPoolModel::XRole), 0.0);
        QCOMPARE(pool.index(1).data(StreamPoolModel::VisibleRole), false);
    }
};

QTEST_GUILESS_MAIN(StreamPoolModelTest)
#include "tst_StreamPoolModel.moc"
