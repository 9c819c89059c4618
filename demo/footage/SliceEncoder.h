#pragma once

#include "footage/Frame420.h"

#include <QByteArray>
#include <QList>
#include <QSize>

struct x264_t;

namespace demo {

/**
 * H.264 encoding with slices that may be recombined.
 *
 * Slices are coded independently of each other, headers do not depend on content, and nothing is filtered
 * across slice borders; so slices that two encoders of the same width made for the same place in a one-second
 * group of pictures can replace each other, if their IDR pictures have the same number parity. NAL units are
 * preceded by their length in four bytes.
 */
class SliceEncoder
{
public:
    struct Headers
    {
        QByteArray sps; ///< without length or start code
        QByteArray pps;

        /// The decoder configuration record ("avcC") that goes with length-prefixed units.
        QByteArray decoderConfiguration() const;
        /// Both units, each preceded by its length in four bytes.
        QByteArray lengthPrefixed() const;
    };

    /// @param size width and height, both even; @param macroblocksPerSlice 0 for one slice
    /// @param quantizer of predicted pictures; IDR pictures are finer
    SliceEncoder(const QSize &size, int macroblocksPerSlice, int quantizer);
    ~SliceEncoder();
    Q_DISABLE_COPY_MOVE(SliceEncoder)

    Headers headers() const;
    /// Encodes the next picture into its slices, from top to bottom. An IDR picture starts a new group.
    QList<QByteArray> encode(const Frame420 &frame, bool idr);
    /// Number parity, 0 or 1, of the IDR picture that encode() would make next.
    int nextParity() const { return m_nextParity; }

private:
    x264_t *m_encoder;
    qint64 m_frameCount = 0;
    int m_nextParity = 0;
};

} // namespace demo
