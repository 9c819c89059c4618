#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

/// Severities with the numbers of the reporting protocol.
enum class CrashLevel { Debug = -1, Info = 0, Warning = 1, Error = 2, Fatal = 3 };

/// What crash reporting starts with. Paths have native separators.
struct CrashOptions
{
    QString dsn;
    QString environment;
    QString release;
    QString databasePath;
    QString handlerPath;
};

/**
 * What crash reporting needs of a reporting library. One implementation stands over the Sentry SDK, one does
 * nothing for builds without it. Everything but start() and close() is called from any thread, after a
 * successful start(); calls that arrive during or after close() have no effect.
 */
class CrashBackend
{
public:
    virtual ~CrashBackend() = default;

    /// Starts the library with structured logs enabled. False when it cannot.
    virtual bool start(const CrashOptions &options) = 0;
    virtual void setTag(const QString &key, const QString &value) = 0;
    virtual void setUser(const QString &username) = 0;
    virtual void removeUser() = 0;
    virtual void addBreadcrumb(const QString &category, const QString &message, const QString &level) = 0;
    virtual void log(CrashLevel level, const QString &message) = 0;
    virtual void captureMessage(CrashLevel level, const QString &logger, const QString &message) = 0;
    /// Sends what is pending and ends the library.
    virtual void close() = 0;
};

/// The implementation that this program was built with.
std::unique_ptr<CrashBackend> makeCrashBackend();

/// initCrashReporting() over a given backend, which lives from then on as long as the program.
void initCrashReporting(std::unique_ptr<CrashBackend> backend);
