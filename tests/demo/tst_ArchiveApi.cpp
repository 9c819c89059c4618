#include "Decoder.h"
#include "RecorderFixture.h"

#include <QDateTime>
#include <QtTest>

using namespace demo;

namespace {

constexpr QSize mainSize(1280, 720);

QString iso(qint64 ms)
{
    return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC).toString(Qt::ISODateWithMs);
}

qint64 ms(const QJsonValue &iso)
{
    return QDateTime::fromString(iso.toString(), Qt::ISODateWithMs).toMSecsSinceEpoch();
}

} // namespace

/// Timelines, segment files and exports, over real requests and decoded.
class TestArchiveApi : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void rangesAndTimelinesAgree();
    void batchTimeline();
    void badRequests_data();
    void badRequests();
    void segmentsComeInPages();
    void segmentFileShowsItsTime();
    void byteRanges_data();
    void byteRanges();
    void exportedWindowsJoin();
    void exportLeavesOutGaps();
    void exportsAreLimited();

private:
    QString exportPath(const QString &camera, qint64 fromMs, qint64 toMs, qint64 originMs, bool init) const;
    QList<QJsonObject> segments(const QString &camera, qint64 fromMs, int limit);
    /// The first gap of a camera that is longer than a second count, as a span in ms.
    std::pair<qint64, qint64> gap(const QString &camera, qint64 longerThanMs);

    RecorderFixture m_recorder{13};
    const qint64 m_nowMs = QDateTime::currentMSecsSinceEpoch();
};

void TestArchiveApi::initTestCase()
{
    m_recorder.signIn();
}

void TestArchiveApi::cleanup()
{
    m_recorder.ask("DELETE", "/demo/faults");
}

QString TestArchiveApi::exportPath(
    const QString &camera, qint64 fromMs, qint64 toMs, qint64 originMs, bool init) const
{
    return QString("/client-api/export/stream?camera_id=%1&from=%2&to=%3&origin=%4&init=%5")
        .arg(camera, iso(fromMs), iso(toMs), iso(originMs))
        .arg(init ? 1 : 0);
}

QList<QJsonObject> TestArchiveApi::segments(const QString &camera, qint64 fromMs, int limit)
{
    QList<QJsonObject> list;
    const QString path
        = QString("/client-api/cameras/%1/segments?from=%2&limit=%3").arg(camera, iso(fromMs)).arg(limit);
    const QJsonArray array = m_recorder.get(path).array;
    for (const auto &segment : array)
        list.append(segment.toObject());
    return list;
}

std::pair<qint64, qint64> TestArchiveApi::gap(const QString &camera, qint64 longerThanMs)
{
    const QString path = QString("/client-api/cameras/%1/timeline?from=%2&to=%3")
                             .arg(camera, iso(m_nowMs - 86400000), iso(m_nowMs));
    const QJsonArray spans = m_recorder.get(path).array;
    for (qsizetype i = 1; i < spans.size(); ++i) {
        const qint64 from = ms(spans[i - 1].toObject()["end"]);
        const qint64 to = ms(spans[i].toObject()["start"]);
        if (to - from > longerThanMs)
            return {from, to};
    }
    return {};
}

void TestArchiveApi::rangesAndTimelinesAgree()
{
    const QJsonObject range = m_recorder.get("/client-api/cameras/cam-002/recording-range").object;
    QVERIFY(ms(range["earliest"]) <= m_nowMs - 7 * 86400000LL);
    QVERIFY(ms(range["latest"]) > m_nowMs - 32000 && ms(range["latest"]) <= m_nowMs + 30000);
    const QString path = QString("/client-api/cameras/cam-002/timeline?from=%1&to=%2")
                             .arg(iso(m_nowMs - 10 * 86400000LL), iso(m_nowMs + 86400000));
    const QJsonArray spans = m_recorder.get(path).array;
    QCOMPARE(spans.first().toObject()["start"], range["earliest"]);
    QVERIFY(ms(spans.last().toObject()["end"]) >= ms(range["latest"]));

    const qint64 cutFrom = m_nowMs / 1000 * 1000 - 7200123;
    const QJsonArray cut = m_recorder
                               .get(QString("/client-api/cameras/cam-001/timeline?from=%1&to=%2")
                                        .arg(iso(cutFrom), iso(cutFrom + 5500)))
                               .array;
    QCOMPARE(cut, (QJsonArray{QJsonObject{{"start", iso(cutFrom)}, {"end", iso(cutFrom + 5500)}}}));

    const auto empty = m_recorder.get("/client-api/cameras/cam-013/recording-range");
    QCOMPARE(empty.status, 200);
    QVERIFY(empty.object["earliest"].isNull() && empty.object["latest"].isNull());
}

