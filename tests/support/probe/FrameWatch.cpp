#include "FrameWatch.h"

#include <QtCore/QEvent>
#include <QtGui/QGuiApplication>
#include <QtQuick/QQuickWindow>

FrameWatch::FrameWatch(QObject *parent)
    : QObject(parent)
{
    qApp->installEventFilter(this);
}

bool FrameWatch::eventFilter(QObject *watched, QEvent *event)
{
    auto *window = qobject_cast<QQuickWindow *>(watched);
    if (window && (event->type() == QEvent::PlatformSurface || event->type() == QEvent::Show)) {
        qApp->removeEventFilter(this);
        const auto forgetThread = [this] { m_threads.reset(); };
        connect(window, &QQuickWindow::sceneGraphInvalidated, this, forgetThread, Qt::DirectConnection);
        connect(window, &QQuickWindow::beforeSynchronizing, this, &FrameWatch::begin, Qt::DirectConnection);
        connect(window, &QQuickWindow::frameSwapped, this, &FrameWatch::end, Qt::DirectConnection);
    }
    return QObject::eventFilter(watched, event);
}

void FrameWatch::begin()
{
    const QMutexLocker lock(&m_mutex);
    if (!m_threads)
        m_threads = std::make_unique<ThreadGroup>();
    m_begin = m_threads->now();
}

void FrameWatch::end()
{
    const QMutexLocker lock(&m_mutex);
    if (m_frames++ == 0)
        m_firstAtNs = monotonicNs();
    if (m_threads)
        m_longest.add(m_begin, m_threads->now());
}

void FrameWatch::restart()
{
    const QMutexLocker lock(&m_mutex);
    m_longest = LongestSpan();
    m_begin = ThreadGroup::Moment();
    m_frames = 0;
}

QJsonObject FrameWatch::report() const
{
    const QMutexLocker lock(&m_mutex);
    return {
        {"frames", m_frames},
        {"firstAtNs", m_firstAtNs},
        {"frameMs", m_longest.ms()},
        {"waitedMs", m_longest.waitedMs()},
    };
}
