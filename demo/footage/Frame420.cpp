#include "footage/Frame420.h"

#include <cstring>

namespace demo {

namespace {

constexpr int blackLuma = 16;
constexpr int neutralChroma = 128;

// BT.601, limited range, in 8-bit fixed point.
int lumaOf(QRgb c)
{
    return ((66 * qRed(c) + 129 * qGreen(c) + 25 * qBlue(c) + 128) >> 8) + blackLuma;
}

int blueDifferenceOf(QRgb c)
{
    return ((-38 * qRed(c) - 74 * qGreen(c) + 112 * qBlue(c) + 128) >> 8) + neutralChroma;
}

int redDifferenceOf(QRgb c)
{
    return ((112 * qRed(c) - 94 * qGreen(c) - 18 * qBlue(c) + 128) >> 8) + neutralChroma;
}

} // namespace

Frame420::Frame420(const QSize &size)
    : m_size(size)
{
    const int pixels = size.width() * size.height();
    m_planes[0] = QByteArray(pixels, char(blackLuma));
    m_planes[1] = m_planes[2] = QByteArray(pixels / 4, char(neutralChroma));
}

void Frame420::drawRgb(const QPoint &at, const QImage &image)
{
    for (int y = 0; y < image.height(); ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        uchar *luma = plane(0) + (at.y() + y) * stride(0) + at.x();
        for (int x = 0; x < image.width(); ++x)
            luma[x] = uchar(lumaOf(line[x]));
        if (y % 2 != 0)
            continue;
        const qsizetype offset = qsizetype((at.y() + y) / 2) * stride(1) + at.x() / 2;
        for (int x = 0; x < image.width(); x += 2) {
            plane(1)[offset + x / 2] = uchar(blueDifferenceOf(line[x]));
            plane(2)[offset + x / 2] = uchar(redDifferenceOf(line[x]));
        }
    }
}

void Frame420::drawGrey(const QPoint &at, const QImage &grey)
{
    for (int y = 0; y < grey.height(); ++y)
        std::memcpy(plane(0) + (at.y() + y) * stride(0) + at.x(), grey.constScanLine(y), grey.width());
}

void Frame420::fillGrey(const QRect &rect, int luma)
{
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        std::memset(plane(0) + y * stride(0) + rect.left(), luma, rect.width());
}

} // namespace demo
