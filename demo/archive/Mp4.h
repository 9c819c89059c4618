#pragma once

#include "footage/SliceEncoder.h"

#include <QByteArray>
#include <QList>
#include <QSize>

namespace demo {

/**
 * Writes H.264 pictures of the demo's fixed rate, a whole picture every second, as MP4.
 *
 * Either as one plain file whose index comes first, or as a header followed by fragments.
 */
class Mp4
{
public:
    Mp4(const SliceEncoder::Headers &headers, const QSize &size)
        : m_headers(headers)
        , m_size(size)
    {
    }

    /// A plain file of these pictures, filled up to so many bytes (at least plainOverhead() beyond the
    /// pictures).
    QByteArray plainFile(const QList<QByteArray> &pictures, qint64 bytes) const;
    /// What a plain file needs beyond its pictures.
    qint64 plainOverhead(qsizetype pictures) const;

    /// What comes before the first fragment.
    QByteArray fragmentHeader() const;
    /// One second of pictures that begins so many seconds after the start of the video. Numbers rise.
    static QByteArray fragment(quint32 number, qint64 atSecond, const QList<QByteArray> &pictures);

private:
    QByteArray movie(const QByteArray &sampleTable, qsizetype pictures, const QByteArray &extension) const;
    QByteArray sampleDescription() const;
    QByteArray index(const QList<qsizetype> &sizes) const;

    SliceEncoder::Headers m_headers;
    QSize m_size;
};

} // namespace demo
