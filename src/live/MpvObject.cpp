#include "live/MpvObject.h"

#include "live/ContextKeeper.h"
#include "live/MpvHandle.h"
#include "live/MpvRenderer.h"
#include "live/MpvWorkers.h"
#include "live/PictureNode.h"
#include "live/PlayerMaker.h"
#include "live/RedrawGatherer.h"

#include <QQuickWindow>
#include <QSGGeometryNode>
#include <QSGMaterial>

#include <mpv/client.h>

namespace {

constexpr int hardwareLookMs = 60000;
// A picture that was not drawn after this long is not waited for.
constexpr int positionPatienceMs = 500;

bool isNetworkUrl(const QString &url)
{
    return url.startsWith(QLatin1String("http://")) || url.startsWith(QLatin1String("https://"));
}

QByteArray secondsText(double seconds)
{
    return QByteArray::number(seconds, 'f', 3);
}

// The framebuffer object is always filled with a picture or with black, which its texture cannot say:
// blended, every pixel under it would be drawn and read for nothing.
void drawOpaque(QSGGeometryNode *node)
{
    QSGMaterial *material = node ? node->opaqueMaterial() : nullptr;
    if (!material || !material->flags().testFlag(QSGMaterial::Blending))
        return;
    material->setFlag(QSGMaterial::Blending, false);
    node->markDirty(QSGNode::DirtyMaterial);
}

} // namespace

MpvObject::MpvObject(QQuickItem *parent)
    : QQuickFramebufferObject(parent)
    , m_mpv(std::make_shared<MpvHandle>(this))
    , m_state(QStringLiteral("idle"))
{
    connect(this, &MpvObject::onUpdate, this, &MpvObject::doUpdate, Qt::QueuedConnection);
    connect(this, &QQuickItem::windowChanged, this, &MpvObject::changeWindow);
    m_positionTimer.setSingleShot(true);
    m_positionTimer.setInterval(positionPatienceMs);
    connect(&m_positionTimer, &QTimer::timeout, this, [this] { showPosition(m_playerPosition); });
    // The framebuffer object is as large as the item on the screen: there is nothing to smooth.
    setSmooth(false);
    if (window())
        changeWindow();
}

MpvObject::~MpvObject()
{
    disconnect(this, &QQuickItem::windowChanged, this, nullptr);
    if (m_gatherer)
        m_gatherer->remove(this);
    m_mpv->retire();
    // What ends its playback comes with the window's next redraw.
    if (window() && !window()->isExposed())
        m_mpv->endPlayback();
}

void MpvObject::setSource(const QString &source)
{
    setSourceAt(source, -1.0);
}

void MpvObject::setSourceAndSeek(const QString &source, double seekSec)
{
    setSourceAt(source, seekSec);
}

void MpvObject::setSourceAt(const QString &source, double seekSec)
{
    const bool isNetwork = isNetworkUrl(source);
    if (source == m_source && !isNetwork)
        return;
    m_pendingSeek = seekSec;
    if (isNetwork != m_isNetwork) {
        m_isNetwork = isNetwork;
        applyProfile(isNetwork);
    }
    m_source = source;
    emit sourceChanged();
    if (source.isEmpty())
        stop();
    else
        play();
}

void MpvObject::setPaused(bool paused)
{
    if (m_paused == paused)
        return;
    m_paused = paused;
    m_mpv->setFlag("pause", paused);
    emit pausedChanged();
}

void MpvObject::setStretch(bool stretch)
{
    if (m_stretch == stretch)
        return;
    m_stretch = stretch;
    m_mpv->setFlag("keepaspect", !stretch);
    emit stretchChanged();
}

void MpvObject::setHttpHeaderFields(const QString &header)
{
    if (!m_failed && !header.isEmpty())
        m_httpHeaderFields = header;
}

qint64 MpvObject::lastFrameAgeMs() const
{
    const qint64 lastFrameMs = m_mpv->lastFrameMs;
    return lastFrameMs < 0 ? -1 : monotonicMs() - lastFrameMs;
}

quint64 MpvObject::framesDelivered() const
{
    return m_mpv->framesDelivered;
}

qint64 MpvObject::lastFrameTakenMs() const
{
    return m_mpv->lastTakenMs;
}

bool MpvObject::hasOldFrame() const
{
    return m_isNetwork && m_mpv->renderReady && m_state == QLatin1String("loading");
}

bool MpvObject::needsDrawing() const
{
    return awaitsFirstFrame() || !m_mpv->renderReady;
}

bool MpvObject::awaitsFirstFrame() const
{
    return m_mpv->awaitingFirstFrame;
}

void MpvObject::prepare()
{
    if (m_isNetwork && m_gatherer)
        m_gatherer->expectFrame(this);
    if (m_failed || m_preparing || m_mpv->renderReady)
        return;
    m_preparing = true;
    requestPlayer();
    if (m_mpv->renderReady && m_gatherer)
        m_gatherer->expectStream();
    else if (m_mpv->handle)
        requestRedraw();
}

