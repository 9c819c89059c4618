#include "live/RedrawGatherer.h"

#include "live/ContextKeeper.h"
#include "live/MpvHandle.h"
#include "live/MpvObject.h"
#include "live/RedrawClock.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QQuickWindow>
#include <QRunnable>

#include <algorithm>
#include <atomic>
#include <cmath>

namespace {

constexpr int longestTickMs = 66;
constexpr int shortestTickMs = 16;
constexpr int firstTickMs = 33;
// How much of a stream's frame rate the latest measurement decides.
constexpr double rateWeight = 0.3;
constexpr int playersDrawnAtOnce = 2;
// A frame that comes this soon after the last one was taken has been waiting: the stream is catching up.
constexpr int catchUpMs = 12;
// A redraw that was asked for and is not done after this long never will be.
constexpr int drawTimeoutMs = 500;
constexpr int rateIntervalMs = 1000;
constexpr int sleepAfterMs = 1000;
// Sixty players that all start in the same moment would leave the window no processor for a while.
constexpr int startsAtOnce = 2;
constexpr int startIntervalMs = 30;
constexpr int holdMs = 80;
// Whoever looks for another moment with every repeat of a key sees at least where they are.
constexpr int longestHoldMs = 160;
constexpr int tendIntervalMs = 10;
// Ending a picture takes a few ms of CPU time; so many players at a time leave the GUI thread its share.
constexpr int endingsPerTend = 4;
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
    , m_windowPixels(std::make_shared<QSize>())
    , m_freeScheduled(std::make_shared<std::atomic_bool>(false))
    , m_tickMs(firstTickMs)
{
    m_flushTimer.setSingleShot(true);
    m_flushTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_flushTimer, &QTimer::timeout, this, &RedrawGatherer::flush);
    m_rateTimer.setInterval(rateIntervalMs);
    connect(&m_rateTimer, &QTimer::timeout, this, &RedrawGatherer::measureRates);
    connect(&m_tendTimer, &QTimer::timeout, this, &RedrawGatherer::tendContexts);

    m_sleepTimer.setSingleShot(true);
    m_sleepTimer.setInterval(sleepAfterMs);
    connect(&m_sleepTimer, &QTimer::timeout, this, [this] { setAsleep(true); });
    m_wakeTimer.setSingleShot(true);
    m_wakeTimer.setInterval(startIntervalMs);
    connect(&m_wakeTimer, &QTimer::timeout, this, [this] {
        m_starts = 0;
        wakeSome();
    });
    m_holdTimer.setSingleShot(true);
    connect(&m_holdTimer, &QTimer::timeout, this, &RedrawGatherer::releaseRedraw);
    window->installEventFilter(this);

    const auto onShown = [this] {
        tellShown();
        schedule();
    };
    connect(window, &QQuickWindow::frameSwapped, this, onShown, Qt::QueuedConnection);
    const auto onRenderThread = Qt::DirectConnection;
    connect(
        window, &QQuickWindow::beforeSynchronizing, this,
        [this] {
            ++m_syncs;
            *m_windowPixels = m_window->size() * m_window->effectiveDevicePixelRatio();
        },
        onRenderThread);
    connect(
        window, &QQuickWindow::frameSwapped, this, [this] { m_doneSync = m_syncs.load(); }, onRenderThread);
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
    m_items.insert(item, {item->framesDelivered(), 0});
}

void RedrawGatherer::remove(MpvObject *item)
{
    m_items.remove(item);
    m_pending.remove(item);
    forgetDrawn(item);
}

void RedrawGatherer::request(MpvObject *item)
{
    m_pending.insert(item);
    m_firstFrameWaits = m_firstFrameWaits || (item->needsDrawing() && fewAreOpening());
    if (!m_rateTimer.isActive()) {
        m_sinceRates.start();
        m_rateTimer.start();
    }
    if (monotonicMs() - item->lastFrameTakenMs() < catchUpMs && m_busy > playersDrawnAtOnce)
        takeFrames({item});
    schedule();
}

bool RedrawGatherer::fewAreOpening() const
{
    const auto opens = [](const MpvObject *item) {
        return item->state() == QLatin1String("loading") || item->awaitsFirstFrame();
    };
    return std::count_if(m_items.keyBegin(), m_items.keyEnd(), opens) <= playersDrawnAtOnce;
}

void RedrawGatherer::scaleRate(MpvObject *item, double factor)
{
    const auto stream = m_items.find(item);
    if (stream == m_items.end())
        return;
    stream->rate *= factor;
    followRates();
}

void RedrawGatherer::hold()
{
    if (m_redrawDue)
        return;
    if (!m_holdTimer.isActive())
        m_sinceHeld.start();
    m_holdTimer.start(int(std::clamp<qint64>(longestHoldMs - m_sinceHeld.elapsed(), 0, holdMs)));
}

void RedrawGatherer::expectFrame(MpvObject *item)
{
    hold();
    // A frame of the file before that is not drawn now would keep the player from ending it.
    takeFrames({item});
}

void RedrawGatherer::expectStream()
{
    const auto isSeen
        = [](const MpvObject *item) { return item->isVisible() && item->state() != QLatin1String("idle"); };
    if (std::none_of(m_items.keyBegin(), m_items.keyEnd(), isSeen))
        hold();
}

void RedrawGatherer::releaseRedraw()
{
    m_holdTimer.stop();
    if (!std::exchange(m_redrawHeld, false))
        return;
    m_redrawDue = true;
    QCoreApplication::postEvent(m_window, new QEvent(QEvent::UpdateRequest));
}

