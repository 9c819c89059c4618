#include "live/MpvWorkers.h"

#include "app/HeapPolicy.h"
#include "live/PlayerMaker.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThreadPool>
#include <QTimer>

#include <mpv/client.h>
#include <mpv/render.h>

#include <atomic>
#include <utility>

namespace {

constexpr int makerThreads = 1;
constexpr int reaperThreads = 8;
constexpr int exitGraceMs = 3000;
// Decoders end within a fraction of a second; more streams may end meanwhile.
constexpr int trimDelayMs = 10'000;

struct Pools
{
    QThreadPool makers;
    QThreadPool reapers;
    std::atomic_int doomed = 0;
};

// Never destroyed: a destructor would wait without bound for a camera that hangs.
Pools &pools()
{
    static Pools *const instance = [] {
        auto *made = new Pools;
        made->makers.setMaxThreadCount(makerThreads);
        made->reapers.setMaxThreadCount(reaperThreads);
        made->reapers.setExpiryTimeout(5000);
        qAddPostRoutine([] {
            PlayerMaker::discardSpare();
            MpvWorkers::waitForDone(exitGraceMs);
        });
        return made;
    }();
    return *instance;
}

} // namespace

void MpvWorkers::make(std::function<void()> job)
{
    pools().makers.start(std::move(job));
}

void MpvWorkers::tearDown(const NewPlayer &player)
{
    ++pools().doomed;
    pools().reapers.start([player] {
        if (player.context)
            mpv_render_context_free(player.context);
        mpv_terminate_destroy(player.handle);
        if (--pools().doomed == 0)
            returnFreeMemory();
    });
}

void MpvWorkers::noteStreamEnded()
{
    static bool scheduled = false;
    if (std::exchange(scheduled, true))
        return;
    QTimer::singleShot(trimDelayMs, QCoreApplication::instance(), [] {
        scheduled = false;
        pools().reapers.start(returnFreeMemory);
    });
}

bool MpvWorkers::waitForDone(int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    return pools().makers.waitForDone(timeoutMs)
        && pools().reapers.waitForDone(int(deadline.remainingTime()));
}