void MpvObject::requestPlayer()
{
    m_mpv->requestPlayer(m_stretch, drawsInSoftware());
}

bool MpvObject::drawsInSoftware() const
{
    return m_gatherer && m_gatherer->keeper()->drawsInSoftware();
}

void MpvObject::play()
{
    if (m_failed || m_source.isEmpty())
        return;
    const bool hadVideo = m_hasVideo;
    beginLoad(QStringLiteral("loading"));
    m_preparing = false;
    load();
    emit stateChanged();
    if (hadVideo)
        emit hasVideoChanged();
}

void MpvObject::load()
{
    if (!m_hasPlayer) {
        requestPlayer();
        return;
    }
    if (m_gatherer && m_gatherer->isAsleep() && !m_isNetwork)
        return;
    if (!m_mpv->renderReady) {
        requestRedraw();
        return;
    }
    if (!m_isNetwork && m_gatherer && !m_gatherer->mayStart(this))
        return;
    if (m_isNetwork && !m_httpHeaderFields.isEmpty())
        m_mpv->setStringList("http-header-fields", m_httpHeaderFields.toUtf8());
    m_startSec = m_isNetwork ? m_pendingSeek : -1.0;
    m_contextOfLoad = m_mpv->contextSerial;
    m_framesBeforeLoad = m_mpv->framesAnnounced;
    m_mpv->loadFile(m_source.toUtf8(), fileOptions(), MpvHandle::FirstLoad + m_loadSerial);
    PlayerMaker::keepSpare(drawsInSoftware());
    if (m_isNetwork && m_gatherer)
        m_gatherer->expectFrame(this);
}

QByteArray MpvObject::fileOptions()
{
    QByteArrayList options;
    if (m_mpv->videoOff)
        options.append("vid=auto");
    if (!m_isNetwork)
        return options.join(',');
    // Without this the news that playback has begun would not wait until the first frame was drawn.
    options.append("video-latency-hacks=no");
    if (m_startSec > shortestSeekSec)
        options.append("start=" + secondsText(m_startSec));
    m_seeksHardware = !m_hardwareMissing.isValid() || m_hardwareMissing.hasExpired(hardwareLookMs);
    if (!m_seeksHardware)
        options.append("hwdec=no");
    return options.join(',');
}

void MpvObject::loadAgain()
{
    if (m_state == QLatin1String("loading") && m_contextOfLoad == 0)
        load();
    else if (isActive())
        continuePlaying();
}

void MpvObject::continuePlaying()
{
    if (m_isNetwork && m_state == QLatin1String("playing") && m_position > 0)
        m_pendingSeek = m_position;
    if (window())
        play();
    else
        forgetLoad();
}

void MpvObject::fallAsleep()
{
    if (m_isNetwork || !isActive())
        return;
    m_mpv->command({"stop"});
    forgetLoad();
}

void MpvObject::wakeUp()
{
    if (m_contextOfLoad == 0)
        loadAgain();
}

void MpvObject::stop()
{
    m_mpv->command({"stop"});
    const bool hadSource = !m_source.isEmpty();
    const bool hadVideo = m_hasVideo;
    if (hadVideo)
        MpvWorkers::noteStreamEnded();
    beginLoad(QStringLiteral("idle"));
    m_source.clear();
    m_playerPosition = 0;
    m_position = 0;
    m_duration = 0;
    m_pendingSeek = -1.0;
    m_preparing = false;
    m_hardwareMissing.invalidate();
    update();
    if (hadSource)
        emit sourceChanged();
    if (hadVideo)
        emit hasVideoChanged();
    emit stateChanged();
    emit positionChanged();
    emit durationChanged();
}

void MpvObject::setSuspended(bool suspended)
{
    if (!suspended)
        dropBuffers();
    setPaused(suspended);
}

void MpvObject::seekTo(double seconds)
{
    if (m_state == QLatin1String("loading"))
        m_pendingSeek = seconds;
    else
        seekPlayer(seconds);
}

void MpvObject::seekPlayer(double seconds)
{
    forgetPosition();
    m_mpv->command({"seek", secondsText(seconds).constData(), "absolute+keyframes"});
}

void MpvObject::setSpeed(double rate)
{
    if (m_gatherer && m_speed > 0 && rate > 0)
        m_gatherer->scaleRate(this, rate / m_speed);
    m_speed = rate;
    m_mpv->setProperty("speed", rate);
}

void MpvObject::notePosition(double seconds)
{
    m_playerPosition = seconds;
    // The first one may come later than its frame.
    const bool isEarly = !std::exchange(m_isSettled, m_hasBegun);
    if (isEarly || !m_gatherer || m_gatherer->isAsleep() || !isVisible() || !window()->isExposed())
        showPosition(seconds);
    else if (!m_positionTimer.isActive())
        m_positionTimer.start();
}

void MpvObject::showPosition(double seconds)
{
    if (seconds == m_playerPosition)
        m_positionTimer.stop();
    else
        m_positionTimer.start();
    if (seconds == m_position)
        return;
    m_position = seconds;
    emit positionChanged();
}

