#include "live/ContextKeeper.h"

#include "live/MpvHandle.h"
#include "live/MpvRenderer.h"
#include "live/MpvWorkers.h"

#include <QMetaObject>
#include <QObject>

#include <mpv/client.h>
#include <mpv/render_gl.h>

#include <algorithm>
#include <utility>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr Clock::duration frameBudget = 8ms;
// A player that does not answer for this long is not waited for any longer.
constexpr qint64 patienceMs = 3000;

} // namespace

ContextKeeper::ContextKeeper(QObject *tender)
    : m_tender(tender)
{
}

ContextKeeper::~ContextKeeper()
{
    Q_ASSERT(m_graves.empty());
}

void ContextKeeper::forgetTender()
{
    const std::lock_guard lock(m_mutex);
    m_tender = nullptr;
}

ContextKeeper::Work::Work(ContextKeeper &keeper)
    : m_keeper(keeper)
    , m_start(Clock::now())
{
}

ContextKeeper::Work::~Work()
{
    m_keeper.m_spent += Clock::now() - m_start;
}

void ContextKeeper::beginFrame()
{
    m_spent = {};
    softwareFrames();
}

bool ContextKeeper::mayWork() const
{
    return m_spent < frameBudget;
}

SoftwareFrames *ContextKeeper::softwareFrames()
{
    if (!std::exchange(m_knowsHowToDraw, true))
        m_drawsInSoftware = SoftwareFrames::areWanted();
    return m_drawsInSoftware ? &m_softwareFrames : nullptr;
}

void ContextKeeper::adopt(const MpvHandle *mpv, mpv_render_context *context)
{
    m_contexts[mpv] = context;
}

void ContextKeeper::bury(mpv_render_context *context, std::shared_ptr<MpvHandle> mpv)
{
    m_contexts.erase(mpv.get());
    MpvRenderer::skipFrame(context);
    mpv->videoReleased = false;
    const std::lock_guard lock(m_mutex);
    m_graves.push_back({context, std::move(mpv), monotonicMs()});
    if (m_tender && m_graves.size() == 1)
        QMetaObject::invokeMethod(m_tender, "tendContexts", Qt::QueuedConnection);
}

void ContextKeeper::freeReleased()
{
    const auto end = Clock::now() + frameBudget;
    const qint64 nowMs = monotonicMs();
    while (Clock::now() < end) {
        Grave grave;
        {
            const std::lock_guard lock(m_mutex);
            const auto found = std::find_if(
                m_graves.begin(), m_graves.end(), [nowMs](const Grave &g) { return g.isFree(nowMs); });
            if (found == m_graves.end())
                return;
            grave = std::move(*found);
            m_graves.erase(found);
        }
        release(grave);
    }
}

void ContextKeeper::freeAll()
{
    std::vector<Grave> graves;
    {
        const std::lock_guard lock(m_mutex);
        graves.swap(m_graves);
    }
    for (const Grave &grave : graves) {
        if (!grave.mpv->videoReleased)
            MpvWorkers::make([mpv = grave.mpv] {
                // Afterwards it may have been given another context and another file.
                if (mpv->renderSlotHeld)
                    mpv->endVideo();
            });
    }
    std::for_each(graves.begin(), graves.end(), release);
}

void ContextKeeper::release(Grave &grave)
{
    MpvRenderer::skipFrame(grave.context);
    mpv_render_context_free(grave.context);
    grave.mpv->renderSlotHeld = false;
    grave.mpv.reset();
}

void ContextKeeper::takeFrames(const std::vector<std::shared_ptr<MpvHandle>> &players) const
{
    for (const auto &mpv : players) {
        const auto found = m_contexts.find(mpv.get());
        if (found == m_contexts.end())
            continue;
        mpv->noteFrameTaken();
        if (mpv_render_context_update(found->second) & MPV_RENDER_UPDATE_FRAME)
            mpv->frameSkipped = true;
        MpvRenderer::skipFrame(found->second);
    }
}

bool ContextKeeper::Grave::isFree(qint64 nowMs) const
{
    return mpv->videoReleased || nowMs - sinceMs > patienceMs;
}

bool ContextKeeper::canFree() const
{
    const qint64 nowMs = monotonicMs();
    const std::lock_guard lock(m_mutex);
    return std::any_of(m_graves.begin(), m_graves.end(), [nowMs](const Grave &g) { return g.isFree(nowMs); });
}

std::vector<std::shared_ptr<MpvHandle>> ContextKeeper::waiting() const
{
    const std::lock_guard lock(m_mutex);
    std::vector<std::shared_ptr<MpvHandle>> players;
    players.reserve(m_graves.size());
    for (const Grave &grave : m_graves)
        players.push_back(grave.mpv);
    return players;
}
