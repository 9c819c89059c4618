#include "live/MpvHandle.h"

#include "live/MpvObject.h"
#include "live/MpvWorkers.h"
#include "live/PlayerMaker.h"

#include <mpv/client.h>
#include <mpv/render.h>

#include <QByteArray>

#include <chrono>
#include <vector>

qint64 monotonicMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

MpvHandle::MpvHandle(MpvObject *item)
    : owner(item)
{
}

MpvHandle::~MpvHandle()
{
    mpv_handle *player = handle;
    if (!player)
        return;
    mpv_set_wakeup_callback(player, nullptr, nullptr);
    if (mpv_render_context *context = newContext)
        mpv_render_context_set_update_callback(context, nullptr, nullptr);
    MpvWorkers::tearDown({player, newContext});
}

void MpvHandle::requestPlayer(bool stretch, bool withContext)
{
    if (std::exchange(m_requested, true))
        return;
    PlayerMaker::keepSpare(withContext);
    if (const auto spare = PlayerMaker::takeSpare(withContext)) {
        take(*spare);
        return;
    }
    MpvWorkers::make([self = shared_from_this(), stretch, withContext] {
        if (self->retired)
            return;
        if (const auto made = PlayerMaker::make(stretch, withContext))
            self->take(*made);
        else
            self->post(&MpvObject::playerFailed);
    });
}

void MpvHandle::take(const NewPlayer &player)
{
    if (player.context) {
        mpv_render_context_set_update_callback(player.context, frameArrived, this);
        // Setting the callback calls it.
        frameWaiting = false;
        newContext = player.context;
        ++contextSerial;
        renderReady = true;
    }
    mpv_set_wakeup_callback(player.handle, wakeup, this);
    // Last: whoever sees the player sees its context.
    handle = player.handle;
    post(&MpvObject::playerReady);
}

void MpvHandle::command(std::initializer_list<const char *> arguments, quint64 replyId) const
{
    if (!handle)
        return;
    std::vector<const char *> list(arguments);
    list.push_back(nullptr);
    mpv_command_async(handle, replyId, list.data());
}

void MpvHandle::loadFile(const QByteArray &url, const QByteArray &options, quint64 replyId) const
{
    // Since 2.3 there is a place in the playlist before the options.
    if (mpv_client_api_version() < MPV_MAKE_VERSION(2, 3))
        command({"loadfile", url.constData(), "replace", options.constData()}, replyId);
    else
        command({"loadfile", url.constData(), "replace", "-1", options.constData()}, replyId);
}

void MpvHandle::setProperty(const char *name, const char *value) const
{
    if (handle)
        mpv_set_property_async(handle, 0, name, MPV_FORMAT_STRING, &value);
}

void MpvHandle::setProperty(const char *name, double value) const
{
    if (handle)
        mpv_set_property_async(handle, 0, name, MPV_FORMAT_DOUBLE, &value);
}

void MpvHandle::setFlag(const char *name, bool value) const
{
    int flag = value ? 1 : 0;
    if (handle)
        mpv_set_property_async(handle, 0, name, MPV_FORMAT_FLAG, &flag);
}

void MpvHandle::setStringList(const char *name, const QByteArray &entry) const
{
    QByteArray text = entry;
    mpv_node line = {};
    line.format = MPV_FORMAT_STRING;
    line.u.string = text.data();
    mpv_node_list lines = {1, &line, nullptr};
    mpv_node list = {};
    list.format = MPV_FORMAT_NODE_ARRAY;
    list.u.list = &lines;
    if (handle)
        mpv_set_property_async(handle, 0, name, MPV_FORMAT_NODE, &list);
}

void MpvHandle::observe(const char *name, int format, Reply replyId) const
{
    if (handle)
        mpv_observe_property(handle, replyId, name, mpv_format(format));
}

void MpvHandle::unobserve(Reply replyId) const
{
    if (handle)
        mpv_unobserve_property(handle, replyId);
}

void MpvHandle::read(const char *name, int format, Reply replyId) const
{
    if (handle)
        mpv_get_property_async(handle, replyId, name, mpv_format(format));
}

void MpvHandle::post(void (MpvObject::*slot)())
{
    const std::lock_guard lock(mutex);
    if (owner)
        QMetaObject::invokeMethod(owner, slot, Qt::QueuedConnection);
}

void MpvHandle::retire()
{
    {
        const std::lock_guard lock(mutex);
        owner = nullptr;
    }
    retired = true;
}

void MpvHandle::endVideo()
{
    videoOff = true;
    setProperty("vid", "no");
}

void MpvHandle::endPlayback()
{
    endVideo();
    command({"stop"});
}

void MpvHandle::pollVideoOutput()
{
    if (std::exchange(m_polling, true))
        return;
    read("current-vo", MPV_FORMAT_STRING, VideoOutput);
}

bool MpvHandle::noteVideoOutput(const mpv_event *event)
{
    if (event->event_id != MPV_EVENT_GET_PROPERTY_REPLY || event->reply_userdata != VideoOutput)
        return false;
    m_polling = false;
    videoReleased = event->error < 0;
    return true;
}

void MpvHandle::drainRetired()
{
    if (!std::exchange(videoEnded, true))
        endVideo();
    while (const mpv_event *event = mpv_wait_event(handle, 0)) {
        if (event->event_id == MPV_EVENT_NONE)
            break;
        noteVideoOutput(event);
    }
}

void MpvHandle::wakeup(void *self)
{
    auto *mpv = static_cast<MpvHandle *>(self);
    if (!mpv->drainPosted.exchange(true))
        mpv->post(&MpvObject::drainEvents);
}

void MpvHandle::frameArrived(void *self)
{
    auto *mpv = static_cast<MpvHandle *>(self);
    ++mpv->framesAnnounced;
    {
        const std::lock_guard lock(mpv->mutex);
        if (mpv->m_countsFrames) {
            mpv->lastFrameMs = monotonicMs();
            ++mpv->framesDelivered;
        }
    }
    mpv->frameWaiting = true;
    if (!mpv->updatePosted.exchange(true))
        mpv->post(&MpvObject::doUpdate);
}

void MpvHandle::countFrames(bool count)
{
    const std::lock_guard lock(mutex);
    m_countsFrames = count;
    framesDelivered = 0;
    lastFrameMs = -1;
}

void MpvHandle::noteFirstFrameShown()
{
    qint64 none = -1;
    lastFrameMs.compare_exchange_strong(none, monotonicMs());
}

void MpvHandle::noteFrameTaken()
{
    frameWaiting = false;
    lastTakenMs = monotonicMs();
}

void MpvHandle::notePicture(bool newFrame)
{
    if (frameSkipped.exchange(false) || newFrame)
        ++picturesDrawn;
}
