#pragma once

#include "ThreadClock.h"

#include <QtCore/QJsonObject>
#include <QtCore/QThread>

#include <atomic>
#include <memory>

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

    /// {"longestMs", "waitedMs"}: the longest block less its waiting for a processor, and that waiting.
    QJsonObject report() const;

    bool event(QEvent *event) override;

protected:
    void run() override;

private:
    std::unique_ptr<ThreadGroup> m_threads;
    std::atomic<bool> m_running = false;
    std::atomic<bool> m_outstanding = false;
    LongestSpan m_longest;
};
