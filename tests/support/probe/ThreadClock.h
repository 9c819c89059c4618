#pragma once

#include <QtCore/QtGlobal>

/// The monotonic clock in nanoseconds; the same clock as Python's time.monotonic_ns() on this machine.
qint64 monotonicNs();

/// How long one thread was ready to run but had to wait for a processor, as the kernel accounts it.
/// Subtracted from a measured block it leaves what the program itself is to blame for, however loaded the
/// machine is.
class ThreadClock
{
public:
    /// Watches the calling thread; any thread may then read it.
    ThreadClock();
    ~ThreadClock();
    Q_DISABLE_COPY_MOVE(ThreadClock)

    /// Nanoseconds spent waiting for a processor since the thread began; 0 where the kernel does not say.
    qint64 waitedNs() const;

private:
    int m_file = -1;
};
