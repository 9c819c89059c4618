#pragma once

#include "footage/FrameCode.h"

#include <QImage>
#include <QList>
#include <QStringList>

/// What ffmpeg made of a video.
struct Decoded
{
    QList<QImage> frames; ///< in grey
    QByteArray complaints; ///< everything it had to say from warnings upwards

    /// The instants that the pictures show; an unreadable one is {-1, -1}.
    QList<demo::FrameInstant> instants() const;
};

/// Decodes with the ffmpeg program.
class Decoder
{
public:
    /// @param input ffmpeg's input options and "-i" with its value
    static Decoded decode(const QStringList &input, const QSize &size);
    /// A whole MP4 file.
    static Decoded decodeMp4(const QByteArray &file, const QSize &size);
};
