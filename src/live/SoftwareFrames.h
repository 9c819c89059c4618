#pragma once

#include <QtGlobal>

#include <array>
#include <vector>

struct mpv_render_context;
class QOpenGLFramebufferObject;

// Draws players' frames where the processor computes OpenGL as well: libmpv converts and scales them in
// memory, and they are copied into the framebuffer object of their item. That takes the processor half the
// time that shaders take it, and none to compile them. Where there is a graphics processor libmpv draws with
// it.
//
// Belongs to the render thread, its OpenGL context current; one object serves all players of a window.
class SoftwareFrames
{
public:
    // Whether the current OpenGL context draws in software. The environment variable ZORVEL_VIDEO_API,
    // "opengl" or "software", decides otherwise.
    static bool areWanted();

    // The parameter with which a render context is created for such frames.
    static char *apiType();

    // Makes a new framebuffer object ready to take frames.
    static void prepare(const QOpenGLFramebufferObject &target);

    // Draws the player's current frame.
    void paint(mpv_render_context *context, const QOpenGLFramebufferObject &target);

private:
    // Lines begin where libmpv's fast paths want them to.
    struct alignas(64) Block
    {
        std::array<uchar, 64> bytes;
    };

    std::vector<Block> m_memory;
};
