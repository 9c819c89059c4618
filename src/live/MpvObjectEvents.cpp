// What the video item does with the events of its player.
#include "app/Logging.h"
#include "live/MpvHandle.h"
#include "live/MpvObject.h"

#include <QTimer>

#include <mpv/client.h>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int rateLogIntervalMs = 10000;
constexpr int firstFramePatienceMs = 250;

// The value of a property event or reply, if it has one of the wanted type.
template <typename Value>
const Value *valueOf(const mpv_event &event, mpv_format format)
{
    const auto *property = static_cast<const mpv_event_property *>(event.data);
    if (event.error < 0 || !property || property->format != format)
        return nullptr;
    return static_cast<const Value *>(property->data);
}

template <typename Value>
Value numberOf(const mpv_event &event, mpv_format format)
{
    const auto *value = valueOf<Value>(event, format);
    return value ? *value : Value();
}

// The playlist entry that a "loadfile" command made; -1 when it failed.
qint64 entryOf(const mpv_event &reply)
{
    const auto *command = static_cast<const mpv_event_command *>(reply.data);
    if (reply.error < 0 || !command || command->result.format != MPV_FORMAT_NODE_MAP)
        return -1;
    const mpv_node_list *map = command->result.u.list;
    for (int i = 0; i < map->num; ++i) {
        if (qstrcmp(map->keys[i], "playlist_entry_id") == 0)
            return map->values[i].u.int64;
    }
    return -1;
}

} // namespace

void MpvObject::drainEvents()
{
    m_mpv->drainPosted = false;
    if (!m_mpv->handle)
        return;
    while (const mpv_event *event = mpv_wait_event(m_mpv->handle, 0)) {
        if (event->event_id == MPV_EVENT_NONE)
            return;
        handleEvent(*event);
    }
}

void MpvObject::handleEvent(const mpv_event &event)
{
    switch (event.event_id) {
    case MPV_EVENT_LOG_MESSAGE:
        logMessage(event);
        break;
    case MPV_EVENT_PROPERTY_CHANGE:
        handleProperty(event);
        break;
    case MPV_EVENT_GET_PROPERTY_REPLY:
        handleReading(event);
        break;
    case MPV_EVENT_COMMAND_REPLY:
        handleLoadReply(event);
        break;
    case MPV_EVENT_START_FILE:
        m_openedEntry = static_cast<const mpv_event_start_file *>(event.data)->playlist_entry_id;
        break;
    case MPV_EVENT_FILE_LOADED:
        handleFileLoaded();
        break;
    case MPV_EVENT_PLAYBACK_RESTART:
        handlePlaybackRestart();
        break;
    case MPV_EVENT_END_FILE:
        handleEndFile(event);
        break;
    default:
        break;
    }
}

void MpvObject::logMessage(const mpv_event &event)
{
    const auto *message = static_cast<const mpv_event_log_message *>(event.data);
    const QString text = QStringLiteral("[mpv/%1] %2: %3")
                             .arg(QString::fromUtf8(message->prefix), QString::fromUtf8(message->level),
                                 redactUrl(QString::fromUtf8(message->text)));
    std::fputs(text.toUtf8().constData(), stderr);
}

void MpvObject::handleProperty(const mpv_event &event)
{
    if (event.reply_userdata == MpvHandle::TimePos) {
        const auto *position = valueOf<double>(event, MPV_FORMAT_DOUBLE);
        if (position)
            notePosition(*position);
    } else if (event.reply_userdata == MpvHandle::Duration) {
        const auto *duration = valueOf<double>(event, MPV_FORMAT_DOUBLE);
        if (duration && *duration != m_duration) {
            m_duration = *duration;
            emit durationChanged();
        }
    } else if (event.reply_userdata == MpvHandle::HwdecCurrent) {
        const auto *text = valueOf<char *>(event, MPV_FORMAT_STRING);
        const QString hwdec = text ? QString::fromUtf8(*text) : m_hwdec;
        if (hwdec != m_hwdec) {
            m_hwdec = hwdec;
            m_mpv->read("video-codec", MPV_FORMAT_STRING, MpvHandle::VideoCodec);
        }
    }
}

