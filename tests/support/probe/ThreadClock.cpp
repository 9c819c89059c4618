#include "ThreadClock.h"

#include <array>
#include <chrono>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

qint64 monotonicNs()
{
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

ThreadClock::ThreadClock()
{
    std::array<char, 64> path{};
    std::snprintf(path.data(), path.size(), "/proc/self/task/%d/schedstat", static_cast<int>(gettid()));
    m_file = open(path.data(), O_RDONLY | O_CLOEXEC);
}

ThreadClock::~ThreadClock()
{
    if (m_file >= 0) {
        close(m_file);
    }
}

qint64 ThreadClock::waitedNs() const
{
    std::array<char, 96> text{};
    unsigned long long ran = 0;
    unsigned long long waited = 0;
    const bool known = m_file >= 0 && pread(m_file, text.data(), text.size() - 1, 0) > 0
        && std::sscanf(text.data(), "%llu %llu", &ran, &waited) == 2;
    return known ? static_cast<qint64>(waited) : 0;
}
