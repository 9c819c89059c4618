#include "app/CrashReporting.h"

#include "BuildInfo.h"
#include "app/CrashBackend.h"
#include "app/Logging.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

#include <atomic>
#include <cstdlib>
#include <exception>

namespace {

// Never freed: other threads may log until the process is gone.
std::atomic<CrashBackend *> startedBackend = nullptr;
std::atomic<bool> isOpen = false;
std::atomic<QtMessageHandler> previousMessageHandler = nullptr;

CrashBackend *openBackend()
{
    return isOpen ? startedBackend.load() : nullptr;
}

// The backend to close, for the first who asks.
CrashBackend *takeBackend()
{
    return isOpen.exchange(false) ? startedBackend.load() : nullptr;
}

QString dsnFromEnvironment()
{
    return qEnvironmentVariable("ZORVEL_SENTRY_DSN", QStringLiteral(ZORVEL_SENTRY_DEFAULT_DSN));
}

CrashOptions optionsFor(const QString &dsn)
{
    const QString database
        = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + QStringLiteral("/sentry-db");
    const QString handler = QCoreApplication::applicationDirPath()
        + QStringLiteral("/crashpad_handler" ZORVEL_EXECUTABLE_SUFFIX);
    return {
        .dsn = dsn,
        .environment = QStringLiteral("production"),
        .release = QStringLiteral("zorvel-client@" ZORVEL_VERSION "+" ZORVEL_COMMIT),
        .databasePath = QDir::toNativeSeparators(database),
        .handlerPath = QDir::toNativeSeparators(handler),
    };
}

CrashLevel levelOf(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return CrashLevel::Debug;
    case QtWarningMsg:
        return CrashLevel::Warning;
    case QtCriticalMsg:
        return CrashLevel::Error;
    case QtFatalMsg:
        return CrashLevel::Fatal;
    case QtInfoMsg:
        break;
    }
    return CrashLevel::Info;
}

void forwardMessage(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (CrashBackend *backend = openBackend()) {
        const CrashLevel level = levelOf(type);
        const QString text = redactUrl(message);
        backend->log(level, text);
        if (level >= CrashLevel::Error) {
            backend->captureMessage(level, QStringLiteral("qt"), text);
        }
    }
    if (QtMessageHandler previous = previousMessageHandler) {
        previous(type, context, message);
    }
}

[[noreturn]] void reportTermination()
{
    if (CrashBackend *backend = takeBackend()) {
        backend->captureMessage(CrashLevel::Fatal, QStringLiteral("terminate"),
            QStringLiteral("unhandled C++ exception (std::terminate)"));
        backend->close();
    }
    std::abort();
}

} // namespace

void initCrashReporting()
{
    initCrashReporting(makeCrashBackend());
}

void initCrashReporting(std::unique_ptr<CrashBackend> backend)
{
    const QString dsn = dsnFromEnvironment();
    if (dsn.isEmpty()) {
        return;
    }
    const CrashOptions options = optionsFor(dsn);
    QDir().mkpath(options.databasePath);
    if (!backend->start(options)) {
        return;
    }
    backend->setTag(QStringLiteral("component"), QStringLiteral("client"));
    startedBackend = backend.release();
    isOpen = true;
    if (QtMessageHandler previous = qInstallMessageHandler(forwardMessage); previous != forwardMessage) {
        previousMessageHandler = previous;
    }
    std::set_terminate(reportTermination);
}

void addBreadcrumb(const QString &category, const QString &message, const QString &level)
{
    if (CrashBackend *backend = openBackend()) {
        backend->addBreadcrumb(category, redactUrl(message), level);
    }
}

void captureError(const QString &message)
{
    if (CrashBackend *backend = openBackend()) {
        backend->captureMessage(CrashLevel::Error, QStringLiteral("client"), redactUrl(message));
    }
}

void setCrashUser(const QString &username, const QString &server)
{
    if (CrashBackend *backend = openBackend()) {
        backend->setUser(username);
        backend->setTag(QStringLiteral("server"), redactUrl(server));
    }
}

void clearCrashUser()
{
    if (CrashBackend *backend = openBackend()) {
        backend->removeUser();
    }
}

void closeCrashReporting()
{
    if (CrashBackend *backend = takeBackend()) {
        backend->close();
    }
}