void RedrawGatherer::schedule()
{
    if (m_pending.isEmpty())
        return;
    const qint64 sinceLastMs = monotonicMs() - m_lastFlushMs;
    qint64 waitMs = 0;
    if (m_doneSync < m_awaitedSync && !m_redrawHeld)
        waitMs = drawTimeoutMs - sinceLastMs;
    else if (m_busy > playersDrawnAtOnce && !m_firstFrameWaits)
        waitMs = m_tickMs - sinceLastMs;
    waitMs = std::max<qint64>(waitMs, 0);
    if (!m_flushTimer.isActive() || waitMs < m_flushTimer.remainingTime())
        m_flushTimer.start(int(waitMs));
}

void RedrawGatherer::flush()
{
    m_lastFlushMs = monotonicMs();
    m_busy = 0;
    for (auto it = m_items.cbegin(); it != m_items.cend(); ++it)
        m_busy += it.key()->state() == QLatin1String("idle") ? 0 : 1;
    QList<MpvObject *> hidden;
    bool draws = false;
    for (MpvObject *item : std::as_const(m_pending)) {
        if (item->hasOldFrame() || (!item->isVisible() && !item->needsDrawing())) {
            hidden.append(item);
            continue;
        }
        item->update();
        m_awaitedSync = m_syncs + 1;
        draws = true;
    }
    m_pending.clear();
    m_firstFrameWaits = false;
    if (draws) {
        RedrawClock::announce();
        releaseRedraw();
    }
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

void RedrawGatherer::noteDrawn(MpvObject *item, double position)
{
    m_drawn.push_back({item, position, m_syncs, item->player()->picturesDrawn});
}

void RedrawGatherer::forgetDrawn(const MpvObject *item)
{
    std::erase_if(m_drawn, [item](const Drawn &drawn) { return drawn.item == item; });
}

void RedrawGatherer::tellShown()
{
    // Whoever hears of it may have items forgotten.
    while (!m_drawn.empty() && m_drawn.front().sync <= m_doneSync) {
        const Drawn shown = m_drawn.front();
        m_drawn.pop_front();
        if (shown.item->player()->picturesDrawn != shown.pictures)
            shown.item->showPosition(shown.position);
    }
}

void RedrawGatherer::measureRates()
{
    const double seconds = m_sinceRates.restart() / 1000.0;
    for (auto it = m_items.begin(); it != m_items.end(); ++it) {
        Stream &stream = it.value();
        const quint64 delivered = it.key()->framesDelivered();
        const quint64 before = std::exchange(stream.delivered, delivered);
        // Of the next file too few are counted yet.
        if (delivered < before)
            continue;
        const double rate = double(delivered - before) / seconds;
        // A recording that is drawn too seldom delivers less than it could.
        const bool leaps = it.key()->isNetwork() && rate > stream.rate;
        const bool known = stream.rate > 0 && rate > 0;
        stream.rate = known && !leaps ? std::lerp(stream.rate, rate, rateWeight) : rate;
    }
    if (!followRates())
        m_rateTimer.stop();
}

bool RedrawGatherer::followRates()
{
    double fastest = 0;
    for (const Stream &stream : std::as_const(m_items))
        fastest = std::max(fastest, stream.rate);
    m_tickMs = fastest > 0 ? std::clamp(int(1000 / fastest), shortestTickMs, longestTickMs) : firstTickMs;
    return fastest > 0;
}

bool RedrawGatherer::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_window && event->type() == QEvent::UpdateRequest) {
        m_redrawHeld = m_holdTimer.isActive();
        if (m_redrawHeld) {
            schedule();
            return true;
        }
        m_redrawDue = false;
    }
    if (watched == m_window && event->type() == QEvent::Expose) {
        if (!m_window->isExposed()) {
            m_sleepTimer.start();
        } else {
            m_sleepTimer.stop();
            setAsleep(false);
        }
    }
    return QObject::eventFilter(watched, event);
}

void RedrawGatherer::setAsleep(bool asleep)
{
    if (m_asleep == asleep)
        return;
    m_asleep = asleep;
    const QList<MpvObject *> items = m_items.keys();
    m_waking = QList<QPointer<MpvObject>>(items.begin(), items.end());
    if (!asleep) {
        wakeSome();
        return;
    }
    m_wakeTimer.stop();
    for (const QPointer<MpvObject> &item : std::exchange(m_waking, {})) {
        if (item)
            item->fallAsleep();
    }
}

void RedrawGatherer::wakeSome()
{
    while (!m_waking.isEmpty() && m_starts < startsAtOnce) {
        if (const QPointer<MpvObject> item = m_waking.takeFirst())
            item->wakeUp();
    }
    if (!m_waking.isEmpty())
        m_wakeTimer.start();
}

bool RedrawGatherer::mayStart(MpvObject *item)
{
    if (!m_wakeTimer.isActive())
        m_wakeTimer.start();
    if (m_starts < startsAtOnce) {
        ++m_starts;
        return true;
    }
    if (!m_waking.contains(item))
        m_waking.append(item);
    return false;
}

void RedrawGatherer::tendContexts()
{
    const auto players = m_keeper->waiting();
    if (players.empty()) {
        m_tendTimer.stop();
        return;
    }
    m_tendTimer.start(m_window->isExposed() ? tendIntervalMs : hiddenTendIntervalMs);
    int endings = endingsPerTend;
    for (const auto &mpv : players) {
        if (mpv->retired) {
            if (!mpv->videoEnded && --endings < 0)
                continue;
            mpv->drainRetired();
        }
        if (!mpv->videoReleased)
            mpv->pollVideoOutput();
    }
    if (m_keeper->canFree() && !m_freeScheduled->exchange(true))
        m_window->scheduleRenderJob(new FreeJob(m_keeper, m_freeScheduled), QQuickWindow::NoStage);
}
