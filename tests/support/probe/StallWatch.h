#pragma once

#include "ThreadClock.h"

#include <QtCore/QJsonObject>
#include <QtCore/QMutex>
#include <QtCore/QThread>

#include <atomic>

/// Finds how long the GUI thread's event loop did not turn. A thread of its own posts a time-stamped event to
/// the GUI thread every 4 ms, one at a time; the time until it is handled is a block. From each block the
/// time that the GUI thread only waited for a processor is told apart, so that a loaded machine is not taken
/// for a fault.
class StallWatch : public QThread
{
    Q_OBJECT

public:
    /// Call on the GUI thread.
    explicit StallWatch(QObject *parent = nullptr);
    ~StallWatch() override;

    /// Forgets what was seen and starts watching if it does not yet.
    void restart();

    /// Ends the posting, which costs a little processor time, and closes the files it reads.
    void halt();

    /// {"longestMs", "waitedMs", "atNs", "pings", "over100"}: the longest block less its waiting for a
    /// processor, that waiting, when the block ended, how many events were handled, and how many blocks were
    /// above 100 ms.
    QJsonObject report() const;

    bool event(QEvent *event) override;

protected:
    void run() override;

private:
    void handled(const ThreadGroup::Moment &sent);

    std::unique_ptr<ThreadGroup> m_threads;
    std::atomic<bool> m_running = false;
    std::atomic<bool> m_outstanding = false;
    qint64 m_longestNs = 0;
    qint64 m_longestWaitNs = 0;
    qint64 m_longestAtNs = 0;
    int m_pings = 0;
    int m_over100 = 0;
};
