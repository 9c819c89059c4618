#include "app/CrashReporting.h"
#include "support/ScriptedServer.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

// What really arrives at a collector when the program reports over the SDK. The reporting program is this
// one, started again.
class SentryReportsTest : public QObject
{
    Q_OBJECT

private slots:
    void reports()
    {
        ScriptedServer collector;
        collector.on("POST /api/42/envelope/", QByteArray("{}"));
        const QTemporaryDir data;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_DATA_HOME", data.path());
        environment.insert("ZORVEL_SENTRY_DSN", QString("http://key@127.0.0.1:%1/42").arg(collector.port()));
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QCoreApplication::applicationFilePath(), {"--report"});
        QTRY_COMPARE_WITH_TIMEOUT(process.state(), QProcess::NotRunning, 20'000);
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        for (const auto &request : collector.requests())
            keepItems(request.body);

        const QJsonObject error = event("client");
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

        QCOMPARE(event("qt")["level"], "error");
        QVERIFY(!event("qt")["user"].toObject().contains("username"));
        QStringList logs;
        for (const QJsonObject &log : m_items.values("log")) {
            for (const QJsonValue record : log["items"].toArray())
                logs.append(record["level"].toString() + u'|' + record["body"].toString());
        }
        QCOMPARE(logs, QStringList({"warn|100 % of a warning", "error|a critical message"}));
    }

private:
    // An envelope is a line of its own header, then for each item a header line and a line of payload.
    void keepItems(const QByteArray &envelope)
    {
        const QByteArrayList lines = envelope.split('\n').mid(1);
        for (qsizetype i = 0; i + 1 < lines.size(); i += 2) {
            const QString type = QJsonDocument::fromJson(lines[i]).object()["type"].toString();
            m_items.insert(type, QJsonDocument::fromJson(lines[i + 1]).object());
        }
    }

    // The event from that logger, if there is just one.
    QJsonObject event(const QString &logger) const
    {
        QList<QJsonObject> events = m_items.values("event");
        events.removeIf([&](const QJsonObject &event) { return event["logger"] != logger; });
        return events.size() == 1 ? events.first() : QJsonObject();
    }

    QMultiMap<QString, QJsonObject> m_items;
};

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
    SentryReportsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_SentryReports.moc"
