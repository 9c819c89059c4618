#pragma once

#include <QByteArray>
#include <QImage>
#include <QPoint>
#include <QRect>
#include <QSize>

namespace demo {

/// An uncompressed picture in planes: full-size luma, quarter-size chroma. Sides are even.
class Frame420
{
public:
    explicit Frame420(const QSize &size);

    QSize size() const { return m_size; }
    uchar *plane(int index) { return reinterpret_cast<uchar *>(m_planes[index].data()); }
    const uchar *plane(int index) const
    {
        return reinterpret_cast<const uchar *>(m_planes[index].constData());
    }
    qsizetype stride(int index) const { return index == 0 ? m_size.width() : m_size.width() / 2; }

    /// Converts an RGB picture and puts it at an even position.
    void drawRgb(const QPoint &at, const QImage &image);
    /// Puts luma at a position; chroma stays.
    void drawGrey(const QPoint &at, const QImage &grey);
    /// Fills a rectangle with one luma; chroma stays.
    void fillGrey(const QRect &rect, int luma);

private:
    QSize m_size;
    QByteArray m_planes[3];
};

} // namespace demo
