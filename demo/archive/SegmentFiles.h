#pragma once

#include "archive/Recordings.h"
#include "footage/Footage.h"

#include <QCache>

namespace demo {

/// Makes the files of recorded segments when they are asked for, and keeps the last ones made.
class SegmentFiles
{
public:
    explicit SegmentFiles(Footage &footage);

    /// Length of a segment's file in bytes, without making it.
    qint64 size(const Segment &segment, const QString &cameraName);
    QByteArray file(const Segment &segment, const QString &cameraName);

    /// The pictures of one second.
    QList<QByteArray> second(int cameraNumber, const QString &cameraName, qint64 second);
    QByteArray exportHeader() const;

private:
    Footage &m_footage;
    const VideoFormat m_format = VideoFormat::main();
    QCache<QString, QByteArray> m_files;
};

} // namespace demo
