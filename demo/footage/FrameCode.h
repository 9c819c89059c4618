#pragma once

#include <QImage>
#include <QRect>

#include <array>
#include <optional>

namespace demo {

/// The instant of one frame: the second since the epoch and the frame's place in it.
struct FrameInstant
{
    qint64 second = 0;
    int frame = 0;

    static constexpr int framesPerSecond = 15;

    /// Milliseconds since the epoch, UTC.
    qint64 toMs() const { return second * 1000 + frame * 1000 / framesPerSecond; }
    bool operator==(const FrameInstant &other) const = default;
};

/**
 * The strip of black and white cells near the upper edge of every picture that tells a program which instant
 * it sees.
 *
 * The strip is one row of 40 cells over the whole width: a white cell, four bits of the frame (highest
 * first), their parity, a black cell, 32 bits of the second (highest first), their parity. A parity cell is
 * white when the number of white bits is odd. The strip takes the part of the height from top() to bottom().
 */
class FrameCode
{
public:
    static constexpr int cells = 40;

    /// Upper and lower edge of the strip as parts of the picture's height.
    static constexpr double top() { return 64.0 / 720.0; }
    static constexpr double bottom() { return 96.0 / 720.0; }

    /// Which cells are white.
    static std::array<bool, cells> encode(const FrameInstant &instant);
    static std::optional<FrameInstant> decode(const std::array<bool, cells> &whites);

    /// Reads the strip of a picture that fills the given part of an image, at whatever size and with whatever
    /// frame around it; nothing when there is no readable strip.
    static std::optional<FrameInstant> read(const QImage &image, const QRect &picture);
    static std::optional<FrameInstant> read(const QImage &image) { return read(image, image.rect()); }
};

} // namespace demo