void TestArchiveApi::batchTimeline()
{
    const QJsonObject body{{"camera_ids", QJsonArray{"cam-003", "cam-013", "cam-099"}},
        {"from", iso(m_nowMs - 86400000)}, {"to", iso(m_nowMs)}};
    const QJsonObject answer = m_recorder.post("/client-api/playback/batch-timeline", body).object;
    const QJsonObject perCamera = answer["per_camera"].toObject();
    QCOMPARE(perCamera.keys(), (QStringList{"cam-003", "cam-013", "cam-099"}));
    QVERIFY(perCamera["cam-003"].toArray().size() > 24);
    QCOMPARE(answer["merged"], perCamera["cam-003"]);
    QVERIFY(perCamera["cam-013"].toArray().isEmpty());

    QJsonObject two = body;
    two["camera_ids"] = QJsonArray{"cam-001", "cam-003"};
    const QJsonArray merged
        = m_recorder.post("/client-api/playback/batch-timeline", two).object["merged"].toArray();
    QCOMPARE(merged.size(), 1);
}

void TestArchiveApi::badRequests_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("status");
    const std::pair<const char *, int> paths[]{{"/cameras/cam-099/recording-range", 404},
        {"/cameras/cam-099/timeline?from=2025-01-01T00:00:00Z&to=2025-01-02T00:00:00Z", 404},
        {"/cameras/cam-001/timeline", 400}, {"/cameras/cam-001/timeline?from=yesterday&to=today", 400},
        {"/cameras/cam-001/timeline?from=2025-01-02T00:00:00Z&to=2025-01-01T00:00:00Z", 400},
        {"/cameras/cam-001/timeline?from=1925-01-02T00:00:00Z&to=2025-01-01T00:00:00Z", 400},
        {"/cameras/cam-001/timeline?from=2020-01-02T00:00:00Z&to=2025-01-01T00:00:00Z", 400},
        {"/cameras/cam-001/segments?from=now", 400},
        {"/cameras/cam-001/segments?from=2025-01-01T00:00:00Z&limit=-1", 400},
        {"/cameras/cam-001/segments?from=2025-01-01T00:00:00Z&limit=all", 400}, {"/segments/12/file", 404},
        {"/segments/99999999999999999999/file", 404}, {"/segments/x/file", 404},
        {"/export/stream?camera_id=cam-001", 400}, {"/export/stream?camera_id=cam-099", 404}};
    for (const auto &[path, status] : paths)
        QTest::newRow(path) << QString("/client-api%1").arg(path) << status;
}

void TestArchiveApi::badRequests()
{
    QFETCH(QString, path);
    const auto answer = m_recorder.get(path);
    QTEST(answer.status, "status");
    QVERIFY(!answer.object["error"].toString().isEmpty());
    const QByteArray token = m_recorder.token();
    m_recorder.setToken("made-up");
    QCOMPARE(m_recorder.get(path).status, 401);
    m_recorder.setToken(token);
}

void TestArchiveApi::segmentsComeInPages()
{
    const qint64 from = m_nowMs - 3 * 3600000LL;
    const QList<QJsonObject> whole = segments("cam-003", from, 100);
    QCOMPARE(whole.size(), 100);
    QVERIFY(ms(whole.first()["end_time"]) > from && ms(whole.first()["start_time"]) <= from + 600000);
    QList<QJsonObject> pages = segments("cam-003", from, 1);
    while (pages.size() < 100) {
        const QList<QJsonObject> page = segments("cam-003", ms(pages.last()["end_time"]), 33);
        QCOMPARE(page.size(), 33);
        pages += page;
    }
    QCOMPARE(pages, whole);
    QVERIFY(segments("cam-003", m_nowMs + 86400000, 20).isEmpty());
}

