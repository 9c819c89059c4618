#include "StallWatch.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>

namespace {

constexpr unsigned long pauseMs = 4;

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
    setObjectName("stall-watch");
}

StallWatch::~StallWatch()
{
    halt();
}

void StallWatch::restart()
{
    m_longest = LongestSpan();
    halt();
    // The drawing threads are looked up anew: they come and go with the window.
    m_threads = std::make_unique<ThreadGroup>();
    if (!m_running.exchange(true))
        start();
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
    return {{"longestMs", m_longest.ms()}, {"waitedMs", m_longest.waitedMs()}};
}

bool StallWatch::event(QEvent *event)
{
    if (event->type() != Ping::kind())
        return QThread::event(event);
    m_longest.add(static_cast<Ping *>(event)->sent, m_threads->now());
    m_outstanding = false;
    return true;
}

void StallWatch::run()
{
    while (m_running) {
        if (!m_outstanding.exchange(true))
            QCoreApplication::postEvent(this, new Ping(m_threads->now()), Qt::HighEventPriority);
        msleep(pauseMs);
    }
}
