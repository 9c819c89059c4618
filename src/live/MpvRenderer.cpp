#include "live/MpvRenderer.h"

#include "app/CrashReporting.h"
#include "app/Logging.h"
#include "live/ContextKeeper.h"
#include "live/MpvHandle.h"
#include "live/MpvObject.h"
#include "live/PictureNode.h"

#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <QQuickOpenGLUtils>

#include <mpv/render_gl.h>

#include <cstdio>

namespace {

constexpr int slotWaitWarningFrames = 120;
constexpr int rateLogIntervalMs = 10000;

void *glFunction(void *, const char *name)
{
    QOpenGLContext *context = QOpenGLContext::currentContext();
    return context ? reinterpret_cast<void *>(context->getProcAddress(name)) : nullptr;
}

} // namespace

MpvRenderer::MpvRenderer(std::shared_ptr<MpvHandle> mpv, std::shared_ptr<ContextKeeper> keeper)
    : m_mpv(std::move(mpv))
    , m_keeper(std::move(keeper))
    , m_buffer(std::make_shared<PictureBuffer>())
{
}

MpvRenderer::~MpvRenderer()
{
    if (!m_context)
        return;
    mpv_render_context_set_update_callback(m_context, nullptr, nullptr);
    m_mpv->renderReady = false;
    m_keeper->bury(m_context, std::move(m_mpv));
}

void MpvRenderer::synchronize(QQuickFramebufferObject *item)
{
    auto *video = static_cast<MpvObject *>(item);
    video->m_buffer = m_buffer;
    m_state = video->state();
    m_source = video->source();
    m_isNetwork = video->isNetwork();
    m_preparing = video->isPreparing();
}

void MpvRenderer::render()
{
    QQuickOpenGLUtils::resetOpenGLState();
    if (m_state == QLatin1String("idle")) {
        if (m_preparing && ensureContext() == Context::RetryLater)
            m_mpv->post(&MpvObject::requestRedraw);
        if (m_context && m_mpv->frameWaiting)
            m_keeper->takeFrames({m_mpv});
        paintBlack();
        return;
    }
    switch (ensureContext()) {
    case Context::Ready:
        draw();
        return;
    case Context::RetryLater:
        retryLater();
        return;
    case Context::Failed:
        if (!m_isFilled)
            paintBlack();
        return;
    }
}

MpvRenderer::Context MpvRenderer::ensureContext()
{
    if (m_context)
        return Context::Ready;
    if (m_renderFailed || !m_mpv->handle)
        return Context::Failed;
    if (!m_keeper->mayWork())
        return Context::RetryLater;
    if (m_mpv->renderSlotHeld.exchange(true)) {
        if (++m_slotWaitFrames == slotWaitWarningFrames) {
            qCWarning(lcStream).noquote()
                << "[mpv] render slot still held after 120 frames src=" + redactUrl(m_source);
        }
        return Context::RetryLater;
    }
    m_slotWaitFrames = 0;
    createContext();
    return m_context ? Context::Ready : Context::Failed;
}

void MpvRenderer::paintBlack()
{
    // Resetting the OpenGL state has unbound it.
    framebufferObject()->bind();
    QOpenGLFunctions *gl = QOpenGLContext::currentContext()->functions();
    gl->glClearColor(0, 0, 0, 1);
    gl->glClear(GL_COLOR_BUFFER_BIT);
    m_isFilled = true;
}

QOpenGLFramebufferObject *MpvRenderer::createFramebufferObject(const QSize &size)
{
    m_isFilled = false;
    QOpenGLFramebufferObject *target = Renderer::createFramebufferObject(size);
    if (m_keeper->softwareFrames())
        SoftwareFrames::prepare(*target);
    *m_buffer = {target->handle(), target->size()};
    return target;
}

void MpvRenderer::retryLater()
{
    paintBlack();
    m_mpv->post(&MpvObject::requestRedraw);
}

