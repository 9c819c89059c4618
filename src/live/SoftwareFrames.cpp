#include "live/SoftwareFrames.h"

#include <QByteArray>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>

#include <mpv/render.h>

#include <algorithm>

namespace {

constexpr int bytesPerPixel = 4;

// What Mesa's software rasterisers call themselves, those that Qt brings along for Windows too.
constexpr const char *softwareRenderers[] = {"llvmpipe", "softpipe", "Software Rasterizer"};

bool drawsInSoftware(const QOpenGLContext &context)
{
    const auto *name = reinterpret_cast<const char *>(context.functions()->glGetString(GL_RENDERER));
    const QByteArray renderer(name);
    return !context.isOpenGLES()
        && std::any_of(std::begin(softwareRenderers), std::end(softwareRenderers),
            [&renderer](const char *software) { return renderer.contains(software); });
}

} // namespace

bool SoftwareFrames::areWanted()
{
    const QByteArray wanted = qgetenv("ZORVEL_VIDEO_API");
    if (wanted == "opengl" || wanted == "software")
        return wanted == "software";
    const QOpenGLContext *context = QOpenGLContext::currentContext();
    return context && drawsInSoftware(*context);
}

char *SoftwareFrames::apiType()
{
    static char type[] = MPV_RENDER_API_TYPE_SW;
    return type;
}

void SoftwareFrames::prepare(const QOpenGLFramebufferObject &target)
{
    QOpenGLFunctions *gl = QOpenGLContext::currentContext()->functions();
    gl->glBindTexture(GL_TEXTURE_2D, target.texture());
    // In the order in which the frames come, copying them takes no conversion. Their fourth byte holds
    // nothing.
    gl->glTexImage2D(
        GL_TEXTURE_2D, 0, GL_RGBA, target.width(), target.height(), 0, GL_BGRA, GL_UNSIGNED_BYTE, nullptr);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_A, GL_ONE);
    gl->glBindTexture(GL_TEXTURE_2D, 0);
}

void SoftwareFrames::paint(mpv_render_context *context, const QOpenGLFramebufferObject &target)
{
    int size[] = {target.width(), target.height()};
    const size_t blocksPerLine = (size_t(size[0]) * bytesPerPixel + sizeof(Block) - 1) / sizeof(Block);
    size_t stride = blocksPerLine * sizeof(Block);
    if (m_memory.size() < blocksPerLine * size[1])
        m_memory.resize(blocksPerLine * size[1]);
    char format[] = "bgr0";
    int block = 0;
    mpv_render_param params[] = {
        {MPV_RENDER_PARAM_SW_SIZE, size},
        {MPV_RENDER_PARAM_SW_FORMAT, format},
        {MPV_RENDER_PARAM_SW_STRIDE, &stride},
        {MPV_RENDER_PARAM_SW_POINTER, m_memory.data()},
        {MPV_RENDER_PARAM_BLOCK_FOR_TARGET_TIME, &block},
        {},
    };
    if (mpv_render_context_render(context, params) < 0)
        return;

    QOpenGLFunctions *gl = QOpenGLContext::currentContext()->functions();
    gl->glBindTexture(GL_TEXTURE_2D, target.texture());
    gl->glPixelStorei(GL_UNPACK_ROW_LENGTH, GLint(stride / bytesPerPixel));
    gl->glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, size[0], size[1], GL_BGRA, GL_UNSIGNED_BYTE, m_memory.data());
    gl->glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    gl->glBindTexture(GL_TEXTURE_2D, 0);
}
