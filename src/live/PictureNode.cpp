#include "live/PictureNode.h"

#include <QLine>
#include <QMatrix4x4>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QSGRenderNode>

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

// What is drawn to: a layer's texture or a window of that size. What OpenGL's viewport says may be left over.
QSize targetSize(QOpenGLExtraFunctions *gl, const QSize &window)
{
    GLint type = 0;
    GLint texture = 0;
    GLint target = 0;
    gl->glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &target);
    if (GLuint(target) == QOpenGLContext::currentContext()->defaultFramebufferObject())
        return window;
    const auto attachment = [gl](GLenum name, GLint *value) {
        gl->glGetFramebufferAttachmentParameteriv(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, name, value);
    };
    attachment(GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE, &type);
    attachment(GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME, &texture);
    if (type != GL_TEXTURE)
        return {};
    QSize size;
    gl->glBindTexture(GL_TEXTURE_2D, GLuint(texture));
    gl->glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &size.rwidth());
    gl->glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &size.rheight());
    gl->glBindTexture(GL_TEXTURE_2D, 0);
    return size;
}

// Where the pixels of a picture go along one axis, in OpenGL's window coordinates. The place of an upright
// picture in the window descends from its first line to its last.
struct Span
{
    int sourceFrom;
    int sourceTo;
    int from;
    int to;

    // Whether no pixel is scaled. An edge between two pixels of the window leaves the picture its size.
    bool settlesUnscaled()
    {
        const int length = sourceTo - sourceFrom;
        if (std::abs(std::abs(to - from) - length) > 1)
            return false;
        to = from + (to < from ? -length : length);
        return true;
    }

    // Cuts off what lies outside, of an unscaled span. Returns whether anything remains.
    bool clip(int first, int end)
    {
        const bool ascends = from < to;
        int &low = ascends ? from : to;
        int &high = ascends ? to : from;
        const int below = std::max(first - low, 0);
        const int above = std::max(high - end, 0);
        low += below;
        high -= above;
        sourceFrom += ascends ? below : above;
        sourceTo -= ascends ? above : below;
        return low < high;
    }
};

} // namespace

class PictureCopy : public QSGRenderNode
{
public:
    // Where the node is in the scene is known only while a frame is prepared. The scissor box that rendering
    // is told is wrong for what is drawn first in a frame.
    void prepare() override;
    void render(const RenderState *state) override;
    // Not called opaque: such nodes are drawn with the nearest first.
    RenderingFlags flags() const override { return BoundedRectRendering; }
    QRectF rect() const override { return m_rect; }

    void setPicture(const std::shared_ptr<const PictureBuffer> &buffer, const QRectF &rect,
        const std::shared_ptr<const QSize> &window)
    {
        m_window = window;
        if (m_rect != rect || m_buffer != buffer)
            markDirty(DirtyGeometry);
        m_buffer = buffer;
        m_rect = rect;
    }

private:
    std::shared_ptr<const PictureBuffer> m_buffer;
    QRectF m_rect;
    std::shared_ptr<const QSize> m_window;
    // In the coordinates of the scene.
    QRectF m_place;
    std::optional<QRectF> m_clip;
};

void PictureCopy::prepare()
{
    m_place = matrix()->mapRect(m_rect);
    m_clip.reset();
    for (const QSGClipNode *clip = clipList(); clip; clip = clip->clipList()) {
        const QRectF rect = clip->matrix() ? clip->matrix()->mapRect(clip->clipRect()) : clip->clipRect();
        m_clip = m_clip ? *m_clip & rect : rect;
    }
}

void PictureCopy::render(const RenderState *state)
{
    QOpenGLExtraFunctions *gl = QOpenGLContext::currentContext()->extraFunctions();
    const QSize target = targetSize(gl, *m_window);
    const QSize size = m_buffer->size;
    if (!m_buffer->framebuffer || size.isEmpty() || target.isEmpty())
        return;
    // From a rectangle's first pixel to its last, in OpenGL's window coordinates.
    const auto diagonal = [&target, projection = *state->projectionMatrix()](const QRectF &rect) {
        const auto pixel = [&](const QPointF &point) {
            const QPointF unit = (projection.map(point) + QPointF(1, 1)) / 2;
            return QPointF(unit.x() * target.width(), unit.y() * target.height()).toPoint();
        };
        return QLine(pixel(rect.topLeft()), pixel(rect.bottomRight()));
    };
    const QLine place = diagonal(m_place);
    Span across = {0, size.width(), place.x1(), place.x2()};
    Span down = {0, size.height(), place.y1(), place.y2()};
    const bool unscaled = across.settlesUnscaled() && down.settlesUnscaled();

    gl->glDisable(GL_SCISSOR_TEST);
    if (m_clip) {
        const QLine clip = diagonal(*m_clip);
        const auto [left, right] = std::minmax({clip.x1(), clip.x2()});
        const auto [bottom, top] = std::minmax({clip.y1(), clip.y2()});
        // Within a scissor box the driver would sample even what it could copy.
        if (unscaled && (!across.clip(left, right) || !down.clip(bottom, top)))
            return;
        if (!unscaled) {
            gl->glEnable(GL_SCISSOR_TEST);
            gl->glScissor(left, bottom, right - left, top - bottom);
        }
    }
    GLint reads = 0;
    gl->glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &reads);
    gl->glBindFramebuffer(GL_READ_FRAMEBUFFER, m_buffer->framebuffer);
    gl->glBlitFramebuffer(across.sourceFrom, down.sourceFrom, across.sourceTo, down.sourceTo, across.from,
        down.from, across.to, down.to, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    gl->glBindFramebuffer(GL_READ_FRAMEBUFFER, GLuint(reads));
    gl->glDisable(GL_SCISSOR_TEST);
}

PictureNode::PictureNode(QSGNode *sampled)
    : m_sampled(sampled)
    , m_sampling(new Sampling)
{
    m_sampling->appendChildNode(sampled);
    appendChildNode(m_sampling);
}

void PictureNode::copy(const std::shared_ptr<const PictureBuffer> &buffer, const QRectF &rect,
    const std::shared_ptr<const QSize> &window)
{
    if (!m_copy) {
        m_copy = new PictureCopy;
        appendChildNode(m_copy);
        m_sampling->isBlocked = true;
        m_sampling->markDirty(DirtySubtreeBlocked);
    }
    m_copy->setPicture(buffer, rect, window);
}
