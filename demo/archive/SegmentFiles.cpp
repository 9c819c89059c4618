#include "archive/SegmentFiles.h"

#include "archive/Mp4.h"

namespace demo {

namespace {

constexpr int cacheBytes = 64 * 1024 * 1024;

} // namespace

SegmentFiles::SegmentFiles(Footage &footage)
    : m_footage(footage)
    , m_files(cacheBytes)
{
}

qint64 SegmentFiles::size(const Segment &segment, const QString &cameraName)
{
    const Footage::Look look{segment.cameraNumber, cameraName};
    const qint64 pictures = (segment.time.to - segment.time.from) * FrameInstant::framesPerSecond;
    qint64 bytes = Mp4(m_footage.headers(m_format), m_format.size).plainOverhead(pictures);
    for (qint64 second = segment.time.from; second < segment.time.to; ++second)
        bytes += m_footage.maxSecondBytes(look, m_format, second);
    return bytes;
}

QByteArray SegmentFiles::file(const Segment &segment, const QString &cameraName)
{
    const QString key = QString("%1 %2").arg(segment.id).arg(cameraName);
    if (const QByteArray *known = m_files.object(key))
        return *known;
    QList<QByteArray> pictures;
    for (qint64 at = segment.time.from; at < segment.time.to; ++at)
        pictures += second(segment.cameraNumber, cameraName, at);
    QByteArray bytes
        = Mp4(m_footage.headers(m_format), m_format.size).plainFile(pictures, size(segment, cameraName));
    m_files.insert(key, new QByteArray(bytes), bytes.size());
    return bytes;
}

QList<QByteArray> SegmentFiles::second(int cameraNumber, const QString &cameraName, qint64 second)
{
    QList<QByteArray> pictures;
    for (int frame = 0; frame < FrameInstant::framesPerSecond; ++frame)
        pictures.append(m_footage.picture({cameraNumber, cameraName}, m_format, {second, frame}));
    return pictures;
}

QByteArray SegmentFiles::exportHeader() const
{
    return Mp4(m_footage.headers(m_format), m_format.size).fragmentHeader();
}

} // namespace demo
