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
class ArchiveApiTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_recorder.signIn(); }

    void cleanup() { m_recorder.ask("DELETE", "/demo/faults"); }

    void rangesAndTimelinesAgree()
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

    void badRequests()
    {
        const std::pair<const char *, int> paths[]{{"/cameras/cam-099/recording-range", 404},
            {"/cameras/cam-001/timeline?from=yesterday&to=today", 400},
            {"/cameras/cam-001/timeline?from=2025-01-02T00:00:00Z&to=2025-01-01T00:00:00Z", 400},
            {"/cameras/cam-001/timeline?from=1925-01-02T00:00:00Z&to=2025-01-01T00:00:00Z", 400},
            {"/cameras/cam-001/segments?from=2025-01-01T00:00:00Z&limit=-1", 400},
            {"/segments/99999999999999999999/file", 404}, {"/segments/x/file", 404},
            {"/export/stream?camera_id=cam-001", 400}, {"/export/stream?camera_id=cam-099", 404}};
        const QByteArray token = m_recorder.token();
        for (const auto &[path, status] : paths) {
            const auto answer = m_recorder.get(QString("/client-api%1").arg(path));
            QVERIFY2(answer.status == status && !answer.object["error"].toString().isEmpty(), path);
            m_recorder.setToken("made-up");
            QCOMPARE(m_recorder.get(QString("/client-api%1").arg(path)).status, 401);
            m_recorder.setToken(token);
        }
    }

    void segmentFileShowsItsTime()
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

    void byteRanges()
    {
        const qint64 id = segments("cam-001", m_nowMs - 3600000, 1).value(0)["id"].toInteger();
        const QString path = QString("/client-api/segments/%1/file").arg(id);
        const QByteArray whole = m_recorder.get(path).body;
        const qint64 size = whole.size();
        struct
        {
            QByteArray range;
            qint64 first;
            qint64 last;
        } const parts[]{{"bytes=100-199", 100, 199}, {"bytes=0-0", 0, 0}, {"bytes=1000-", 1000, size - 1},
            {"bytes=-500", size - 500, size - 1}, {"bytes=1000-99999999", 1000, size - 1},
            {"bytes=-99999999", 0, size - 1}};
        for (const auto &[range, first, last] : parts) {
            const auto answer = m_recorder.ask("GET", path, "", {{"Range", range}});
            QCOMPARE(answer.status, 206);
            QVERIFY2(answer.body == whole.mid(first, last - first + 1), range);
            const auto where = QString("bytes %1-%2/%3").arg(first).arg(last).arg(size);
            QCOMPARE(answer.headers["content-range"], where.toLatin1());
        }
        for (const QByteArray range : {"bytes=99999999-", "bytes=-0"})
            QCOMPARE(m_recorder.ask("GET", path, "", {{"Range", range}}).status, 416);
        for (const QByteArray range : {"bytes=0-1,5-6", "bytes=6-5", "lines=1-2", "bytes=a-b"})
            QCOMPARE(m_recorder.ask("GET", path, "", {{"Range", range}}).status, 200);
        QVERIFY(m_recorder.ask("HEAD", path).body.isEmpty());
    }

    // Three windows at odd instants, the second of them repeated after it broke off: every picture once and
    // in order.
    void exportedWindowsJoin()
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
                (FrameInstant{origin / 1000 + i / FrameInstant::framesPerSecond,
                    int(i % FrameInstant::framesPerSecond)}));
    }

    void exportLeavesOutGaps()
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

private:
    QString exportPath(const QString &camera, qint64 fromMs, qint64 toMs, qint64 originMs, bool init) const
    {
        return QString("/client-api/export/stream?camera_id=%1&from=%2&to=%3&origin=%4&init=%5")
            .arg(camera, iso(fromMs), iso(toMs), iso(originMs))
            .arg(init ? 1 : 0);
    }

    QList<QJsonObject> segments(const QString &camera, qint64 fromMs, int limit)
    {
        QList<QJsonObject> list;
        const QString path
            = QString("/client-api/cameras/%1/segments?from=%2&limit=%3").arg(camera, iso(fromMs)).arg(limit);
        const QJsonArray array = m_recorder.get(path).array;
        for (const auto &segment : array)
            list.append(segment.toObject());
        return list;
    }

    /// The first gap of a camera that is longer than a second count, as a span in ms.
    std::pair<qint64, qint64> gap(const QString &camera, qint64 longerThanMs)
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

    RecorderFixture m_recorder{13};
    const qint64 m_nowMs = QDateTime::currentMSecsSinceEpoch();
};

QTEST_MAIN(ArchiveApiTest)
#include "tst_ArchiveApi.moc"
