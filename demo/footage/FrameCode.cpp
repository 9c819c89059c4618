#include "footage/FrameCode.h"

#include <cmath>

namespace demo {

namespace {

constexpr int frameBits = 4;
constexpr int secondBits = 32;
constexpr int firstSecondCell = 3 + frameBits;
constexpr int darkest = 96;
constexpr int brightest = 160;

/// Writes the bits of a value and their parity into consecutive cells.
void putBits(std::array<bool, FrameCode::cells> &whites, int firstCell, int bits, quint64 value)
{
    bool parity = false;
    for (int i = 0; i < bits; ++i) {
        const bool bit = (value >> (bits - 1 - i)) & 1;
        whites[firstCell + i] = bit;
        parity = parity != bit;
    }
    whites[firstCell + bits] = parity;
}

std::optional<quint64> takeBits(const std::array<bool, FrameCode::cells> &whites, int firstCell, int bits)
{
    quint64 value = 0;
    bool parity = false;
    for (int i = 0; i < bits; ++i) {
        value = (value << 1) | (whites[firstCell + i] ? 1 : 0);
        parity = parity != whites[firstCell + i];
    }
    if (whites[firstCell + bits] != parity)
        return std::nullopt;
    return value;
}

} // namespace

std::array<bool, FrameCode::cells> FrameCode::encode(const FrameInstant &instant)
{
    std::array<bool, cells> whites{};
    whites[0] = true;
    putBits(whites, 1, frameBits, quint64(instant.frame));
    putBits(whites, firstSecondCell, secondBits, quint64(instant.second));
    return whites;
}

std::optional<FrameInstant> FrameCode::decode(const std::array<bool, cells> &whites)
{
    const std::optional<quint64> frame = takeBits(whites, 1, frameBits);
    const std::optional<quint64> second = takeBits(whites, firstSecondCell, secondBits);
    if (!whites[0] || whites[firstSecondCell - 1] || !frame || !second
        || *frame >= quint64(FrameInstant::framesPerSecond))
        return std::nullopt;
    return FrameInstant{qint64(*second), int(*frame)};
}

std::optional<FrameInstant> FrameCode::read(const QImage &image, const QRect &picture)
{
    const int y = picture.y() + int(std::lround((top() + bottom()) / 2 * picture.height()));
    std::array<bool, cells> whites{};
    for (int cell = 0; cell < cells; ++cell) {
        const QPoint centre(picture.x() + int((cell + 0.5) * picture.width() / cells), y);
        if (!image.valid(centre))
            return std::nullopt;
        const int grey = qGray(image.pixel(centre));
        if (grey > darkest && grey < brightest)
            return std::nullopt;
        whites[cell] = grey >= brightest;
    }
    return decode(whites);
}

} // namespace demo
