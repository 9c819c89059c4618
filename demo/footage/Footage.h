#pragma once

#include "footage/FrameCode.h"
#include "footage/TimeBand.h"

#include <QHash>
#include <QString>

#include <atomic>
#include <memory>
#include <thread>

namespace demo {

/**
 * Makes the pictures that cameras send and recordings hold, without encoding them.
 *
 * A picture is put together from ready slices: the time band of its second, the camera's name, and the scene,
 * whose ten-second loop is encoded once and kept in a cache folder. Any second of any camera can so be had at
 * the cost of copying it. Safe to use from any thread.
 */
class Footage
{
public:
    /// What tells one camera's pictures from another's.
    struct Look
    {
        int number = 0;
        QString name;
    };

    /// @param cacheFolder where encoded scenes are kept between runs; created when missing
    explicit Footage(const QString &cacheFolder);
    ~Footage();

    /// Starts encoding whatever the cache lacks in the background.
    void warmUp();

    /// The picture of one instant: NAL units, each preceded by its length in four bytes. The frame 0 of every
    /// second is an IDR picture. Waits for the scene when it is not encoded yet.
    QByteArray picture(const Look &look, const VideoFormat &format, const FrameInstant &instant);

    /// What the pictures of one second take at most. Waits for the scene when it is not encoded yet.
    qint64 maxSecondBytes(const Look &look, const VideoFormat &format, qint64 second);

    /// Parameter sets, the same for all pictures of a format.
    SliceEncoder::Headers headers(const VideoFormat &format) const;

private:
    struct Clip;
    struct Side;

    Side &side(const VideoFormat &format) const;
    std::shared_ptr<const Clip> clip(int theme, Side &side);
    static qint64 loopSecond(const Look &look, qint64 second);
    std::shared_ptr<const Clip> loadOrEncode(int theme, const VideoFormat &format) const;
    QByteArray nameSlice(const Look &look, int theme, int parity, Side &side);

    QString m_cacheFolder;
    std::unique_ptr<Side> m_main;
    std::unique_ptr<Side> m_sub;
    std::atomic_bool m_stopping = false;
    std::thread m_warmUp;
};

} // namespace demo
