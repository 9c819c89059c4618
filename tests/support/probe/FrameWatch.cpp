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

constexpr double nsPerMs = 1e6;
constexpr double nsPerSecond = 1e9;

struct Span
{
    qint64 longestNs = 0;
    qint64 waitedNs = 0;

    void add(const ThreadGroup::Moment &from, const ThreadGroup::Moment &to)
    {
        const qint64 waited = ThreadGroup::withoutProcessor(from, to);
        const qint64 length = to.atNs - from.atNs - waited;
        if (from.atNs > 0 && length > longestNs) {
            longestNs = length;
            waitedNs = waited;
        }
    }
    double ms() const { return static_cast<double>(longestNs) / nsPerMs; }
};

} // namespace

struct FrameWatch::Window
{
    QPointer<QQuickWindow> window;
    mutable QMutex mutex;
    std::unique_ptr<ThreadGroup> threads;
    ThreadGroup::Moment syncBegin;
    ThreadGroup::Moment renderBegin;
    Span sync;
    Span render;
    Span frame;
    int frames = 0;
    qint64 firstAtNs = 0;
    qint64 sinceNs = monotonicNs();

    ThreadGroup::Moment now()
    {
        if (!threads) {
            threads = std::make_unique<ThreadGroup>(ThreadClock::current());
        }
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
        if (auto *window = qobject_cast<QQuickWindow *>(watched)) {
            watch(window);
        }
    }
    return QObject::eventFilter(watched, event);
}

void FrameWatch::watch(QQuickWindow *window)
{
    std::erase_if(m_windows, [](const auto &known) { return known->window.isNull(); });
    const bool known
        = std::ranges::any_of(m_windows, [window](const auto &w) { return w->window == window; });
    if (known) {
        return;
    }
    auto state = std::make_shared<Window>();
    state->window = window;
    m_windows.push_back(state);
    const auto onRenderThread = [window](auto signal, auto action) {
        connect(window, signal, window, action, Qt::DirectConnection);
    };
    onRenderThread(&QQuickWindow::sceneGraphInvalidated, [state] {
        QMutexLocker lock(&state->mutex);
        state->threads.reset();
    });
    onRenderThread(&QQuickWindow::beforeSynchronizing, [state] {
        QMutexLocker lock(&state->mutex);
        state->syncBegin = state->now();
    });
    onRenderThread(&QQuickWindow::afterSynchronizing, [state] {
        QMutexLocker lock(&state->mutex);
        state->sync.add(state->syncBegin, state->now());
    });
    onRenderThread(&QQuickWindow::beforeRendering, [state] {
        QMutexLocker lock(&state->mutex);
        state->renderBegin = state->now();
    });
    onRenderThread(&QQuickWindow::afterRendering, [state] {
        QMutexLocker lock(&state->mutex);
        state->render.add(state->renderBegin, state->now());
    });
    onRenderThread(&QQuickWindow::frameSwapped, [state] {
        QMutexLocker lock(&state->mutex);
        state->frame.add(state->syncBegin, state->now());
        if (state->frames++ == 0) {
            state->firstAtNs = monotonicNs();
        }
    });
}

void FrameWatch::restart()
{
    for (const auto &state : m_windows) {
        QMutexLocker lock(&state->mutex);
        state->sync = state->render = state->frame = Span();
        state->syncBegin = state->renderBegin = ThreadGroup::Moment();
        state->frames = 0;
        state->sinceNs = monotonicNs();
    }
}

QJsonArray FrameWatch::report() const
{
    QJsonArray windows;
    for (const auto &state : m_windows) {
        if (state->window.isNull()) {
            continue;
        }
        QMutexLocker lock(&state->mutex);
        windows.append(QJsonObject{
            {QStringLiteral("title"), state->window->title()},
            {QStringLiteral("frames"), state->frames},
            {QStringLiteral("firstAtNs"), state->firstAtNs},
            {QStringLiteral("seconds"), static_cast<double>(monotonicNs() - state->sinceNs) / nsPerSecond},
            {QStringLiteral("syncMs"), state->sync.ms()},
            {QStringLiteral("renderMs"), state->render.ms()},
            {QStringLiteral("frameMs"), state->frame.ms()},
            {QStringLiteral("waitedMs"), static_cast<double>(state->frame.waitedNs) / nsPerMs},
        });
    }
    return windows;
}