void MpvObject::forgetPosition()
{
    m_positionTimer.stop();
    m_playerPosition = m_position;
    m_hasBegun = false;
    m_isSettled = false;
    if (m_gatherer)
        m_gatherer->forgetDrawn(this);
}

void MpvObject::dropBuffers()
{
    m_mpv->command({"drop-buffers"});
}

QQuickFramebufferObject::Renderer *MpvObject::createRenderer() const
{
    return new MpvRenderer(m_mpv, m_gatherer->keeper());
}

QSGNode *MpvObject::updatePaintNode(QSGNode *node, UpdatePaintNodeData *data)
{
    // A player that waits in the background for something to play needs no framebuffer.
    if (!node && !isVisible() && m_state == QLatin1String("idle") && !m_preparing)
        return nullptr;
    if (m_gatherer && m_positionTimer.isActive())
        m_gatherer->noteDrawn(this, m_playerPosition);
    auto *picture = static_cast<PictureNode *>(node);
    QSGNode *sampled = QQuickFramebufferObject::updatePaintNode(picture ? picture->sampled() : nullptr, data);
    if (!sampled)
        return nullptr;
    drawOpaque(static_cast<QSGGeometryNode *>(sampled));
    if (!picture)
        picture = new PictureNode(sampled);
    if (m_buffer && drawsInSoftware())
        picture->copy(m_buffer, boundingRect(), m_gatherer->windowPixels());
    return picture;
}

void MpvObject::itemChange(ItemChange change, const ItemChangeData &value)
{
    QQuickFramebufferObject::itemChange(change, value);
    if (change == ItemVisibleHasChanged && value.boolValue)
        update();
}

void MpvObject::changeWindow()
{
    m_mpv->renderReady = false;
    if (m_gatherer)
        m_gatherer->remove(this);
    m_gatherer = window() ? RedrawGatherer::of(window()) : nullptr;
    if (m_gatherer)
        m_gatherer->add(this);
    // The picture ends with the window's render context; in the next window it starts over.
    m_mpv->command({"stop"});
    if (isActive())
        continuePlaying();
}

void MpvObject::playerReady()
{
    m_hasPlayer = true;
    m_mpv->setFlag("keepaspect", !m_stretch);
    if (m_paused)
        m_mpv->setFlag("pause", true);
    m_mpv->setProperty("speed", m_speed);
    if (m_isNetwork)
        applyProfile(true);
    drainEvents();
    if (m_state == QLatin1String("loading"))
        load();
    else if (m_preparing)
        requestRedraw();
}

void MpvObject::playerFailed()
{
    m_failed = true;
    if (m_state == QLatin1String("idle"))
        return;
    m_state = QStringLiteral("idle");
    emit stateChanged();
}

void MpvObject::renderContextReady()
{
    if (m_mpv->renderReady && hasLostContext())
        loadAgain();
}

bool MpvObject::hasLostContext() const
{
    return !m_mpv->renderReady || m_contextOfLoad != m_mpv->contextSerial;
}

void MpvObject::applyProfile(bool isNetwork)
{
    if (isNetwork)
        m_mpv->observe("time-pos", MPV_FORMAT_DOUBLE, MpvHandle::TimePos);
    else
        m_mpv->unobserve(MpvHandle::TimePos);
    m_mpv->setProperty("cache", isNetwork ? "yes" : "no");
    m_mpv->setProperty("untimed", isNetwork ? "no" : "yes");
    m_mpv->setProperty("demuxer-max-bytes", isNetwork ? "32MiB" : "500KiB");
    m_mpv->setProperty("demuxer-readahead-secs", isNetwork ? "5" : "0.5");
    if (isNetwork) {
        m_mpv->setProperty("demuxer-lavf-probesize", "100000");
        m_mpv->setProperty("demuxer-lavf-analyzeduration", "0");
    }
}

void MpvObject::beginLoad(const QString &state)
{
    m_state = state;
    m_hasVideo = false;
    forgetLoad();
}

void MpvObject::forgetLoad()
{
    ++m_loadSerial;
    m_entry = -1;
    m_contextOfLoad = 0;
    forgetPosition();
    m_mpv->awaitingFirstFrame = false;
    m_mpv->firstFramePending = false;
    m_mpv->firstFrameOverdue = false;
    m_mpv->countFrames(false);
}

bool MpvObject::hasFrameOfLoad() const
{
    return m_mpv->framesAnnounced != m_framesBeforeLoad;
}

bool MpvObject::isActive() const
{
    return m_state == QLatin1String("loading") || m_state == QLatin1String("playing");
}

void MpvObject::doUpdate()
{
    m_mpv->updatePosted = false;
    // The renderer may have seen it right before another file was asked for.
    if (m_mpv->firstFramePending.exchange(false) && m_state == QLatin1String("playing"))
        showFirstFrame();
    countUpdate();
    if (m_mpv->frameWaiting)
        requestRedraw();
}

void MpvObject::requestRedraw()
{
    if (m_gatherer)
        m_gatherer->request(this);
}
