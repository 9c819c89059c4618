#include "StallWatch.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>

namespace {

constexpr unsigned long pauseMs = 4;
constexpr double nsPerMs = 1e6;
constexpr qint64 longBlockNs = 100'000'000;

class Ping : public QEvent
{
public:
    static QEvent::Type kind()
    {
        static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
        return type;
    }
    explicit Ping(ThreadGroup::Moment moment)
        : QEvent(kind())
        , sent(std::move(moment))
    {
    }
    const ThreadGroup::Moment sent;
};

} // namespace

StallWatch::StallWatch(QObject *parent)
    : QThread(parent)
{
    setObjectName(QStringLiteral("stall-watch"));
}

StallWatch::~StallWatch()
{
    halt();
}

void StallWatch::restart()
{
    m_longestNs = m_longestWaitNs = m_longestAtNs = 0;
    m_pings = m_over100 = 0;
    halt();
    // The drawing threads are looked up anew: they come and go with the window.
    m_threads = std::make_unique<ThreadGroup>(ThreadClock::current());
    if (!m_running.exchange(true)) {
        start();
    }
}

void StallWatch::halt()
{
    m_running = false;
    wait();
    QCoreApplication::removePostedEvents(this, Ping::kind());
    m_outstanding = false;
    m_threads.reset();
}

QJsonObject StallWatch::report() const
{
    return {{QStringLiteral("longestMs"), static_cast<double>(m_longestNs) / nsPerMs},
        {QStringLiteral("waitedMs"), static_cast<double>(m_longestWaitNs) / nsPerMs},
        {QStringLiteral("atNs"), m_longestAtNs}, {QStringLiteral("pings"), m_pings},
        {QStringLiteral("over100"), m_over100}};
}

bool StallWatch::event(QEvent *event)
{
    if (event->type() != Ping::kind()) {
        return QThread::event(event);
    }
    handled(static_cast<Ping *>(event)->sent);
    m_outstanding = false;
    return true;
}

void StallWatch::run()
{
    while (m_running) {
        if (!m_outstanding.exchange(true)) {
            QCoreApplication::postEvent(this, new Ping(m_threads->now()), Qt::HighEventPriority);
        }
        msleep(pauseMs);
    }
}

void StallWatch::handled(const ThreadGroup::Moment &sent)
{
    const ThreadGroup::Moment now = m_threads->now();
    const qint64 waited = ThreadGroup::withoutProcessor(sent, now);
    const qint64 block = now.atNs - sent.atNs - waited;
    ++m_pings;
    m_over100 += block > longBlockNs ? 1 : 0;
    if (block > m_longestNs) {
        m_longestNs = block;
        m_longestWaitNs = waited;
        m_longestAtNs = now.atNs;
    }
}
