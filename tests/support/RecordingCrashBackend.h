#pragma once

#include "app/CrashBackend.h"
#include "app/CrashReporting.h"

#include <QMutex>
#include <QStandardPaths>
#include <QStringList>

#include <cstdio>

/// Crash reporting that notes each call as one line, for tests to read.
class RecordingCrashBackend final : public CrashBackend
{
public:
    /// The lines survive the backend, which belongs to crash reporting once it is started.
    struct Record
    {
        QStringList take()
        {
            const QMutexLocker lock(&mutex);
            return std::exchange(lines, {});
        }
        void add(const QString &line)
        {
            const QMutexLocker lock(&mutex);
            lines.append(line);
            if (echo)
                std::fprintf(echo, "%s\n", qPrintable(line));
        }

        CrashOptions options;
        bool startsWell = true;
        /// Where each line is written besides, unbuffered.
        std::FILE *echo = nullptr;

    private:
        QMutex mutex;
        QStringList lines;
    };

    /// Starts crash reporting, away from the user's own data, with a backend that notes its calls there.
    static void install(Record &record)
    {
        QStandardPaths::setTestModeEnabled(true);
        qputenv("ZORVEL_SENTRY_DSN", "http://key@127.0.0.1/1");
        initCrashReporting(std::make_unique<RecordingCrashBackend>(record));
    }

    explicit RecordingCrashBackend(Record &record)
        : m_record(record)
    {
    }

    bool start(const CrashOptions &options) override
    {
        m_record.options = options;
        m_record.add(QStringLiteral("start"));
        return m_record.startsWell;
    }
    void setTag(const QString &key, const QString &value) override { note({"tag", key, value}); }
    void setUser(const QString &username) override { note({"user", username}); }
    void removeUser() override { note({"no user"}); }
    void addBreadcrumb(const QString &category, const QString &message, const QString &level) override
    {
        note({"breadcrumb", category, message, level});
    }
    void log(CrashLevel level, const QString &message) override
    {
        note({"log", QString::number(static_cast<int>(level)), message});
    }
    void captureMessage(CrashLevel level, const QString &logger, const QString &message) override
    {
        note({"event", QString::number(static_cast<int>(level)), logger, message});
    }
    void close() override { note({"close"}); }

private:
    void note(const QStringList &fields) { m_record.add(fields.join(u'|')); }

    Record &m_record;
};
