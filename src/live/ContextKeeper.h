#pragma once

#include "live/SoftwareFrames.h"

#include <QtGlobal>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

struct mpv_render_context;
class MpvHandle;
class QObject;

// What the renderers of one window share on its render thread: the time that making and freeing their render
// contexts may take of each frame, and the contexts whose renderers are gone.
//
// Freeing a context waits for the video output that draws with it, up to a fifth of a second. A context is
// therefore laid aside until its player has let go of it, and only what is left when the scene graph goes is
// freed without that.
//
// bury(), the budget, softwareFrames() and the freeing belong to the render thread with its OpenGL context
// current; the rest may be called from anywhere.
class ContextKeeper
{
public:
    // Runs the slot tendContexts() of its tender on the GUI thread when the first context was laid aside.
    explicit ContextKeeper(QObject *tender);
    ~ContextKeeper();
    Q_DISABLE_COPY_MOVE(ContextKeeper)

    // The tender goes; nothing is announced after this.
    void forgetTender();

    // Costly work on behalf of one frame, timed for as long as the object lives.
    class Work
    {
    public:
        explicit Work(ContextKeeper &keeper);
        ~Work();
        Q_DISABLE_COPY_MOVE(Work)

    private:
        ContextKeeper &m_keeper;
        std::chrono::steady_clock::time_point m_start;
    };
    void beginFrame();
    // Whether the frame has time left for more costly work. The first piece of a frame always may.
    bool mayWork() const;

    // What draws the frames of this window's players where OpenGL is computed in software; null elsewhere.
    SoftwareFrames *softwareFrames();
    // Whether that is known to be so; for any thread.
    bool drawsInSoftware() const { return m_drawsInSoftware; }

    // A renderer announces the context it draws with.
    void adopt(const MpvHandle *mpv, mpv_render_context *context);
    // Takes over a context, its update callback already removed, and with it the player's render slot.
    void bury(mpv_render_context *context, std::shared_ptr<MpvHandle> mpv);
    // Frees contexts that nothing draws with any more, as many as fit into the time of one frame.
    void freeReleased();
    void freeAll();

    // Takes the waiting frames of players off their hands without drawing them: what keeps a hidden player up
    // to date. Players that no renderer of this window draws are passed over.
    void takeFrames(const std::vector<std::shared_ptr<MpvHandle>> &players) const;

    // Whether freeReleased() would free something.
    bool canFree() const;
    // The players whose contexts are still laid aside.
    std::vector<std::shared_ptr<MpvHandle>> waiting() const;

private:
    struct Grave
    {
        mpv_render_context *context;
        std::shared_ptr<MpvHandle> mpv;
        qint64 sinceMs;

        bool isFree(qint64 nowMs) const;
    };

    static void release(Grave &grave);

    std::chrono::steady_clock::duration m_spent = {};
    bool m_knowsHowToDraw = false;
    std::atomic_bool m_drawsInSoftware = false;
    SoftwareFrames m_softwareFrames;
    std::unordered_map<const MpvHandle *, mpv_render_context *> m_contexts;
    mutable std::mutex m_mutex;
    QObject *m_tender;
    std::vector<Grave> m_graves;
};
