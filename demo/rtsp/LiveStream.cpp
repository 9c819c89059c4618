#include "rtsp/LiveStream.h"

#include <QDateTime>

#include <gst/app/gstappsrc.h>

#include <algorithm>

namespace demo {

namespace {

constexpr int fps = FrameInstant::framesPerSecond;
constexpr GstClockTime catchUpStep = 2 * GST_MSECOND;
// The payloader would repeat the parameter sets before every slice of an IDR picture and so take the picture
// apart; the feeds put them where they belong.
constexpr auto launchLine = "( appsrc name=source is-live=true format=time max-buffers=2 "
                            "! rtph264pay name=pay0 pt=96 config-interval=0 )";

GstCaps *capsOf(const SliceEncoder::Headers &headers, const QSize &size)
{
    const QByteArray record = headers.decoderConfiguration();
    GstBuffer *buffer = gst_buffer_new_memdup(record.constData(), gsize(record.size()));
    GstCaps *caps = gst_caps_new_simple("video/x-h264", "stream-format", G_TYPE_STRING, "avc", "alignment",
        G_TYPE_STRING, "au", "width", G_TYPE_INT, size.width(), "height", G_TYPE_INT, size.height(),
        "framerate", GST_TYPE_FRACTION, fps, 1, "codec_data", GST_TYPE_BUFFER, buffer, nullptr);
    gst_buffer_unref(buffer);
    return caps;
}

template <typename T>
void deleteShared(gpointer pointer)
{
    delete static_cast<std::shared_ptr<T> *>(pointer);
}

} // namespace

/// What one viewer gets. The source keeps the feed alive, never the other way round.
class LiveStream::Feed
{
public:
    Feed(std::shared_ptr<LiveStream> stream, GstAppSrc *source)
        : m_stream(std::move(stream))
    {
        g_weak_ref_init(&m_source, source);
    }
    ~Feed() { g_weak_ref_clear(&m_source); }
    Q_DISABLE_COPY_MOVE(Feed)

    /// Pushes the next picture, or remembers that one is wanted while the camera hangs.
    void push(GstAppSrc *source)
    {
        const std::lock_guard lock(m_mutex);
        m_isStarving = m_stream->m_hung;
        if (m_isStarving)
            return;
        if (m_next < 0)
            begin();
        gst_app_src_push_buffer(source, makeBuffer());
        ++m_next;
    }

    void resume()
    {
        auto *source = static_cast<GstAppSrc *>(g_weak_ref_get(&m_source));
        if (!source)
            return;
        if (skipToPresent())
            push(source);
        gst_object_unref(source);
    }

private:
    void begin()
    {
        const qint64 nowMs = QDateTime::currentMSecsSinceEpoch();
        m_first = m_next = nowMs / 1000 * fps;
        m_present = nowMs * fps / 1000;
    }

    /// A viewer starts with a whole picture, so up to a second ago; the pictures from there to the present
    /// follow at once, and from then on each when it is due.
    GstClockTime displayTime() const
    {
        const qint64 catchingUp = std::min(m_next, m_present) - m_first;
        const qint64 due = std::max(m_next - m_present, qint64(0));
        return GstClockTime(catchingUp) * catchUpStep
            + gst_util_uint64_scale(GstClockTime(due), GST_SECOND, fps);
    }

    bool skipToPresent()
    {
        const std::lock_guard lock(m_mutex);
        if (m_isStarving && m_next >= 0)
            m_next = std::max(m_next, QDateTime::currentSecsSinceEpoch() * fps);
        return m_isStarving;
    }

    GstBuffer *makeBuffer() const
    {
        const FrameInstant instant{m_next / fps, int(m_next % fps)};
        QByteArray picture = m_stream->m_footage.picture(m_stream->m_look, m_stream->m_format, instant);
        if (instant.frame == 0)
            picture.prepend(m_stream->m_parameterSets);
        GstBuffer *buffer = gst_buffer_new_memdup(picture.constData(), gsize(picture.size()));
        GST_BUFFER_PTS(buffer) = GST_BUFFER_DTS(buffer) = displayTime();
        GST_BUFFER_DURATION(buffer) = GST_SECOND / fps;
        if (instant.frame != 0)
            GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT);
        return buffer;
    }

    const std::shared_ptr<LiveStream> m_stream;
    GWeakRef m_source;
    std::mutex m_mutex;
    // Pictures are counted from the epoch.
    qint64 m_first = 0;
    qint64 m_present = 0;
    qint64 m_next = -1;
    bool m_isStarving = false;
};

LiveStream::LiveStream(Footage &footage, const Footage::Look &look, const VideoFormat &format)
    : m_footage(footage)
    , m_look(look)
    , m_format(format)
    , m_parameterSets(footage.headers(format).lengthPrefixed())
{
}

GstRTSPMediaFactory *LiveStream::makeFactory()
{
    GstRTSPMediaFactory *factory = gst_rtsp_media_factory_new();
    gst_rtsp_media_factory_set_launch(factory, launchLine);
    const auto configureMedia = +[](GstRTSPMediaFactory *, GstRTSPMedia *media, gpointer stream) {
        (*static_cast<std::shared_ptr<LiveStream> *>(stream))->configure(media);
    };
    g_signal_connect_data(
        factory, "media-configure", G_CALLBACK(configureMedia), new std::shared_ptr(shared_from_this()),
        [](gpointer stream, GClosure *) { deleteShared<LiveStream>(stream); }, GConnectFlags(0));
    return factory;
}

void LiveStream::configure(GstRTSPMedia *media)
{
    GstElement *pipeline = gst_rtsp_media_get_element(media);
    auto *source = GST_APP_SRC(gst_bin_get_by_name_recurse_up(GST_BIN(pipeline), "source"));
    GstCaps *caps = capsOf(m_footage.headers(m_format), m_format.size);
    gst_app_src_set_caps(source, caps);
    gst_caps_unref(caps);

    const auto feed = std::make_shared<Feed>(shared_from_this(), source);
    {
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_feeds, [](const std::weak_ptr<Feed> &gone) { return gone.expired(); });
        m_feeds.push_back(feed);
    }
    GstAppSrcCallbacks callbacks{};
    callbacks.need_data = [](GstAppSrc *asking, guint, gpointer owner) {
        (*static_cast<std::shared_ptr<Feed> *>(owner))->push(asking);
    };
    gst_app_src_set_callbacks(source, &callbacks, new std::shared_ptr(feed), deleteShared<Feed>);
    gst_object_unref(source);
    gst_object_unref(pipeline);
}

void LiveStream::setHung(bool hung)
{
    m_hung = hung;
    if (hung)
        return;
    std::vector<std::weak_ptr<Feed>> feeds;
    {
        const std::lock_guard lock(m_mutex);
        feeds = m_feeds;
    }
    for (const std::weak_ptr<Feed> &weak : feeds) {
        if (const std::shared_ptr<Feed> feed = weak.lock())
            feed->resume();
    }
}

} // namespace demo
