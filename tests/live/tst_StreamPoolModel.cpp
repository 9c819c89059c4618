#include "live/StreamPoolModel.h"
#include "support/LogCapture.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

class StreamPoolModelTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_log = std::make_unique<LogCapture>(); }
    void cleanup() { m_log.reset(); }
    void rowsAreAppendedAtOnce();
    void rowsChangeInPlace();
    void parkingAndReviving();
    void removalAfterTheGracePeriod();
    void clearingDropsParkedRowsToo();
    void displayStates();
    void hostilePlacements();

private:
    std::unique_ptr<LogCapture> m_log;
};

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
        connect(this, &StreamPoolModel::rowsInserted,
            [this](const QModelIndex &, int first, int last) { note("insert", first, last); });
        connect(this, &StreamPoolModel::rowsRemoved,
            [this](const QModelIndex &, int first, int last) { note("remove", first, last); });
        connect(this, &StreamPoolModel::dataChanged,
            [this](const QModelIndex &from, const QModelIndex &to, const QList<int> &roles) {
                QStringList names;
                for (const int role : roles)
                    names << roleNames().value(role);
                note(names.join('+'), from.row(), to.row());
            });
        connect(
            this, &StreamPoolModel::cameraRemoved, [this](const QString &id) { m_trace << "gone " + id; });
    }

    void note(const QString &what, int first, int last)
    {
        m_trace << QString("%1 %2-%3").arg(what).arg(first).arg(last);
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

void StreamPoolModelTest::rowsAreAppendedAtOnce()
{
    WatchedPool pool;
    pool.sync({placement("a", 10, 100), placement("b")});
    QCOMPARE(pool.taken(), QStringList("insert 0-1"));
    QCOMPARE(m_log->taken(),
        QStringList({"info zorvel.stream: [pool] add stream a (rows 0 -> 1)",
            "info zorvel.stream: [pool] add stream b (rows 1 -> 2)"}));
    QMap<int, QPair<QByteArray, QVariant>> shown;
    const auto names = pool.roleNames();
    for (auto it = names.begin(); it != names.end(); ++it)
        shown[it.key()] = {it.value(), pool.index(0).data(it.key())};
    const QMap<int, QPair<QByteArray, QVariant>> expected = {{257, {"cameraId", "a"}}, {258, {"x", 10.0}},
        {259, {"y", 2.5}}, {260, {"w", 320.0}}, {261, {"h", 180.0}}, {262, {"visible", true}},
        {263, {"preferMain", true}}, {264, {"suspended", false}}, {265, {"hasSub", true}}, {266, {"z", 100}}};
    QCOMPARE(shown, expected);
}

void StreamPoolModelTest::rowsChangeInPlace()
{
    WatchedPool pool;
    const QVariantList placements = {placement("a"), placement("b")};
    pool.sync(placements);
    pool.taken();
    m_log->taken();
    pool.sync(placements);
    QCOMPARE(pool.taken(), QStringList());
    pool.sync({placement("c"), placement("b", 7), placement("a", 0, 100)});
    QCOMPARE(pool.taken(), QStringList({"x 1-1", "preferMain+z 0-0", "insert 2-2"}));
    QCOMPARE(pool.cameras(), "a,b,c");
    QCOMPARE(m_log->taken(), QStringList("info zorvel.stream: [pool] add stream c (rows 2 -> 3)"));
}

void StreamPoolModelTest::parkingAndReviving()
{
    WatchedPool pool;
    pool.sync({placement("a", 0, 100), placement("b")});
    pool.taken();
    m_log->taken();
    pool.sync({placement("b")});
    QCOMPARE(pool.taken(), QStringList("visible+z 0-0"));
    QCOMPARE(pool.index(0).data(StreamPoolModel::VisibleRole), false);
    QCOMPARE(pool.index(0).data(StreamPoolModel::ZRole), 0);
    QCOMPARE(m_log->taken(),
        QStringList("info zorvel.stream: [pool] park stream a (teardown in 300s unless revived)"));
    pool.sync({placement("b")});
    QCOMPARE(pool.taken() + m_log->taken(), QStringList());
    pool.sync({placement("b"), placement("a", 0, 100)});
    QCOMPARE(pool.taken(), QStringList("visible+z 0-0"));
    QCOMPARE(m_log->taken(), QStringList("info zorvel.stream: [pool] revive stream a (still connected)"));
}

void StreamPoolModelTest::removalAfterTheGracePeriod()
{
    WatchedPool pool;
    pool.sync({placement("a"), placement("b"), placement("c"), placement("d")});
    pool.setParkGraceMs(400);
    pool.sync({placement("b"), placement("c"), placement("d")});
    pool.setParkGraceMs(100);
    pool.sync({placement("b"), placement("d")});
    pool.sync({placement("b")});
    pool.setParkGraceMs(30);
    pool.sync({placement("d")});
    pool.taken();
    m_log->taken();
    pool.reportDisplayState("d", "playing");

    QTRY_COMPARE(pool.cameras(), "a,c,d");
    QCOMPARE(pool.taken(), QStringList({"remove 1-1", "gone b"}));
    QCOMPARE(m_log->taken(), QStringList("info zorvel.stream: [pool] remove stream b (park grace expired)"));
    QTRY_COMPARE(pool.cameras(), "a,d");
    QCOMPARE(pool.displayStateFor("d"), "playing");
    QTRY_COMPARE(pool.cameras(), "d");
    pool.sync({placement("c", 3), placement("d")});
    QCOMPARE(pool.cameras(), "d,c");
}

void StreamPoolModelTest::clearingDropsParkedRowsToo()
{
    WatchedPool pool;
    pool.setParkGraceMs(20);
    pool.sync({placement("a"), placement("b")});
    pool.reportDisplayState("b", "playing");
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

void StreamPoolModelTest::displayStates()
{
    WatchedPool pool;
    QSignalSpy changed(&pool, &StreamPoolModel::streamStateChanged);
    pool.sync({placement("a"), placement("b")});
    pool.reportDisplayState("b", "loading");
    pool.reportDisplayState("b", "loading");
    pool.reportDisplayState("x", "loading");
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed.first(), QVariantList({"b", "loading"}));
    QCOMPARE(pool.displayStateFor("b"), "loading");
    QCOMPARE(pool.displayStateFor("a") + pool.displayStateFor("x"), "");
}

void StreamPoolModelTest::hostilePlacements()
{
    WatchedPool pool;
    pool.sync({QVariantMap(), "text", placement(""), placement("a", 1), placement("a", 2), QVariant(),
        QVariantMap{{"cameraId", "b"}, {"x", "wide"}, {"z", QVariantList()}}});
    QCOMPARE(pool.cameras(), "a,b");
    QCOMPARE(pool.index(0).data(StreamPoolModel::XRole), 1.0);
    QCOMPARE(pool.index(1).data(StreamPoolModel::XRole), 0.0);
    QCOMPARE(pool.index(1).data(StreamPoolModel::VisibleRole), false);
}

QTEST_GUILESS_MAIN(StreamPoolModelTest)
#include "tst_StreamPoolModel.moc"