void TestArchiveApi::segmentFileShowsItsTime()
{
    const qint64 gapStart = gap("cam-003", 2000).first;
    const QList<QJsonObject> candidates{segments("cam-003", gapStart - 60000, 1).value(0),
        segments("cam-003", gapStart - 1, 1).value(0),
        segments("cam-001", m_nowMs - 6 * 86400000LL, 1).value(0)};
    for (const QJsonObject &segment : candidates) {
        const QString path = QString("/client-api/segments/%1/file?node=%2")
                                 .arg(segment["id"].toInteger())
                                 .arg(segment["node_id"].toString());
        const QByteArray file = m_recorder.get(path).body;
        QCOMPARE(file.size(), segment["file_size"].toInteger());
        const Decoded decoded = Decoder::decodeMp4(file, mainSize);
        QCOMPARE(decoded.complaints, QByteArray());
        QList<FrameInstant> expected;
        for (qint64 at = ms(segment["start_time"]) / 1000; at < ms(segment["end_time"]) / 1000; ++at) {
            for (int frame = 0; frame < FrameInstant::framesPerSecond; ++frame)
                expected.append({at, frame});
        }
        QCOMPARE(decoded.instants(), expected);
        QCOMPARE(m_recorder.get(path + "x").status, 404);
    }
    QCOMPARE(ms(candidates[1]["end_time"]), gapStart);
}

void TestArchiveApi::byteRanges_data()
{
    QTest::addColumn<QByteArray>("range");
    QTest::addColumn<int>("status");
    QTest::addColumn<qint64>("first");
    QTest::addColumn<qint64>("length"); // from the end when first is negative; -1: to the end
    QTest::newRow("from and to") << QByteArray("bytes=100-199") << 206 << qint64(100) << qint64(100);
    QTest::newRow("one byte") << QByteArray("bytes=0-0") << 206 << qint64(0) << qint64(1);
    QTest::newRow("open") << QByteArray("bytes=1000-") << 206 << qint64(1000) << qint64(-1);
    QTest::newRow("suffix") << QByteArray("bytes=-500") << 206 << qint64(-500) << qint64(500);
    QTest::newRow("beyond the end") << QByteArray("bytes=1000-99999999") << 206 << qint64(1000) << qint64(-1);
    QTest::newRow("long suffix") << QByteArray("bytes=-99999999") << 206 << qint64(0) << qint64(-1);
    QTest::newRow("after the end") << QByteArray("bytes=99999999-") << 416 << qint64(0) << qint64(0);
    QTest::newRow("empty suffix") << QByteArray("bytes=-0") << 416 << qint64(0) << qint64(0);
    QTest::newRow("two ranges") << QByteArray("bytes=0-1,5-6") << 200 << qint64(0) << qint64(-1);
    QTest::newRow("reversed") << QByteArray("bytes=6-5") << 200 << qint64(0) << qint64(-1);
    QTest::newRow("other unit") << QByteArray("lines=1-2") << 200 << qint64(0) << qint64(-1);
    QTest::newRow("nonsense") << QByteArray("bytes=a-b") << 200 << qint64(0) << qint64(-1);
}

void TestArchiveApi::byteRanges()
{
    QFETCH(QByteArray, range);
    QFETCH(qint64, first);
    QFETCH(qint64, length);
    const qint64 id = segments("cam-001", m_nowMs - 3600000, 1).value(0)["id"].toInteger();
    const QString path = QString("/client-api/segments/%1/file").arg(id);
    const QByteArray whole = m_recorder.get(path).body;
    const auto answer = m_recorder.ask("GET", path, "", {{"Range", range}});
    QTEST(answer.status, "status");
    if (answer.status == 416) {
        QCOMPARE(answer.headers["content-range"], "bytes */" + QByteArray::number(whole.size()));
        return;
    }
    if (first < 0)
        first += whole.size();
    QVERIFY(answer.body == whole.mid(first, length));
    if (answer.status == 206) {
        const QByteArray expected = "bytes " + QByteArray::number(first) + '-'
            + QByteArray::number(first + answer.body.size() - 1) + '/' + QByteArray::number(whole.size());
        QCOMPARE(answer.headers["content-range"], expected);
    }
    QVERIFY(m_recorder.ask("HEAD", path, "", {{"Range", range}}).body.isEmpty());
}

