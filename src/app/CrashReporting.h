#pragma once

#include <QString>

/**
 * Crash and error reporting. Until initCrashReporting() has succeeded, and after closeCrashReporting(), every
 * other operation does nothing; all of them may be called from any thread. Texts lose the user names,
 * passwords and tokens of addresses in them before they leave the program (see redactUrl).
 */

/// Starts crash reporting, forwards Qt's log output to it and reports uncaught exceptions. Called once, after
/// the application object exists and bears its names. The DSN comes from the environment variable
/// ZORVEL_SENTRY_DSN, else from the build; when it is empty, or when the start fails, the program runs on
/// without any of this.
void initCrashReporting();

/// Notes a milestone that later reports will show. `level` is "info" or "warning".
void addBreadcrumb(const QString &category, const QString &message, const QString &level);

/// Reports a failure that did not end the program.
void captureError(const QString &message);

/// Names the signed-in user, and the server, in later reports.
void setCrashUser(const QString &username, const QString &server);
void clearCrashUser();

/// Sends what is pending and ends crash reporting.
void closeCrashReporting();
