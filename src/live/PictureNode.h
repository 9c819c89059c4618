#pragma once

#include <QRectF>
#include <QSGNode>
#include <QSize>

#include <memory>

class PictureCopy;

// The framebuffer object that holds the picture of an item; 0 while there is none.
struct PictureBuffer
{
    uint framebuffer = 0;
    QSize size;
};

// What an item's picture is in the scene: the node that samples its framebuffer object, or, where the
// processor computes OpenGL as well, one that copies the pixels to their place in the window as they are,
// which takes a fraction of that time. A copied picture replaces what is below it and is upright whatever its
// ancestors say of opacity and rotation, and obeys their rectangular clips alone; none of ours turns or fades
// a picture. Of its pixels the alpha is whatever libmpv left there.
//
// Belongs to the render thread.
class PictureNode : public QSGNode
{
public:
    // Takes over the node that samples.
    explicit PictureNode(QSGNode *sampled);

    QSGNode *sampled() const { return m_sampled; }

    // From now on the picture, which fills the rectangle in the item's coordinates, is copied into a window
    // of so many pixels; the number may change from frame to frame.
    void copy(const std::shared_ptr<const PictureBuffer> &buffer, const QRectF &rect,
        const std::shared_ptr<const QSize> &window);

private:
    // Holds the sampling node, which stays where it is when it does not draw.
    class Sampling : public QSGNode
    {
    public:
        bool isSubtreeBlocked() const override { return isBlocked; }

        bool isBlocked = false;
    };

    QSGNode *m_sampled;
    Sampling *m_sampling;
    PictureCopy *m_copy = nullptr;
};