// Three windows at odd instants, the second of them repeated after it broke off: every picture once and in
// order.
void TestArchiveApi::exportedWindowsJoin()
{
    const qint64 origin = m_nowMs / 1000 * 1000 - 2 * 86400000LL + 400;
    m_recorder.post("/demo/faults",
        {{"path", "/client-api/export"}, {"skip", 1}, {"times", 1}, {"cut_after_bytes", 100000}});
    QByteArray video;
    for (int window = 0; window < 3; ++window) {
        const QString path = exportPath(
            "cam-001", origin + window * 4000LL, origin + window * 4000LL + 4000, origin, window == 0);
        auto answer = m_recorder.get(path);
        if (window == 1) {
            QCOMPARE(answer.body.size(), 100000);
            answer = m_recorder.get(path);
        }
        QCOMPARE(answer.status, 200);
        QVERIFY(!answer.headers.contains("x-export-partial"));
        video += answer.body;
    }
    QCOMPARE(video.count("moov"), 1);
    const Decoded decoded = Decoder::decodeMp4(video, mainSize);
    QCOMPARE(decoded.complaints, QByteArray());
    const QList<FrameInstant> instants = decoded.instants();
    QCOMPARE(instants.size(), 13 * FrameInstant::framesPerSecond);
    for (qsizetype i = 0; i < instants.size(); ++i)
        QCOMPARE(instants[i],
            (FrameInstant{
                origin / 1000 + i / FrameInstant::framesPerSecond, int(i % FrameInstant::framesPerSecond)}));
}

void TestArchiveApi::exportLeavesOutGaps()
{
    const auto [gapFrom, gapTo] = gap("cam-003", 2000);
    const qint64 origin = gapFrom - 3000;
    const auto across = m_recorder.get(exportPath("cam-003", origin, gapTo + 2000, origin, true));
    QCOMPARE(across.status, 200);
    QCOMPARE(across.headers["x-export-partial"], "true");
    const Decoded decoded = Decoder::decodeMp4(across.body, mainSize);
    QCOMPARE(decoded.complaints, QByteArray());
    QCOMPARE(decoded.instants().size(), 5 * FrameInstant::framesPerSecond);
    QCOMPARE(decoded.instants().value(44).toMs(), gapFrom - 67);
    QCOMPARE(decoded.instants().value(45).toMs(), gapTo);

    const auto inside = m_recorder.get(exportPath("cam-003", gapFrom, gapTo, origin, true));
    QCOMPARE(inside.status, 204);
    QCOMPARE(inside.headers["x-export-partial"], "true");
    QVERIFY(inside.body.isEmpty());
    const auto sliver = m_recorder.get(exportPath("cam-001", m_nowMs / 1000 * 1000 - 600001 + 500,
        m_nowMs / 1000 * 1000 - 600001 + 501, m_nowMs / 1000 * 1000 - 700000, false));
    QCOMPARE(sliver.status, 204);
    QVERIFY(!sliver.headers.contains("x-export-partial"));
    QCOMPARE(m_recorder.get(exportPath("cam-013", origin, gapFrom, origin, true)).status, 204);
}

void TestArchiveApi::exportsAreLimited()
{
    const qint64 from = m_nowMs - 86400000;
    const QString path = exportPath("cam-001", from, from + 600000, from, true);
    QTcpSocket first;
    QTcpSocket second;
    for (QTcpSocket *socket : {&first, &second}) {
        socket->setReadBufferSize(1000);
        socket->connectToHost("127.0.0.1", m_recorder.httpPort());
        socket->write("GET " + path.toLatin1() + " HTTP/1.1\r\nAuthorization: Bearer " + m_recorder.token()
            + "\r\n\r\n");
        QTRY_VERIFY(socket->bytesAvailable() > 0);
        QVERIFY(socket->peek(12) == "HTTP/1.1 200");
    }
    const auto busy = m_recorder.get(path);
    QCOMPARE(busy.status, 429);
    QVERIFY(!busy.object["error"].toString().isEmpty());
    second.abort();
    const QString small = exportPath("cam-001", from, from + 1000, from, true);
    QTRY_COMPARE(m_recorder.get(small).status, 200);
    QCOMPARE(m_recorder.get(small).status, 200);
}

QTEST_MAIN(TestArchiveApi)
#include "tst_ArchiveApi.moc"
