#include "Decoder.h"

#include <QProcess>
#include <QTemporaryFile>
#include <QtEndian>

#include <cstring>

namespace {

constexpr int timeoutMs = 60000;

QByteArray withStartCodes(const QByteArray &lengthPrefixed)
{
    QByteArray stream;
    for (qsizetype at = 0; at + 4 <= lengthPrefixed.size();) {
        const auto length = qFromBigEndian<quint32>(lengthPrefixed.constData() + at);
        stream += QByteArray("\0\0\0\1", 4) + lengthPrefixed.mid(at + 4, length);
        at += 4 + length;
    }
    return stream;
}

} // namespace

QList<demo::FrameInstant> Decoded::instants() const
{
    QList<demo::FrameInstant> list;
    for (const QImage &frame : frames)
        list.append(demo::FrameCode::read(frame).value_or(demo::FrameInstant{-1, -1}));
    return list;
}

Decoded Decoder::decode(const QStringList &input, const QSize &size, const QByteArray &data)
{
    QProcess ffmpeg;
    ffmpeg.start("ffmpeg",
        QStringList{"-nostats", "-hide_banner", "-v", "warning"} + input
            + QStringList{"-fps_mode", "passthrough", "-f", "rawvideo", "-pix_fmt", "gray", "-"});
    ffmpeg.write(data);
    ffmpeg.closeWriteChannel();
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

Decoded Decoder::decodeUnits(const QByteArray &lengthPrefixed, const QSize &size)
{
    return decode({"-err_detect", "explode", "-f", "h264", "-i", "-"}, size, withStartCodes(lengthPrefixed));
}
