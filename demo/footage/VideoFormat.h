#pragma once

#include <QSize>

namespace demo {

/// One of the two sizes that every camera has. Pictures are cut into slices of equal macroblock rows: the
/// first holds the time band, the second the camera's name, the rest the scene.
struct VideoFormat
{
    QSize size;
    int rowsPerSlice;

    static constexpr int macroblock = 16;

    static VideoFormat main() { return {QSize(1280, 720), 6}; }
    static VideoFormat sub() { return {QSize(640, 360), 3}; }

    bool isMain() const { return size.width() == 1280; }
    int macroblocksPerSlice() const { return rowsPerSlice * size.width() / macroblock; }
    /// Height of the time band, and of the name band below it, in pixels.
    int bandHeight() const { return rowsPerSlice * macroblock; }
    QSize bandSize() const { return {size.width(), bandHeight()}; }
    /// Lengths given for the main format, in this one.
    int scaled(int mainPixels) const { return mainPixels * size.width() / 1280; }
};

} // namespace demo
