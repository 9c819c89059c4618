#pragma once

#include <QElapsedTimer>
#include <QQuickFramebufferObject>

#include <memory>

struct mpv_render_context;
class ContextKeeper;
class MpvHandle;
struct PictureBuffer;

// Paints a player's frames into its item's framebuffer object. It lives on the render thread and calls
// nothing of libmpv but its render functions; the render context is made with the first frame that needs it,
// and when the renderer goes it is left to the window's keeper.
class MpvRenderer : public QQuickFramebufferObject::Renderer
{
public:
    MpvRenderer(std::shared_ptr<MpvHandle> mpv, std::shared_ptr<ContextKeeper> keeper);
    ~MpvRenderer() override;
    Q_DISABLE_COPY_MOVE(MpvRenderer)

    void synchronize(QQuickFramebufferObject *item) override;
    void render() override;
    QOpenGLFramebufferObject *createFramebufferObject(const QSize &size) override;

    // Takes a waiting frame off the player's hands without drawing it.
    static void skipFrame(mpv_render_context *context);

private:
    enum class Context { Ready, RetryLater, Failed };

    Context ensureContext();
    void createContext();
    // Asks for another try with the window's next redraw.
    void retryLater();
    void paintBlack();
    void draw();
    void drawWithShaders();
    void noteFirstFrame(bool newFrame);
    void countFrame();

    std::shared_ptr<MpvHandle> m_mpv;
    std::shared_ptr<ContextKeeper> m_keeper;
    mpv_render_context *m_context = nullptr;
    std::shared_ptr<PictureBuffer> m_buffer;
    bool m_renderFailed = false;
    int m_slotWaitFrames = 0;
    bool m_hasDrawn = false;
    // Whether the framebuffer object holds anything yet.
    bool m_isFilled = false;
    QString m_state;
    QString m_source;
    bool m_isNetwork = false;
    bool m_preparing = false;
    int m_renderCount = 0;
    QElapsedTimer m_renderTimer;
};