void MpvObject::handleReading(const mpv_event &event)
{
    if (m_mpv->noteVideoOutput(&event))
        return;
    switch (event.reply_userdata) {
    case MpvHandle::VideoCodec: {
        const auto *codec = valueOf<char *>(event, MPV_FORMAT_STRING);
        const bool software = m_hwdec == QLatin1String("no");
        qCInfo(lcStream).noquote() << QStringLiteral("[mpv] hwdec=%1%2 codec=%3 src=%4")
                                          .arg(m_hwdec,
                                              software ? QStringLiteral(" (SOFTWARE decode)") : QString(),
                                              codec ? QString::fromUtf8(*codec) : QString(),
                                              redactUrl(m_source));
        break;
    }
    case MpvHandle::FrameWidth:
        m_frameSize.setWidth(int(numberOf<int64_t>(event, MPV_FORMAT_INT64)));
        break;
    case MpvHandle::FrameHeight:
        m_frameSize.setHeight(int(numberOf<int64_t>(event, MPV_FORMAT_INT64)));
        break;
    case MpvHandle::FrameRate:
        qCInfo(lcStream).noquote() << QStringLiteral("[mpv] first frame %1x%2@%3 hwdec=%4 src=%5")
                                          .arg(m_frameSize.width())
                                          .arg(m_frameSize.height())
                                          .arg(numberOf<double>(event, MPV_FORMAT_DOUBLE))
                                          .arg(m_hwdec, redactUrl(m_source));
        break;
    case MpvHandle::HardwareFound: {
        const auto *found = valueOf<char *>(event, MPV_FORMAT_STRING);
        if (m_hasVideo && found && qstrcmp(*found, "no") == 0)
            m_hardwareMissing.start();
        break;
    }
    default:
        break;
    }
}

void MpvObject::handleLoadReply(const mpv_event &event)
{
    if (event.reply_userdata != MpvHandle::FirstLoad + m_loadSerial)
        return;
    m_entry = entryOf(event);
    if (m_entry < 0 && m_state == QLatin1String("loading")) {
        m_state = QStringLiteral("error");
        emit stateChanged();
    }
}

void MpvObject::handleFileLoaded()
{
    if (m_state != QLatin1String("loading") || !isCurrent(m_openedEntry))
        return;
    m_state = QStringLiteral("playing");
    m_mpv->awaitingFirstFrame = true;
    m_mpv->countFrames(true);
    const double seekSec = std::exchange(m_pendingSeek, -1.0);
    emit stateChanged();
    const bool movedOn
        = seekSec >= 0 && seekSec != m_startSec && std::max(seekSec, m_startSec) > shortestSeekSec;
    if (m_state == QLatin1String("playing") && movedOn)
        seekPlayer(seekSec);
}

void MpvObject::handlePlaybackRestart()
{
    m_hasBegun = true;
    if (!m_mpv->awaitingFirstFrame)
        return;
    if (m_isNetwork) {
        if (!hasFrameOfLoad())
            return;
        m_mpv->awaitingFirstFrame = false;
        // Whatever is redrawn from now on shows the frame, which may be waiting still.
        update();
        showFirstFrame();
        return;
    }
    // The first frame may have been drawn before the news of the open file was read here.
    QTimer::singleShot(firstFramePatienceMs, this, [this, entry = m_entry] {
        if (m_mpv->awaitingFirstFrame && isCurrent(entry) && hasFrameOfLoad()) {
            m_mpv->firstFrameOverdue = true;
            update();
        }
    });
}

void MpvObject::handleEndFile(const mpv_event &event)
{
    const auto end = *static_cast<const mpv_event_end_file *>(event.data);
    if (m_state == QLatin1String("idle") || !isCurrent(end.playlist_entry_id))
        return;
    if (end.reason == MPV_END_FILE_REASON_REDIRECT) {
        m_entry = end.playlist_insert_id;
        return;
    }
    const bool failed = end.reason == MPV_END_FILE_REASON_ERROR;
    // It is loaded again for the next context.
    if (failed && hasLostContext())
        return;
    m_state = failed ? QStringLiteral("error") : QStringLiteral("idle");
    emit stateChanged();
    // Whoever heard of it may have loaded something else.
    if (end.reason == MPV_END_FILE_REASON_EOF && isCurrent(end.playlist_entry_id))
        emit fileEnded();
}

void MpvObject::showFirstFrame()
{
    if (m_hasVideo)
        return;
    m_mpv->read("video-params/w", MPV_FORMAT_INT64, MpvHandle::FrameWidth);
    m_mpv->read("video-params/h", MPV_FORMAT_INT64, MpvHandle::FrameHeight);
    m_mpv->read("container-fps", MPV_FORMAT_DOUBLE, MpvHandle::FrameRate);
    if (m_isNetwork && m_seeksHardware)
        m_mpv->read("hwdec-current", MPV_FORMAT_STRING, MpvHandle::HardwareFound);
    m_hasVideo = true;
    m_mpv->noteFirstFrameShown();
    emit hasVideoChanged();
    if (m_hasVideo)
        emit firstFrameRendered();
}

void MpvObject::countUpdate()
{
    if (!m_updateTimer.isValid())
        m_updateTimer.start();
    ++m_updateCount;
    if (m_updateTimer.elapsed() < rateLogIntervalMs)
        return;
    qCDebug(lcStream).noquote() << QStringLiteral("[mpv] update rate %1/s src=%2")
                                       .arg(m_updateCount * 1000.0 / m_updateTimer.elapsed(), 0, 'f', 1)
                                       .arg(redactUrl(m_source));
    m_updateCount = 0;
    m_updateTimer.restart();
}
