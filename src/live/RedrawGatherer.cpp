#include "live/RedrawGatherer.h"

#include "live/ContextKeeper.h"
#include "live/MpvHandle.h"
#include "live/MpvObject.h"
#include "live/RedrawClock.h"

#include <QQuickWindow>
#include <QRunnable>

#include <algorithm>
#include <atomic>

namespace {

constexpr int longestTickMs = 66;
constexpr int shortestTickMs = 16;
constexpr int firstTickMs = 33;
// A tick is a little shorter than a frame, so that no stream falls behind.
constexpr double tickPerFrame = 0.92;
constexpr int playersDrawnAtOnce = 2;
// A frame that comes this soon after the last one was taken has been waiting: the stream is catching up.
constexpr int catchUpMs = 12;
// A redraw that was asked for and is not done after this long never will be.
constexpr int drawTimeoutMs = 500;
constexpr int rateIntervalMs = 1000;
constexpr int tendIntervalMs = 10;
constexpr int hiddenTendIntervalMs = 250;

class FreeJob : public QRunnable
{
public:
    FreeJob(std::shared_ptr<ContextKeeper> keeper, std::shared_ptr<std::atomic_bool> scheduled)
        : m_keeper(std::move(keeper))
        , m_scheduled(std::move(scheduled))
    {
    }
    ~FreeJob() override { *m_scheduled = false; }
    Q_DISABLE_COPY_MOVE(FreeJob)

    void run() override { m_keeper->freeReleased(); }

private:
    std::shared_ptr<ContextKeeper> m_keeper;
    std::shared_ptr<std::atomic_bool> m_scheduled;
};

} // namespace

RedrawGatherer *RedrawGatherer::of(QQuickWindow *window)
{
    auto *gatherer = window->findChild<RedrawGatherer *>(QString(), Qt::FindDirectChildrenOnly);
    return gatherer ? gatherer : new RedrawGatherer(window);
}

RedrawGatherer::RedrawGatherer(QQuickWindow *window)
    : QObject(window)
    , m_window(window)
    , m_keeper(std::make_shared<ContextKeeper>(this))
    , m_freeScheduled(std::make_shared<std::atomic_bool>(false))
    , m_tickMs(firstTickMs)
{
    m_flushTimer.setSingleShot(true);
    m_flushTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_flushTimer, &QTimer::timeout, this, &RedrawGatherer::flush);
    m_rateTimer.setInterval(rateIntervalMs);
    connect(&m_rateTimer, &QTimer::timeout, this, &RedrawGatherer::measureRates);
    connect(&m_tendTimer, &QTimer::timeout, this, &RedrawGatherer::tendContexts);

    connect(window, &QQuickWindow::frameSwapped, this, &RedrawGatherer::frameDone, Qt::QueuedConnection);
    const auto onRenderThread = Qt::DirectConnection;
    connect(
        window, &QQuickWindow::beforeRendering, this, [keeper = m_keeper] { keeper->beginFrame(); },
        onRenderThread);
    connect(
        window, &QQuickWindow::sceneGraphInvalidated, this, [keeper = m_keeper] { keeper->freeAll(); },
        onRenderThread);
}

RedrawGatherer::~RedrawGatherer()
{
    m_keeper->forgetTender();
}

void RedrawGatherer::add(MpvObject *item)
{
    m_items.insert(item, item->framesDelivered());
}

void RedrawGatherer::remove(MpvObject *item)
{
    m_items.remove(item);
    m_pending.remove(item);
}

void RedrawGatherer::request(MpvObject *item)
{
    m_pending.insert(item);
    if (!m_rateTimer.isActive()) {
        m_sinceRates.start();
        m_rateTimer.start();
    }
    if (monotonicMs() - item->lastFrameTakenMs() < catchUpMs && m_active > playersDrawnAtOnce)
        takeFrames({item});
    schedule();
}

void RedrawGatherer::schedule()
{
    if (m_flushTimer.isActive() || m_pending.isEmpty())
        return;
    const qint64 sinceLastMs = monotonicMs() - m_lastFlushMs;
    if (m_drawing && sinceLastMs < drawTimeoutMs)
        return;
    const qint64 waitMs = m_active > playersDrawnAtOnce ? m_tickMs - sinceLastMs : 0;
    m_flushTimer.start(int(std::clamp<qint64>(waitMs, 0, m_tickMs)));
}

void RedrawGatherer::flush()
{
    m_lastFlushMs = monotonicMs();
    QList<MpvObject *> hidden;
    for (MpvObject *item : std::as_const(m_pending)) {
        if (!item->isVisible() && !item->needsDrawing()) {
            hidden.append(item);
            continue;
        }
        item->update();
        m_drawing = true;
    }
    m_pending.clear();
    if (m_drawing)
        RedrawClock::announce();
    if (!hidden.isEmpty())
        takeFrames(hidden);
}

void RedrawGatherer::takeFrames(const QList<MpvObject *> &items)
{
    std::vector<std::shared_ptr<MpvHandle>> players;
    players.reserve(items.size());
    for (const MpvObject *item : items)
        players.push_back(item->player());
    m_window->scheduleRenderJob(
        QRunnable::create([keeper = m_keeper, players = std::move(players)] { keeper->takeFrames(players); }),
        QQuickWindow::NoStage);
}

void RedrawGatherer::frameDone()
{
    m_drawing = false;
    schedule();
}

void RedrawGatherer::measureRates()
{
    const double seconds = m_sinceRates.restart() / 1000.0;
    double fastest = 0;
    m_active = 0;
    for (auto it = m_items.begin(); it != m_items.end(); ++it) {
        const quint64 delivered = it.key()->framesDelivered();
        const quint64 before = std::exchange(it.value(), delivered);
        if (delivered <= before)
            continue;
        ++m_active;
        fastest = std::max(fastest, double(delivered - before) / seconds);
    }
    if (m_active == 0) {
        m_rateTimer.stop();
        m_tickMs = firstTickMs;
        return;
    }
    m_tickMs = std::clamp(int(1000 * tickPerFrame / fastest), shortestTickMs, longestTickMs);
}

void RedrawGatherer::tendContexts()
{
    const auto players = m_keeper->waiting();
    if (players.empty()) {
        m_tendTimer.stop();
        return;
    }
    m_tendTimer.start(m_window->isExposed() ? tendIntervalMs : hiddenTendIntervalMs);
    for (const auto &mpv : players) {
        if (mpv->retired)
            mpv->drainRetired();
        if (!mpv->videoReleased)
            mpv->pollVideoOutput();
    }
    if (m_keeper->canFree() && !m_freeScheduled->exchange(true))
        m_window->scheduleRenderJob(new FreeJob(m_keeper, m_freeScheduled), QQuickWindow::NoStage);
}
