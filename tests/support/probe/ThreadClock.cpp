#include "ThreadClock.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace {

// Of a process, or of the task of one, as they are named below /proc.
int openTimes(const QByteArray &process)
{
    return open(("/proc/" + process + "/schedstat").constData(), O_RDONLY | O_CLOEXEC);
}

ThreadGroup::Times read(int file)
{
    std::array<char, 96> text{};
    long long ran = 0;
    long long waited = 0;
    const bool known = pread(file, text.data(), text.size() - 1, 0) > 0
        && std::sscanf(text.data(), "%lld %lld", &ran, &waited) == 2;
    return known ? ThreadGroup::Times{ran, waited} : ThreadGroup::Times();
}

// How much of the time between two moments went by for want of a processor.
qint64 withoutProcessor(const ThreadGroup::Moment &from, const ThreadGroup::Moment &to)
{
    const qint64 waited = to.own.waited - from.own.waited;
    const qint64 slept = std::max<qint64>(0, to.atNs - from.atNs - (to.own.ran - from.own.ran) - waited);
    qint64 drawers = 0;
    for (size_t i = 0; i < std::min(from.rasteriser.size(), to.rasteriser.size()); ++i)
        drawers = std::max(drawers, to.rasteriser[i].waited - from.rasteriser[i].waited);
    drawers += to.render.waited - from.render.waited + to.server.waited - from.server.waited;
    return waited + std::min(slept, drawers);
}

} // namespace

qint64 monotonicNs()
{
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

ThreadGroup::ThreadGroup()
    : m_own(openTimes("self/task/" + QByteArray::number(gettid())))
    , m_server(openTimes(qgetenv("ZORVEL_DISPLAY_SERVER")))
{
    const QDir tasks("/proc/self/task");
    const QStringList ids = tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &id : ids) {
        QFile file(tasks.filePath(id + "/comm"));
        const QByteArray name = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        const QByteArray task = "self/task/" + id.toLatin1();
        if (m_render < 0 && name.startsWith("QSGRenderThread") && id.toInt() != gettid())
            m_render = openTimes(task);
        else if (name.startsWith("llvmpipe"))
            m_rasteriser.push_back(openTimes(task));
    }
}

ThreadGroup::~ThreadGroup()
{
    for (const int file : {m_own, m_server, m_render})
        close(file);
    for (const int file : m_rasteriser)
        close(file);
}

ThreadGroup::Moment ThreadGroup::now() const
{
    Moment moment{monotonicNs(), read(m_own), read(m_render), read(m_server), {}};
    for (const int file : m_rasteriser)
        moment.rasteriser.push_back(read(file));
    return moment;
}

void LongestSpan::add(const ThreadGroup::Moment &from, const ThreadGroup::Moment &to)
{
    const qint64 waited = withoutProcessor(from, to);
    const qint64 length = to.atNs - from.atNs - waited;
    if (from.atNs > 0 && length > m_longestNs) {
        m_longestNs = length;
        m_waitedNs = waited;
    }
}
