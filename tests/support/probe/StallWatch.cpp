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
    explicit Ping(qint64 waitedBefore)
        : QEvent(kind())
        , sentNs(monotonicNs())
        , waitedBeforeNs(waitedBefore)
    {
    }
    const qint64 sentNs;
    const qint64 waitedBeforeNs;
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
    const auto *ping = static_cast<Ping *>(event);
    handled(ping->sentNs, ping->waitedBeforeNs);
    m_outstanding = false;
    return true;
}

void StallWatch::run()
{
    while (m_running) {
        if (!m_outstanding.exchange(true)) {
            QCoreApplication::postEvent(this, new Ping(m_guiClock.waitedNs()), Qt::HighEventPriority);
        }
        msleep(pauseMs);
    }
}

void StallWatch::handled(qint64 sentNs, qint64 waitedBeforeNs)
{
    const qint64 now = monotonicNs();
    const qint64 waited = m_guiClock.waitedNs() - waitedBeforeNs;
    const qint64 block = now - sentNs - waited;
    ++m_pings;
    m_over100 += block > longBlockNs ? 1 : 0;
    if (block > m_longestNs) {
        m_longestNs = block;
        m_longestWaitNs = waited;
        m_longestAtNs = now;
    }
}
