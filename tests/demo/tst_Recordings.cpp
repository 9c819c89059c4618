#include "archive/Recordings.h"
#include "state/Cameras.h"
#include "state/StateFile.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace demo;

namespace {

constexpr qint64 day = 24 * 3600;
constexpr qint64 noon = 1763726400; // 2025-11-21 12:00:00 UTC

} // namespace

/// What is on record, under a clock that the test holds.
class RecordingsTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_now = noon;
        m_state = std::make_unique<StateFile>(m_folder.path());
        m_cameras = std::make_unique<Cameras>(*m_state);
        m_cameras->setCount(13);
        m_recordings = std::make_unique<Recordings>(*m_cameras, [this] { return m_now; });
    }

    void segmentsTileTheRecordedTime()
    {
        for (int i = 0; i < 8; ++i) {
            const Camera &camera = m_cameras->all()[i];
            const qint64 from = noon - day;
            const QList<Segment> segments = m_recordings->segments(camera, from * 1000, 100000);
            QList<Seconds> times;
            QSet<qint64> ids;
            for (const Segment &segment : segments) {
                QVERIFY(segment.time.to - segment.time.from <= Recordings::segmentSeconds);
                QVERIFY(times.isEmpty() || times.last().to <= segment.time.from);
                times.append(segment.time);
                ids.insert(segment.id);
            }
            QCOMPARE(ids.size(), segments.size());
            QCOMPARE(RecordingPlan::merge(times), m_recordings->recorded(camera, {from, noon}));
        }
    }

    void segmentsAreFoundByTimeAndId()
    {
        const Camera &camera = m_cameras->all()[2];
        const QList<Segment> all = m_recordings->segments(camera, 0, 100000);
        const auto firstAfter = [&](qint64 ms) {
            const QList<Segment> found = m_recordings->segments(camera, ms, 1);
            return found.isEmpty() ? qint64(-1) : found.first().id;
        };
        for (qsizetype i = 1; i < all.size(); i += 37) {
            QCOMPARE(firstAfter(all[i].time.to * 1000 - 1), all[i].id);
            QCOMPARE(firstAfter(all[i - 1].time.to * 1000), all[i].id);
            QCOMPARE(m_recordings->segment(all[i].id)->time, all[i].time);
            QVERIFY(!m_recordings->segment(all[i].id + 1));
        }
        QCOMPARE(firstAfter(all.last().time.to * 1000), -1);
        for (const qint64 id : {qint64(-5), std::numeric_limits<qint64>::max(), all.last().id + 30})
            QVERIFY(!m_recordings->segment(id));
    }

    void failingCamerasAreNotRecorded()
    {
        const Camera &camera = m_cameras->all()[0];
        m_cameras->setState(camera.id, "offline", "gone");
        m_now += 300;
        QCOMPARE(m_recordings->range(camera)->to, noon);
        m_cameras->setState(camera.id, "recording", {});
        m_now += 300;
        QCOMPARE(m_recordings->recorded(camera, {noon - 60, m_now}),
            (QList<Seconds>{{noon - 60, noon}, {noon + 300, noon + 570}}));
    }

private:
    QTemporaryDir m_folder;
    qint64 m_now = noon;
    std::unique_ptr<StateFile> m_state;
    std::unique_ptr<Cameras> m_cameras;
    std::unique_ptr<Recordings> m_recordings;
};

QTEST_GUILESS_MAIN(RecordingsTest)
#include "tst_Recordings.moc"
