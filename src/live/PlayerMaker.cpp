#include "live/PlayerMaker.h"

#include "app/HeapPolicy.h"
#include "live/MpvHandle.h"
#include "live/MpvWorkers.h"

#include <QCoreApplication>
#include <QTimer>

#include <mpv/render.h>

#include <cstdio>
#include <mutex>
#include <utility>

namespace {

// Whoever opens many cells at once has the processor for them first.
constexpr int spareDelayMs = 300;

struct Option
{
    const char *name;
    const char *value;
};

constexpr Option baseOptions[] = {
    {"vo", "libmpv"},
    {"hwdec", "auto-safe"},
    {"hwdec-software-fallback", "yes"},
    {"profile", "low-latency"},
    {"cache", "no"},
    {"untimed", "yes"},
    {"demuxer-lavf-o", "rtsp_transport=tcp"},
    {"demuxer-max-bytes", "500KiB"},
    {"demuxer-readahead-secs", "0.5"},
    {"ao", "null"},
    {"osd-level", "0"},
    {"msg-level", "all=warn"},
    {"ytdl", "no"},
};

// The built-in scripts draw overlays and a console that nobody sees here. Without them a player is made in
// 3.5 ms of CPU time instead of 18, with one thread instead of three and 4 MB less.
constexpr Option leanOptions[] = {
    {"load-stats-overlay", "no"},
    {"load-osd-console", "no"},
    {"load-auto-profiles", "no"},
};

// How frames are converted where that is done in memory: about as a graphics processor would, in a third of
// the time of the default.
constexpr Option conversionOptions[] = {
    {"sws-allow-zimg", "no"},
    {"sws-fast", "yes"},
    {"sws-scaler", "fast-bilinear"},
};

// A file that begins at an offset begins, as seeks do, at the key frame before it.
constexpr Option startAtKeyFrames = {"hr-seek", "no"};

// By default a frame is handed over 50 ms before its time, which the video output then sits out: a file that
// is ended meanwhile holds up the next one for as long.
constexpr Option framesInTime = {"video-timing-offset", "0"};

struct Spare
{
    std::mutex mutex;
    std::optional<NewPlayer> player;
};

// Never destroyed: a worker may still hand one in.
Spare &spare()
{
    static auto *const instance = new Spare;
    return *instance;
}

mpv_render_context *makeContext(mpv_handle *player)
{
    char type[] = MPV_RENDER_API_TYPE_SW;
    mpv_render_param params[] = {{MPV_RENDER_PARAM_API_TYPE, type}, {}};
    mpv_render_context *context = nullptr;
    return mpv_render_context_create(&context, player, params) < 0 ? nullptr : context;
}

bool isKind(const std::optional<NewPlayer> &player, bool withContext)
{
    return player && (player->context != nullptr) == withContext;
}

void makeSpare(bool withContext)
{
    prepareLargeBlock();
    {
        const std::lock_guard lock(spare().mutex);
        if (isKind(spare().player, withContext))
            return;
    }
    std::optional<NewPlayer> made = PlayerMaker::make(false, withContext);
    if (!made)
        return;
    {
        const std::lock_guard lock(spare().mutex);
        std::swap(spare().player, made);
    }
    if (made)
        MpvWorkers::tearDown(*made);
}

} // namespace

std::optional<NewPlayer> PlayerMaker::make(bool stretch, bool withContext)
{
    mpv_handle *player = mpv_create();
    if (!player)
        return {};
    for (const Option &option : baseOptions)
        mpv_set_option_string(player, option.name, option.value);
    mpv_set_option_string(player, "keepaspect", stretch ? "no" : "yes");
    for (const Option &option : leanOptions)
        mpv_set_option_string(player, option.name, option.value);
    for (const Option &option : conversionOptions)
        mpv_set_option_string(player, option.name, option.value);
    mpv_set_option_string(player, startAtKeyFrames.name, startAtKeyFrames.value);
    mpv_set_option_string(player, framesInTime.name, framesInTime.value);

    mpv_request_log_messages(player, "warn");
    if (mpv_initialize(player) < 0) {
        std::fputs("[MpvObject] FATAL: mpv_initialize failed\n", stderr);
        mpv_terminate_destroy(player);
        return {};
    }
    mpv_observe_property(player, MpvHandle::Duration, "duration", MPV_FORMAT_DOUBLE);
    mpv_observe_property(player, MpvHandle::HwdecCurrent, "hwdec-current", MPV_FORMAT_STRING);
    return NewPlayer{player, withContext ? makeContext(player) : nullptr};
}

std::optional<NewPlayer> PlayerMaker::takeSpare(bool withContext)
{
    const std::lock_guard lock(spare().mutex);
    if (!isKind(spare().player, withContext))
        return {};
    return std::exchange(spare().player, std::nullopt);
}

void PlayerMaker::keepSpare(bool withContext)
{
    static QTimer *const timer = [] {
        auto *made = new QTimer(QCoreApplication::instance());
        made->setSingleShot(true);
        return made;
    }();
    timer->disconnect();
    QObject::connect(timer, &QTimer::timeout,
        [withContext] { MpvWorkers::make([withContext] { makeSpare(withContext); }); });
    timer->start(spareDelayMs);
}

void PlayerMaker::discardSpare()
{
    std::optional<NewPlayer> discarded;
    {
        const std::lock_guard lock(spare().mutex);
        discarded.swap(spare().player);
    }
    if (discarded)
        MpvWorkers::tearDown(*discarded);
}
