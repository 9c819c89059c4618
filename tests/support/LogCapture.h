#pragma once

#include <QMutex>
#include <QStringList>

// While it lives, keeps the program's log messages as "<level> <category>: <text>" instead of printing them.
// One at a time.
class LogCapture
{
public:
    LogCapture()
    {
        s_lines.clear();
        m_previous = qInstallMessageHandler(keep);
    }
    ~LogCapture() { qInstallMessageHandler(m_previous); }
    Q_DISABLE_COPY_MOVE(LogCapture)

    QStringList taken()
    {
        const QMutexLocker locker(&s_mutex);
        return std::exchange(s_lines, {});
    }

private:
    static void keep(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        static const QHash<QtMsgType, QString> levels = {{QtDebugMsg, "debug"}, {QtInfoMsg, "info"},
            {QtWarningMsg, "warning"}, {QtCriticalMsg, "critical"}};
        const QMutexLocker locker(&s_mutex);
        s_lines.append(QString("%1 %2: %3").arg(levels.value(type), context.category, text));
    }

    static inline QMutex s_mutex;
    static inline QStringList s_lines;
    QtMessageHandler m_previous;
};
