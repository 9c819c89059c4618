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

ThreadClock::ThreadClock(const QByteArray &process)
    : m_file(open(("/proc/" + process + "/schedstat").constData(), O_RDONLY | O_CLOEXEC))
{
}

ThreadClock::~ThreadClock()
{
    if (m_file >= 0)
        close(m_file);
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

ThreadGroup::ThreadGroup()
    : m_own("self/task/" + QByteArray::number(gettid()))
    , m_server(qgetenv("ZORVEL_DISPLAY_SERVER"))
{
    const QDir tasks("/proc/self/task");
    const QStringList ids = tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &id : ids) {
        QFile file(tasks.filePath(id + "/comm"));
        const QByteArray name = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        const QByteArray task = "self/task/" + id.toLatin1();
        if (name.startsWith("QSGRenderThread") && id.toInt() != gettid())
            m_render = std::make_unique<ThreadClock>(task);
        else if (name.startsWith("llvmpipe"))
            m_rasteriser.push_back(std::make_unique<ThreadClock>(task));
    }
}

ThreadGroup::Moment ThreadGroup::now() const
{
    Moment moment{
        monotonicNs(), m_own.read(), m_render ? m_render->read() : ThreadTimes(), m_server.read(), {}};
    for (const auto &clock : m_rasteriser)
        moment.rasteriser.push_back(clock->read());
    return moment;
}

qint64 ThreadGroup::withoutProcessor(const Moment &from, const Moment &to)
{
    const ThreadTimes own = to.own - from.own;
    const qint64 slept = std::max<qint64>(0, to.atNs - from.atNs - own.ran - own.waited);
    qint64 drawers = 0;
    for (size_t i = 0; i < std::min(from.rasteriser.size(), to.rasteriser.size()); ++i)
        drawers = std::max(drawers, (to.rasteriser[i] - from.rasteriser[i]).waited);
    drawers += (to.render - from.render).waited + (to.server - from.server).waited;
    return own.waited + std::min(slept, drawers);
}

void LongestSpan::add(const ThreadGroup::Moment &from, const ThreadGroup::Moment &to)
{
    const qint64 waited = ThreadGroup::withoutProcessor(from, to);
    const qint64 length = to.atNs - from.atNs - waited;
    if (from.atNs > 0 && length > m_longestNs) {
        m_longestNs = length;
        m_waitedNs = waited;
    }
}
