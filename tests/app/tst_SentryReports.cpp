#include "app/CrashReporting.h"
#include "support/ScriptedServer.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <stdexcept>

namespace {

struct Item
{
    QString type;
    QJsonObject payload;
};

// An envelope is a line of its own header, then for each item a header line with the payload's length, and
// the payload.
QList<Item> itemsOf(QByteArray envelope)
{
    const auto takeLine = [&envelope] {
        const qsizetype end = envelope.indexOf('\n');
        const QByteArray line = envelope.left(end);
        envelope.remove(0, end < 0 ? envelope.size() : end + 1);
        return line;
    };
    QList<Item> items;
    takeLine();
    while (!envelope.isEmpty()) {
        const QJsonObject header = QJsonDocument::fromJson(takeLine()).object();
        const qsizetype length = header["length"].toInteger();
        items.append({header["type"].toString(), QJsonDocument::fromJson(envelope.left(length)).object()});
        envelope.remove(0, length + 1);
    }
    return items;
}

} // namespace

// What really arrives at a collector when the program reports over the SDK. The reporting program is this
// one, started again with the part to play.
class SentryReportsTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void events();
    void uncaughtException();

private:
    void play(const QString &part, QProcess::ExitStatus status);
    QList<QJsonObject> events(const QString &logger) const;

    std::unique_ptr<ScriptedServer> m_collector;
    QList<Item> m_items;
};

void SentryReportsTest::init()
{
    m_collector = std::make_unique<ScriptedServer>();
    m_collector->on("POST /api/42/envelope/", QByteArray("{}"));
}

void SentryReportsTest::cleanup()
{
    m_collector.reset();
    m_items.clear();
}

void SentryReportsTest::play(const QString &part, QProcess::ExitStatus status)
{
    const QTemporaryDir data;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_DATA_HOME", data.path());
    environment.insert(
        "ZORVEL_SENTRY_DSN", QStringLiteral("http://key@127.0.0.1:%1/42").arg(m_collector->port()));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(), {part});
    QTRY_COMPARE_WITH_TIMEOUT(process.state(), QProcess::NotRunning, 20'000);
    QCOMPARE(process.exitStatus(), status);
    for (const auto &request : m_collector->requestsTo("POST /api/42/envelope/")) {
        if (qEnvironmentVariableIsSet("ZORVEL_SHOW_ENVELOPES")) {
            qInfo("%s", request.body.constData());
        }
        m_items += itemsOf(request.body);
    }
}

QList<QJsonObject> SentryReportsTest::events(const QString &logger) const
{
    QList<QJsonObject> found;
    for (const Item &item : m_items) {
        if (item.type == "event" && item.payload["logger"] == logger) {
            found.append(item.payload);
        }
    }
    return found;
}

void SentryReportsTest::events()
{
    play("--report", QProcess::NormalExit);

    QCOMPARE(events("client").size(), 1);
    const QJsonObject error = events("client").first();
    QCOMPARE(error["level"], "error");
    QCOMPARE(error["message"].toObject()["formatted"], "mpv_render_context_create failed");
    QCOMPARE(error["environment"], "production");
    QVERIFY(error["release"].toString().startsWith("zorvel-client@1.0.0+"));
    QCOMPARE(error["user"].toObject()["username"], "olga");
    QCOMPARE(error["tags"].toObject()["component"], "client");
    QCOMPARE(error["tags"].toObject()["server"], "http://127.0.0.1:8090");
    const QJsonArray breadcrumbs = error["breadcrumbs"].toArray();
    QCOMPARE(breadcrumbs.size(), 2);
    QCOMPARE(breadcrumbs[1]["category"], "ws");
    QCOMPARE(breadcrumbs[1]["level"], "warning");
    QCOMPARE(breadcrumbs[1]["message"], "disconnected, will reconnect");
    QVERIFY(breadcrumbs[1]["type"].isUndefined());

    QCOMPARE(events("qt").size(), 1);
    QCOMPARE(events("qt").first()["level"], "error");
    QVERIFY(!events("qt").first()["user"].toObject().contains("username"));

    QStringList logs;
    for (const Item &item : m_items) {
        if (item.type == "log") {
            for (const QJsonValue record : item.payload["items"].toArray()) {
                logs.append(record["level"].toString() + u'|' + record["body"].toString());
            }
        }
    }
    QCOMPARE(logs, QStringList({"warn|100 % of a warning", "error|a critical message"}));
}

void SentryReportsTest::uncaughtException()
{
    play("--throw", QProcess::CrashExit);
    QCOMPARE(events("terminate").size(), 1);
    const QJsonObject event = events("terminate").first();
    QCOMPARE(event["level"], "fatal");
    QCOMPARE(event["message"].toObject()["formatted"], "unhandled C++ exception (std::terminate)");
}

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    if (application.arguments().contains("--report")) {
        initCrashReporting();
        setCrashUser("olga", "http://127.0.0.1:8090");
        addBreadcrumb("auth", "login succeeded", "info");
        addBreadcrumb("ws", "disconnected, will reconnect", "warning");
        captureError("mpv_render_context_create failed");
        qWarning("100 %% of a warning");
        clearCrashUser();
        qCritical("a critical message");
        closeCrashReporting();
        return 0;
    }
    if (application.arguments().contains("--throw")) {
        initCrashReporting();
        throw std::runtime_error("thrown by the test");
    }
    SentryReportsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_SentryReports.moc"
