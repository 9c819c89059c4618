#include "FrameWatch.h"

#include "ThreadClock.h"

#include <QtCore/QEvent>
#include <QtCore/QJsonObject>
#include <QtCore/QMutex>
#include <QtCore/QPointer>
#include <QtGui/QGuiApplication>
#include <QtQuick/QQuickWindow>

#include <algorithm>

namespace {

constexpr double nsPerSecond = 1e9;

} // namespace

struct FrameWatch::Window
{
    QPointer<QQuickWindow> window;
    mutable QMutex mutex;
    std::unique_ptr<ThreadGroup> threads;
    ThreadGroup::Moment syncBegin;
    ThreadGroup::Moment renderBegin;
    LongestSpan sync;
    LongestSpan render;
    LongestSpan frame;
    int frames = 0;
    qint64 firstAtNs = 0;
    qint64 sinceNs = monotonicNs();

    ThreadGroup::Moment now()
    {
        if (!threads)
            threads = std::make_unique<ThreadGroup>();
        return threads->now();
    }
};

FrameWatch::FrameWatch(QObject *parent)
    : QObject(parent)
{
    qApp->installEventFilter(this);
}

FrameWatch::~FrameWatch() = default;

bool FrameWatch::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::PlatformSurface || event->type() == QEvent::Show) {
        if (auto *window = qobject_cast<QQuickWindow *>(watched))
            watch(window);
    }
    return QObject::eventFilter(watched, event);
}

void FrameWatch::watch(QQuickWindow *window)
{
    std::erase_if(m_windows, [](const auto &known) { return known->window.isNull(); });
    if (std::ranges::any_of(m_windows, [window](const auto &known) { return known->window == window; }))
        return;
    auto state = std::make_shared<Window>();
    state->window = window;
    m_windows.push_back(state);
    const auto onRenderThread = [window, state](auto signal, auto action) {
        const auto locked = [state, action] {
            const QMutexLocker lock(&state->mutex);
            action(*state);
        };
        connect(window, signal, window, locked, Qt::DirectConnection);
    };
    onRenderThread(&QQuickWindow::sceneGraphInvalidated, [](Window &w) { w.threads.reset(); });
    onRenderThread(&QQuickWindow::beforeSynchronizing, [](Window &w) { w.syncBegin = w.now(); });
    onRenderThread(&QQuickWindow::afterSynchronizing, [](Window &w) { w.sync.add(w.syncBegin, w.now()); });
    onRenderThread(&QQuickWindow::beforeRendering, [](Window &w) { w.renderBegin = w.now(); });
    onRenderThread(&QQuickWindow::afterRendering, [](Window &w) { w.render.add(w.renderBegin, w.now()); });
    onRenderThread(&QQuickWindow::frameSwapped, [](Window &w) {
        w.frame.add(w.syncBegin, w.now());
        if (w.frames++ == 0)
            w.firstAtNs = monotonicNs();
    });
}

void FrameWatch::restart()
{
    for (const auto &state : m_windows) {
        const QMutexLocker lock(&state->mutex);
        state->sync = state->render = state->frame = LongestSpan();
        state->syncBegin = state->renderBegin = ThreadGroup::Moment();
        state->frames = 0;
        state->sinceNs = monotonicNs();
    }
}

QJsonArray FrameWatch::report() const
{
    QJsonArray windows;
    for (const auto &state : m_windows) {
        if (state->window.isNull())
            continue;
        const QMutexLocker lock(&state->mutex);
        windows.append(QJsonObject{
            {"frames", state->frames},
            {"firstAtNs", state->firstAtNs},
            {"seconds", static_cast<double>(monotonicNs() - state->sinceNs) / nsPerSecond},
            {"syncMs", state->sync.ms()},
            {"renderMs", state->render.ms()},
            {"frameMs", state->frame.ms()},
            {"waitedMs", state->frame.waitedMs()},
        });
    }
    return windows;
}
