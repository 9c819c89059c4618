#include "archive/ExportModel.h"
#include "support/LogCapture.h"
#include "support/SignedIn.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

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
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = m_folder->filePath("out.mp4");
        m_server = std::make_unique<ScriptedServer>();
        m_client = signedIn(*m_server);
        m_log = std::make_unique<LogCapture>();
        m_model = std::make_unique<ExportModel>(m_client.get());
        m_finished = std::make_unique<QSignalSpy>(m_model.get(), &ExportModel::downloadFinished);
        m_failed = std::make_unique<QSignalSpy>(m_model.get(), &ExportModel::downloadFailed);
        m_cancelled = std::make_unique<QSignalSpy>(m_model.get(), &ExportModel::downloadCancelled);
        m_delays.clear();
    }

    void cleanup()
    {
        m_model.reset();
        const QString logged = m_log->taken().join('\n');
        QVERIFY2(!logged.contains("secret-token"), qPrintable(logged));
        m_log.reset();
        m_client.reset();
        m_server.reset();
    }

    void cutsWindows()
    {
        for (const auto &[from, to] :
            QList<std::pair<QDateTime, QDateTime>>{{start, start}, {{}, start}, {start, {}}})
            m_model->exportDirect("cam", from, to, QUrl::fromLocalFile(m_path));
        QVERIFY(!m_model->downloading());

        for (const QList<qint64> &ends : {QList<qint64>{1}, {windowMs}, {windowMs, windowMs + 1}}) {
            const qsizetype before = m_server->requests().size();
            begin(ends.last(), Answers(ends.size(), Answer{200, "x"}));
            pump();
            QCOMPARE(m_finished->takeFirst().first().toString(), m_path);
            QCOMPARE(m_model->progress(), 1.0);
            const auto requests = m_server->requests().mid(before);
            QCOMPARE(requests.size(), ends.size());
            qint64 from = 0;
            for (qsizetype i = 0; i < ends.size(); ++i) {
                const auto sent = [&](const char *key) {
                    return start.msecsTo(QDateTime::fromString(requests[i].item(key), Qt::ISODateWithMs));
                };
                QCOMPARE(sent("from"), from);
                QCOMPARE(sent("to"), ends[i]);
                QCOMPARE(sent("origin"), 0);
                QCOMPARE(requests[i].item("camera_id"), "cam 1");
                QCOMPARE(requests[i].headers["authorization"], "Bearer " + QByteArray("secret-token"));
                from = ends[i];
            }
        }
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

        row("three windows", {first, second, third}, all, "100", {});
        row("no footage at first", {none, second, third}, content(1) + content(2), "110", {});
        row("empty answer has no header", {{200}, second, none}, content(1), "110", {});
        row("gap inside, said once", {partial(first), second, third}, all, "100", {}, true);
        row("gap in an empty window", {first, partial(none), third}, content(0) + content(2), "100", {},
            true);
        row("first window breaks", {broken(0), first, second, third}, all, "1100", {1000});
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
        QVERIFY(m_model->downloading());
        QVERIFY(!QFile::exists(m_path));
        pump();

        QCOMPARE(m_finished->count(), 1);
        QVERIFY(saved() == written);
        QCOMPARE(leftovers(), QStringList{"out.mp4"});
        QCOMPARE(m_model->downloadedBytes(), written.size());
        QCOMPARE(m_delays, delays);
        QCOMPARE(m_model->partial(), isPartial);
        QVERIFY(m_model->error().isEmpty());
        QString sent;
        for (const auto &request : m_server->asked("export/stream"))
            sent += request.item("init");
        QCOMPARE(sent, inits);
    }

    void givesUpAfterFiveFailures()
    {
        QFile before(m_path);
        QVERIFY(before.open(QIODevice::WriteOnly) && before.write("older export") > 0);
        before.close();

        const Answer refused = Answer{500, R"({"error":"archive is offline"})"};
        begin(windowMs, {broken(0), refused, refused, broken(0), refused, {200, content(0)}});
        pump();
        QCOMPARE(m_failed->count(), 1);
        QCOMPARE(m_failed->first().first().toString(), "archive is offline");
        QCOMPARE(m_model->error(), "archive is offline");
        QCOMPARE(m_delays, (QList<int>{1000, 2000, 4000, 8000}));
        QCOMPARE(saved(), "older export");
        QCOMPARE(leftovers(), QStringList{"out.mp4"});

        begin(windowMs, {{200, content(0)}});
        QVERIFY(m_model->error().isEmpty());
        pump();
        QVERIFY(saved() == content(0));
    }

    void givesUpWhenBusyForTooLong()
    {
        begin(windowMs, Answers(121, Answer{429}) + Answers{{200, content(0)}});
        pump();
        QCOMPARE(m_failed->count(), 1);
        QCOMPARE(m_delays, QList<int>(120, 5000));
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
            QTRY_COMPARE(m_server->asked("export/stream").size(), failures);
            if (failures == 1)
                QTRY_VERIFY(m_model->downloadedBytes() > 0);
            QCOMPARE(timer("stallTimer")->interval(), 60'000);
            timer("stallTimer")->start(0);
            QTRY_VERIFY(timer("retryTimer")->isActive());
            timer("retryTimer")->start(0);
        }
        pump();
        QCOMPARE(m_finished->count(), 1);
        QVERIFY(saved() == content(0));
    }

    void stops_data()
    {
        QTest::addColumn<Answers>("answers");
        QTest::addColumn<QString>("when");
        QTest::addColumn<bool>("bySigningOut");
        const Answer hanging{.body = content(0), .hangAfter = 100'000};
        QTest::newRow("before the answer") << Answers{{.held = true}} << "asked" << false;
        QTest::newRow("inside a window") << Answers{{200, content(0)}, hanging} << "data" << false;
        QTest::newRow("while waiting to retry") << Answers{{500}} << "retry" << false;
        QTest::newRow("inside a window, signed out") << Answers{hanging} << "data" << true;
        QTest::newRow("while waiting to retry, signed out") << Answers{{500}} << "retry" << true;
    }

    void stops()
    {
        QFETCH(Answers, answers);
        QFETCH(QString, when);
        QFETCH(bool, bySigningOut);
        begin(2 * windowMs, answers);
        QTRY_COMPARE(m_server->asked("export/stream").size(), answers.size());
        if (when == "data")
            QTRY_VERIFY(m_model->downloadedBytes() > 0);
        if (when == "retry")
            QTRY_VERIFY(timer("retryTimer")->isActive());

        if (bySigningOut) {
            m_model->endSession();
            QCOMPARE(m_failed->count(), 1);
            QCOMPARE(m_model->error(), "The session ended before the export was complete");
        } else {
            m_model->cancel();
            m_model->cancel();
            QCOMPARE(m_cancelled->count(), 1);
            QCOMPARE(m_model->downloadedBytes(), 0);
            QCOMPARE(m_model->progress(), 0.0);
        }
        QVERIFY(!m_model->downloading());
        QCOMPARE(leftovers(), QStringList());
        QVERIFY(!timer("retryTimer")->isActive());

        begin(windowMs, {{200, content(0)}});
        QCOMPARE(m_model->error(), QString());
        pump();
        QVERIFY(saved() == content(0));
        QCOMPARE(m_model->savedPath(), m_path);
        QCOMPARE(m_failed->count() + m_cancelled->count(), 1);
        m_model->endSession();
        QCOMPARE(m_model->savedPath(), QString());
    }

    void cancelledWhileSaving()
    {
        begin(windowMs, {{200, content(0)}});
        connect(m_model.get(), &ExportModel::progressChanged, m_model.get(), &ExportModel::cancel,
            Qt::QueuedConnection);
        QTRY_VERIFY(!m_model->downloading());
        QCOMPARE(m_cancelled->count() + m_finished->count(), 1);
        QCOMPARE(leftovers().isEmpty(), m_cancelled->count() == 1);
    }

    void unwritablePath()
    {
        m_path = m_folder->filePath("no/such/folder/out.mp4");
        begin(windowMs, {{200, content(0)}});
        QVERIFY(!m_model->downloading());
        QCOMPARE(m_failed->count(), 1);
        QCOMPARE(m_model->error(), "Cannot write to " + m_path);
        m_model->exportDirect("cam", start, start.addSecs(1), QUrl("https://example.com/out.mp4"));
        QCOMPARE(m_failed->count(), 2);
        QVERIFY(m_server->asked("export/stream").isEmpty());
    }

    void suggestsFileNames()
    {
        const QDateTime from({2024, 5, 3}, {14, 5});
        const QDateTime to({2024, 5, 3}, {14, 20});
        QCOMPARE(m_model->suggestFileName("Gate 1/North", from, to),
            "Gate_1_North_2024-05-03_14-05_2024-05-03_14-20.mp4");
        QCOMPARE(m_model->suggestFileName("Въезд-2 (юг)\\..:*", from, to),
            "Въезд-2__юг_______2024-05-03_14-05_2024-05-03_14-20.mp4");
    }

private:
    // Starts an export that is given these answers, and then "404" for ever.
    void begin(qint64 lengthMs, const Answers &answers)
    {
        auto left = std::make_shared<Answers>(answers);
        m_server->otherwise(
            [left](const auto &) { return left->isEmpty() ? Answer{.status = 404} : left->takeFirst(); });
        m_model->exportDirect("cam 1", start, start.addMSecs(lengthMs), QUrl::fromLocalFile(m_path));
    }

    // Runs the export to its end without waiting for its retry delays, which are noted.
    void pump()
    {
        QTimer *retry = timer("retryTimer");
        while (m_model->downloading()) {
            if (retry->isActive()) {
                m_delays.append(retry->interval());
                retry->start(0);
                QTRY_VERIFY(!retry->isActive() || retry->interval() > 0);
            } else {
                QTest::qWait(1);
            }
        }
    }

    QByteArray saved() const
    {
        QFile file(m_path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }

    QTimer *timer(const char *name) const { return m_model->findChild<QTimer *>(name); }
    QStringList leftovers() const { return QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden); }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<ApiClient> m_client;
    std::unique_ptr<LogCapture> m_log;
    std::unique_ptr<ExportModel> m_model;
    std::unique_ptr<QSignalSpy> m_finished;
    std::unique_ptr<QSignalSpy> m_failed;
    std::unique_ptr<QSignalSpy> m_cancelled;
    QString m_path;
    QList<int> m_delays;
};

QTEST_GUILESS_MAIN(ExportModelTest)
#include "tst_ExportModel.moc"
