#pragma once

#include "footage/Footage.h"

#include <gst/rtsp-server/rtsp-server.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace demo {

/**
 * One stream of one camera.
 *
 * Every viewer has a feed of its own, which starts with the first picture of the present second. The RTSP
 * server's threads ask the feeds for pictures.
 */
class LiveStream : public std::enable_shared_from_this<LiveStream>
{
public:
    LiveStream(Footage &footage, const Footage::Look &look, const VideoFormat &format);

    /// A factory whose media show this stream. The caller owns the reference.
    GstRTSPMediaFactory *makeFactory();

    /// While set, no viewer gets a picture; afterwards each goes on with the present second.
    void setHung(bool hung);

private:
    class Feed;

    void configure(GstRTSPMedia *media);

    Footage &m_footage;
    const Footage::Look m_look;
    const VideoFormat m_format;
    const QByteArray m_parameterSets;
    std::atomic_bool m_hung = false;
    std::mutex m_mutex;
    std::vector<std::weak_ptr<Feed>> m_feeds;
};

} // namespace demo