void MpvRenderer::createContext()
{
    if (mpv_render_context *made = m_mpv->newContext.exchange(nullptr)) {
        m_context = made;
        m_keeper->adopt(m_mpv.get(), m_context);
        m_mpv->renderReady = true;
        m_mpv->post(&MpvObject::renderContextReady);
        return;
    }
    const ContextKeeper::Work work(*m_keeper);
    char openGl[] = MPV_RENDER_API_TYPE_OPENGL;
    mpv_opengl_init_params glParams = {glFunction, nullptr};
    mpv_render_param params[] = {
        {MPV_RENDER_PARAM_API_TYPE, m_keeper->softwareFrames() ? SoftwareFrames::apiType() : openGl},
        {MPV_RENDER_PARAM_OPENGL_INIT_PARAMS, &glParams},
        {},
    };
    if (mpv_render_context_create(&m_context, m_mpv->handle, params) < 0) {
        m_context = nullptr;
        m_mpv->renderSlotHeld = false;
        m_renderFailed = true;
        std::fputs("[MpvObject] failed to create render context\n", stderr);
        captureError(QStringLiteral("mpv_render_context_create failed"));
        return;
    }
    m_keeper->adopt(m_mpv.get(), m_context);
    mpv_render_context_set_update_callback(m_context, MpvHandle::frameArrived, m_mpv.get());
    ++m_mpv->contextSerial;
    m_mpv->renderReady = true;
    m_mpv->post(&MpvObject::renderContextReady);
}

void MpvRenderer::draw()
{
    const bool newFrame = mpv_render_context_update(m_context) & MPV_RENDER_UPDATE_FRAME;
    // What stands there stays until the file that is being opened shows something.
    if (!newFrame && m_isFilled && m_state == QLatin1String("loading"))
        return;
    SoftwareFrames *const software = m_keeper->softwareFrames();
    // The first frame compiles the shaders or sets up its conversion.
    const bool costly = newFrame && !m_hasDrawn;
    if (costly && !m_keeper->mayWork()) {
        retryLater();
        return;
    }
    std::unique_ptr<ContextKeeper::Work> work;
    if (costly)
        work = std::make_unique<ContextKeeper::Work>(*m_keeper);
    m_hasDrawn = m_hasDrawn || newFrame;

    m_mpv->noteFrameTaken();
    m_mpv->notePicture(newFrame);
    if (software)
        software->paint(m_context, *framebufferObject());
    else
        drawWithShaders();
    m_isFilled = true;
    QQuickOpenGLUtils::resetOpenGLState();
    countFrame();
    noteFirstFrame(newFrame);
}

void MpvRenderer::drawWithShaders()
{
    const QOpenGLFramebufferObject *target = framebufferObject();
    mpv_opengl_fbo fbo = {int(target->handle()), target->width(), target->height(), 0};
    int flipY = 0;
    int block = 0;
    mpv_render_param params[] = {
        {MPV_RENDER_PARAM_OPENGL_FBO, &fbo},
        {MPV_RENDER_PARAM_FLIP_Y, &flipY},
        {MPV_RENDER_PARAM_BLOCK_FOR_TARGET_TIME, &block},
        {},
    };
    mpv_render_context_render(m_context, params);
}

void MpvRenderer::skipFrame(mpv_render_context *context)
{
    int skip = 1;
    int block = 0;
    mpv_render_param params[] = {
        {MPV_RENDER_PARAM_SKIP_RENDERING, &skip},
        {MPV_RENDER_PARAM_BLOCK_FOR_TARGET_TIME, &block},
        {},
    };
    mpv_render_context_render(context, params);
}

// When a buffered file shows its first frame is told by the player: what is drawn before may be a frame of
// the file it replaced.
void MpvRenderer::noteFirstFrame(bool newFrame)
{
    if (m_isNetwork)
        return;
    if (!newFrame && !m_mpv->firstFrameOverdue)
        return;
    if (m_mpv->awaitingFirstFrame.exchange(false)) {
        m_mpv->firstFramePending = true;
        m_mpv->post(&MpvObject::doUpdate);
    }
}

void MpvRenderer::countFrame()
{
    if (!m_renderTimer.isValid()) {
        m_renderTimer.start();
        return;
    }
    ++m_renderCount;
    if (m_renderTimer.elapsed() < rateLogIntervalMs)
        return;
    qCDebug(lcStream).noquote() << QStringLiteral("[mpv] render rate %1/s src=%2")
                                       .arg(m_renderCount * 1000.0 / m_renderTimer.elapsed(), 0, 'f', 1)
                                       .arg(redactUrl(m_source));
    m_renderCount = 0;
    m_renderTimer.restart();
}
