#pragma once

#include <QtGlobal>

#include <atomic>
#include <initializer_list>
#include <memory>
#include <mutex>

struct mpv_event;
struct mpv_handle;
struct mpv_render_context;
struct NewPlayer;
class MpvObject;
class QByteArray;

// One libmpv player, shared between a video item, its renderer and, for a while, what is left of them.
// Whoever lets go last tears the player down, on a worker thread.
//
// The player is made on a worker thread after requestPlayer(). Nothing here waits for it: commands and
// property writes are asynchronous, and are dropped while there is no player.
class MpvHandle : public std::enable_shared_from_this<MpvHandle>
{
public:
    // The ids under which libmpv answers: observed properties, then commands and single reads.
    enum Reply {
        TimePos = 1,
        Duration = 2,
        HwdecCurrent = 3,
        VideoOutput,
        VideoCodec,
        FrameWidth,
        FrameHeight,
        FrameRate,
        HardwareFound,
        // The first of the ids of "loadfile" commands, one for each.
        FirstLoad,
    };

    explicit MpvHandle(MpvObject *item);
    ~MpvHandle();
    Q_DISABLE_COPY_MOVE(MpvHandle)

    // Has the player made, or takes the one that is kept ready; the owner hears of it through its
    // playerReady() or playerFailed(). Only the first call counts. `withContext`: with a render context for
    // frames in memory.
    void requestPlayer(bool stretch, bool withContext);

    void command(std::initializer_list<const char *> arguments, quint64 replyId = 0) const;
    // Options are "name=value" pairs with commas between them, for this file alone.
    void loadFile(const QByteArray &url, const QByteArray &options, quint64 replyId) const;
    void setProperty(const char *name, const char *value) const;
    void setProperty(const char *name, double value) const;
    void setFlag(const char *name, bool value) const;
    // A string list of one entry.
    void setStringList(const char *name, const QByteArray &entry) const;
    void observe(const char *name, int format, Reply replyId) const;
    void unobserve(Reply replyId) const;
    void read(const char *name, int format, Reply replyId) const;

    // Runs a slot of the owner on the GUI thread, if the owner is still there.
    void post(void (MpvObject::*slot)());
    // The owner goes: no callback reaches it after this.
    void retire();

    // Asks whether a video output still uses the render context; the answer arrives as an event.
    void pollVideoOutput();
    // Notes the answer. Returns whether the event was one.
    bool noteVideoOutput(const mpv_event *event);
    // Takes the picture off the player: a file that is loaded later shows one only if it is told to. Unlike
    // "stop" this waits for no camera.
    void endVideo();
    // Ends playback, the picture first.
    void endPlayback();
    // Ends the picture of a player whose owner is gone, and takes its events.
    void drainRetired();

    // A new frame waits to be rendered; installed as the render context's update callback.
    static void frameArrived(void *self);
    // Starts counting frames from none: those of the file that was just opened; or stops, so that late frames
    // of a file that is being replaced do not count.
    void countFrames(bool count);
    // The age of the latest frame counts from here if the first one came before frames were counted.
    void noteFirstFrameShown();
    // The waiting frame is about to be drawn or skipped.
    void noteFrameTaken();
    // A redraw is about to draw the latest frame; `newFrame`: one that nobody has taken yet.
    void notePicture(bool newFrame);

    std::atomic<mpv_handle *> handle = nullptr;
    // The render context that came with the player, until a renderer takes it.
    std::atomic<mpv_render_context *> newContext = nullptr;

    // True while a renderer owns the one render context that the player allows, or that context waits to be
    // freed.
    std::atomic_bool renderSlotHeld = false;
    // True once a render context exists for the owner's current window; and how many there have been.
    std::atomic_bool renderReady = false;
    std::atomic_int contextSerial = 0;
    // From the moment the file is open until its first frame was rendered.
    std::atomic_bool awaitingFirstFrame = false;
    // The first frame was rendered and the owner has not heard of it.
    std::atomic_bool firstFramePending = false;
    // The frame on display counts as the first one although it came before awaitingFirstFrame was set.
    std::atomic_bool firstFrameOverdue = false;

    // A frame was announced and neither drawn nor skipped yet.
    std::atomic_bool frameWaiting = false;
    // All frames ever announced.
    std::atomic<quint64> framesAnnounced = 0;
    // Frames of the open file announced, and when the last one was, in ms of the monotonic clock, -1 for
    // none.
    std::atomic<quint64> framesDelivered = 0;
    std::atomic<qint64> lastFrameMs = -1;
    // When a frame was last drawn or skipped.
    std::atomic<qint64> lastTakenMs = 0;
    // A frame was skipped after the last redraw; and the redraws that drew another frame than the one before.
    std::atomic_bool frameSkipped = false;
    std::atomic<quint64> picturesDrawn = 0;

    // The owner is gone; and its picture was ended after that.
    std::atomic_bool retired = false;
    bool videoEnded = false;
    // endVideo() was called.
    std::atomic_bool videoOff = false;
    // After playback was ended for good: no video output uses the render context any more.
    std::atomic_bool videoReleased = false;

    std::atomic_bool drainPosted = false;
    std::atomic_bool updatePosted = false;

    std::mutex mutex;
    MpvObject *owner;

private:
    static void wakeup(void *self);
    void take(const NewPlayer &player);

    bool m_requested = false;
    bool m_countsFrames = false;
    bool m_polling = false;
};

// Milliseconds of the monotonic clock.
qint64 monotonicMs();
