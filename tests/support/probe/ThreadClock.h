#pragma once

#include <QtCore/QByteArray>

#include <vector>

/// The monotonic clock in nanoseconds; the same clock as Python's time.monotonic_ns() on this machine.
qint64 monotonicNs();

/// The threads that together make up a block: the one that is blocked, and those that draw for it.
///
/// On a busy machine a block has a part that is nobody's fault: the thread was ready but had no processor, or
/// it slept until the render thread, the software rasteriser or the display server was done and these had
/// none. That part can be told apart. The environment variable ZORVEL_DISPLAY_SERVER is the process id of the
/// display server, if it draws on this machine's processors.
class ThreadGroup
{
public:
    /// Watches the calling thread and the process's drawing threads as they are now.
    ThreadGroup();
    ~ThreadGroup();
    Q_DISABLE_COPY_MOVE(ThreadGroup)

    /// What the kernel tells of one thread, in nanoseconds since the thread began; all 0 where it does not
    /// tell.
    struct Times
    {
        qint64 ran = 0;
        /// Ready to run, but without a processor.
        qint64 waited = 0;
    };
    struct Moment
    {
        qint64 atNs = 0;
        Times own;
        Times render;
        Times server;
        std::vector<Times> rasteriser;
    };
    /// May be called on any thread.
    Moment now() const;

private:
    // Open files.
    int m_own;
    int m_server;
    int m_render = -1;
    std::vector<int> m_rasteriser;
};

/// The longest of some spans of time, less what went by for want of a processor.
class LongestSpan
{
public:
    void add(const ThreadGroup::Moment &from, const ThreadGroup::Moment &to);

    double ms() const { return static_cast<double>(m_longestNs) / 1e6; }
    /// How much more it was for want of a processor.
    double waitedMs() const { return static_cast<double>(m_waitedNs) / 1e6; }

private:
    qint64 m_longestNs = 0;
    qint64 m_waitedNs = 0;
};
