#include "archive/ExportModel.h"
#include "support/LogCapture.h"
#include "support/SignedIn.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

using Answer = ScriptedServer::Answer;
using Answers = QList<Answer>;
Q_DECLARE_METATYPE(Answer)

namespace {

constexpr qint64 windowMs = 300'000;
const QDateTime start({2024, 5, 3}, {14, 5}, Qt::UTC);

QByteArray content(int window)
{
    QByteArray bytes(300'000 + window, char('a' + window));
    return bytes.replace(1000, 4, QByteArray::number(1000 + window));
}

Answer partial(Answer answer)
{
    answer.headers.append("X-Export-Partial: true");
    return answer;
}

Answer broken(int window)
{
    Answer answer{200, content(window)};
    answer.breakAfter = 200'000;
    return answer;
}

} // namespace

class ExportModelTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_rig.emplace(); }

    void cleanup()
    {
        const QString logged = m_rig->log.taken().join('\n');
        m_rig.reset();
        QVERIFY2(!logged.contains("secret-token"), qPrintable(logged));
    }

    void appendsWindowsAndRetries_data()
    {
        QTest::addColumn<Answers>("answers");
        QTest::addColumn<QByteArray>("written");
        QTest::addColumn<QString>("inits");
        QTest::addColumn<QList<int>>("delays");
        QTest::addColumn<bool>("isPartial");
        const Answer busy{429};
        const Answer none{204};

        const auto row = [](const char *name, const Answers &answers, const QByteArray &written,
                             const char *inits, const QList<int> &delays, bool isPartial = false) {
            QTest::newRow(name) << answers << written << inits << delays << isPartial;
        };
        const QByteArray all = content(0) + content(1) + content(2);
        const Answer first{200, content(0)};
        const Answer second{200, content(1)};
        const Answer third{200, content(2)};

        row("no footage at first", {none, second, third}, content(1) + content(2), "110", {});
        row("empty answer has no header", {{200}, second, none}, content(1), "110", {});
        row("gap inside, said once", {partial(first), second, third}, all, "100", {}, true);
        row("gap in an empty window", {first, partial(none), third}, content(0) + content(2), "100", {},
            true);
        row("middle window breaks four times",
            {first, broken(1), broken(1), {503, "busy"}, broken(1), second, third}, all, "1000000",
            {1000, 2000, 4000, 8000});
        row("counts start anew in each window", {broken(0), broken(0), first, broken(1), second, third}, all,
            "111000", {1000, 2000, 1000});
        row("busy does not count as failure", {busy, broken(0), busy, first, none, none}, content(0),
            "111100", {5000, 1000, 5000});
        row("a success of another kind is none", {{206, content(0)}, first, second, third}, all, "1100",
            {1000});
        row("partial counts only with success", {partial({500, "x"}), first, second, third}, all, "1100",
            {1000});
        row("nothing recorded at all", {none, none, none}, "", "111", {}, true);
    }

    void appendsWindowsAndRetries()
    {
        QFETCH(Answers, answers);
        QFETCH(QByteArray, written);
        QFETCH(QString, inits);
        QFETCH(QList<int>, delays);
        QFETCH(bool, isPartial);

        begin(3 * windowMs, answers);
        QVERIFY(m_rig->model.downloading());
        pump();

        QCOMPARE(m_rig->finished.count(), 1);
        QVERIFY(saved() == written);
        QCOMPARE(leftovers(), QStringList{"out.mp4"});
        QCOMPARE(m_rig->model.downloadedBytes(), written.size());
        QCOMPARE(m_rig->delays, delays);
        QCOMPARE(m_rig->model.partial(), isPartial);
        QVERIFY(m_rig->model.error().isEmpty());
        QString sent;
        for (const auto &request : m_rig->server.asked("export/stream"))
            sent += request.item("init");
        QCOMPARE(sent, inits);
    }

    void givesUpAfterFiveFailures()
    {
        QFile before(m_rig->path);
        QVERIFY(before.open(QIODevice::WriteOnly) && before.write("older export") > 0);
        before.close();

        const Answer refused = Answer{500, R"({"error":"archive is offline"})"};
        begin(windowMs, {broken(0), refused, refused, broken(0), refused, {200, content(0)}});
        pump();
        QCOMPARE(m_rig->failed.count(), 1);
        QCOMPARE(m_rig->model.error(), "archive is offline");
        QCOMPARE(m_rig->delays, (QList<int>{1000, 2000, 4000, 8000}));
        QCOMPARE(saved(), "older export");
        QCOMPARE(leftovers(), QStringList{"out.mp4"});
    }

    void givesUpWhenBusyForTooLong()
    {
        begin(windowMs, Answers(121, Answer{429}) + Answers{{200, content(0)}});
        pump();
        QCOMPARE(m_rig->failed.count(), 1);
        QCOMPARE(m_rig->delays, QList<int>(120, 5000));
        QCOMPARE(leftovers(), QStringList());
    }

    void silentServerCountsAsFailed()
    {
        Answer hanging{200, content(0)};
        hanging.hangAfter = 100'000;
        Answer silent;
        silent.held = true;
        begin(windowMs, {hanging, silent, {200, content(0)}});
        for (int failures = 1; failures <= 2; ++failures) {
            QTRY_COMPARE(m_rig->server.asked("export/stream").size(), failures);
            if (failures == 1)
                QTRY_VERIFY(m_rig->model.downloadedBytes() > 0);
            QCOMPARE(timer("stallTimer")->interval(), 60'000);
            timer("stallTimer")->start(0);
            QTRY_VERIFY(timer("retryTimer")->isActive());
            timer("retryTimer")->start(0);
        }
        pump();
        QCOMPARE(m_rig->finished.count(), 1);
        QVERIFY(saved() == content(0));
    }

    void cancelledWhileWaitingToRetry()
    {
        begin(2 * windowMs, {{200, content(0)}, {500}});
        QTRY_VERIFY(timer("retryTimer")->isActive());
        m_rig->model.cancel();
        m_rig->model.cancel();
        QCOMPARE(m_rig->cancelled.count(), 1);
        QVERIFY(!m_rig->model.downloading() && !timer("retryTimer")->isActive());
        QCOMPARE(leftovers(), QStringList());

        begin(windowMs, {{200, content(0)}});
        pump();
        QVERIFY(saved() == content(0));
        QCOMPARE(m_rig->failed.count() + m_rig->cancelled.count(), 1);
        QCOMPARE(m_rig->model.savedPath(), m_rig->path);
        m_rig->model.endSession();
        QCOMPARE(m_rig->model.savedPath(), QString());
    }

    void cancelledWhileSaving()
    {
        begin(windowMs, {partial({200, content(0)})});
        for (const auto step : {&ExportModel::cancel, &ExportModel::dismiss})
            connect(&m_rig->model, &ExportModel::progressChanged, &m_rig->model, step, Qt::QueuedConnection);
        QTRY_VERIFY(!m_rig->model.downloading());
        QCOMPARE(m_rig->cancelled.count() + m_rig->finished.count(), 1);
        QCOMPARE(leftovers().isEmpty(), m_rig->cancelled.count() == 1);
        QVERIFY(m_rig->model.partial());
    }

    void sessionEnds()
    {
        begin(windowMs, {{500}});
        QTRY_VERIFY(timer("retryTimer")->isActive());
        m_rig->model.endSession();
        QCOMPARE(m_rig->model.error(), "The session ended before the export was complete");
        QCOMPARE(leftovers(), QStringList());

        // While it is being saved.
        begin(windowMs, {{200, content(0)}});
        connect(&m_rig->model, &ExportModel::progressChanged, &m_rig->model, &ExportModel::endSession,
            Qt::QueuedConnection);
        QTRY_VERIFY(!m_rig->model.downloading());
        QCOMPARE(m_rig->model.savedPath() + m_rig->model.error(), "");
        QVERIFY(saved() == content(0));
    }

    void suggestsFileNames()
    {
        const QDateTime from({2024, 5, 3}, {14, 5});
        const QDateTime to({2024, 5, 3}, {14, 20});
        QCOMPARE(m_rig->model.suggestFileName("Въезд-2 (юг)\\..:*", from, to),
            "Въезд-2__юг_______2024-05-03_14-05_2024-05-03_14-20.mp4");
    }

private:
    // Starts an export that is given these answers, and then "404" for ever.
    void begin(qint64 lengthMs, const Answers &answers)
    {
        auto left = std::make_shared<Answers>(answers);
        m_rig->server.otherwise(
            [left](const auto &) { return left->isEmpty() ? Answer{.status = 404} : left->takeFirst(); });
        m_rig->model.exportDirect("cam 1", start, start.addMSecs(lengthMs), QUrl::fromLocalFile(m_rig->path));
    }

    // Runs the export to its end without waiting for its retry delays, which are noted.
    void pump()
    {
        QTimer *retry = timer("retryTimer");
        while (m_rig->model.downloading()) {
            if (retry->isActive()) {
                m_rig->delays.append(retry->interval());
                retry->start(0);
                QTRY_VERIFY(!retry->isActive() || retry->interval() > 0);
            } else {
                QTest::qWait(1);
            }
        }
    }

    QByteArray saved() const
    {
        QFile file(m_rig->path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }

    QTimer *timer(const char *name) const { return m_rig->model.findChild<QTimer *>(name); }
    QStringList leftovers() const { return QDir(m_rig->folder.path()).entryList(QDir::Files | QDir::Hidden); }

    struct Rig
    {
        QTemporaryDir folder;
        QString path = folder.filePath("out.mp4");
        ScriptedServer server;
        std::unique_ptr<ApiClient> client = signedIn(server);
        LogCapture log;
        ExportModel model{client.get()};
        QSignalSpy finished{&model, &ExportModel::downloadFinished};
        QSignalSpy failed{&model, &ExportModel::downloadFailed};
        QSignalSpy cancelled{&model, &ExportModel::downloadCancelled};
        QList<int> delays = {};
    };
    std::optional<Rig> m_rig;
};

QTEST_GUILESS_MAIN(ExportModelTest)
#include "tst_ExportModel.moc"
