#pragma once

#include "footage/FrameCode.h"
#include "footage/SliceEncoder.h"
#include "footage/VideoFormat.h"

#include <QCache>
#include <QList>
#include <QMutex>

namespace demo {

/**
 * The first slice of every picture: date and time in words and as FrameCode.
 *
 * It is the same for all cameras, so one tiny encoding a second serves them all. Safe to use from any thread.
 */
class TimeBand
{
public:
    explicit TimeBand(const VideoFormat &format);

    /// The slice of a second's first picture; the IDR number parity is the second's.
    QByteArray firstSlice(qint64 second);
    /// What firstSlice() never exceeds.
    qsizetype maxFirstSliceBytes() const;
    /// The slice of a later picture of any second, frame 1 to 14.
    QByteArray laterSlice(int frame) const { return m_laterSlices.at(frame - 1); }

private:
    Frame420 paint(const QString &text, const FrameInstant &instant) const;

    VideoFormat m_format;
    QList<QImage> m_glyphs;
    QList<QByteArray> m_laterSlices;
    QMutex m_mutex;
    SliceEncoder m_encoder;
    QCache<qint64, QByteArray> m_firstSlices;
};

} // namespace demo
