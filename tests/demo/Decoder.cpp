#include "Decoder.h"

#include <QProcess>
#include <QTemporaryFile>

#include <cstring>

namespace {

constexpr int timeoutMs = 60000;

} // namespace

QList<demo::FrameInstant> Decoded::instants() const
{
    QList<demo::FrameInstant> list;
    for (const QImage &frame : frames)
        list.append(demo::FrameCode::read(frame).value_or(demo::FrameInstant{-1, -1}));
    return list;
}

Decoded Decoder::decode(const QStringList &input, const QSize &size)
{
    QProcess ffmpeg;
    ffmpeg.start("ffmpeg",
        QStringList{"-nostats", "-hide_banner", "-v", "warning"} + input
            + QStringList{"-fps_mode", "passthrough", "-f", "rawvideo", "-pix_fmt", "gray", "-"});
    Decoded decoded;
    if (!ffmpeg.waitForFinished(timeoutMs)) {
        ffmpeg.kill();
        ffmpeg.waitForFinished();
        decoded.complaints = "ffmpeg did not end: " + ffmpeg.errorString().toUtf8();
        return decoded;
    }
    decoded.complaints = ffmpeg.readAllStandardError();
    const QByteArray pixels = ffmpeg.readAllStandardOutput();
    const qsizetype frameBytes = qsizetype(size.width()) * size.height();
    for (qsizetype at = 0; at + frameBytes <= pixels.size(); at += frameBytes) {
        QImage frame(size, QImage::Format_Grayscale8);
        for (int y = 0; y < size.height(); ++y)
            std::memcpy(
                frame.scanLine(y), pixels.constData() + at + qsizetype(y) * size.width(), size.width());
        decoded.frames.append(frame);
    }
    return decoded;
}

Decoded Decoder::decodeMp4(const QByteArray &file, const QSize &size)
{
    QTemporaryFile stored;
    if (!stored.open() || stored.write(file) != file.size() || !stored.flush())
        return {{}, "no temporary file"};
    return decode({"-err_detect", "explode", "-i", stored.fileName()}, size);
}
