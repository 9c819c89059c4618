#include "ThreadClock.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

qint64 monotonicNs()
{
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

ThreadClock::ThreadClock(int threadId)
    : ThreadClock("/proc/self/task/" + QByteArray::number(threadId) + "/schedstat")
{
}

ThreadClock::ThreadClock(const QByteArray &path)
    : m_file(open(path.constData(), O_RDONLY | O_CLOEXEC))
{
}

ThreadClock::~ThreadClock()
{
    if (m_file >= 0) {
        close(m_file);
    }
}

ThreadTimes ThreadClock::read() const
{
    std::array<char, 96> text{};
    long long ran = 0;
    long long waited = 0;
    const bool known = m_file >= 0 && pread(m_file, text.data(), text.size() - 1, 0) > 0
        && std::sscanf(text.data(), "%lld %lld", &ran, &waited) == 2;
    return known ? ThreadTimes{ran, waited} : ThreadTimes();
}

int ThreadClock::current()
{
    return static_cast<int>(gettid());
}

ThreadGroup::ThreadGroup(int threadId)
    : m_own(threadId)
    , m_server("/proc/" + qgetenv("ZORVEL_DISPLAY_SERVER") + "/schedstat")
{
    const QDir tasks(QStringLiteral("/proc/self/task"));
    const QStringList ids = tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &id : ids) {
        QFile file(tasks.filePath(id + QStringLiteral("/comm")));
        if (id.toInt() == threadId || !file.open(QIODevice::ReadOnly)) {
            continue;
        }
        const QByteArray name = file.readAll();
        if (name.startsWith("QSGRenderThread")) {
            m_render = std::make_unique<ThreadClock>(id.toInt());
        } else if (name.startsWith("llvmpipe")) {
            m_rasteriser.push_back(std::make_unique<ThreadClock>(id.toInt()));
        }
    }
}

ThreadGroup::Moment ThreadGroup::now() const
{
    Moment moment{
        monotonicNs(), m_own.read(), m_render ? m_render->read() : ThreadTimes(), m_server.read(), {}};
    for (const auto &clock : m_rasteriser) {
        moment.rasteriser.push_back(clock->read());
    }
    return moment;
}

qint64 ThreadGroup::withoutProcessor(const Moment &from, const Moment &to)
{
    const ThreadTimes own = to.own - from.own;
    const qint64 slept = std::max<qint64>(0, to.atNs - from.atNs - own.ran - own.waited);
    qint64 drawers = 0;
    for (size_t i = 0; i < std::min(from.rasteriser.size(), to.rasteriser.size()); ++i) {
        drawers = std::max(drawers, (to.rasteriser[i] - from.rasteriser[i]).waited);
    }
    drawers += (to.render - from.render).waited + (to.server - from.server).waited;
    return own.waited + std::min(slept, drawers);
}
