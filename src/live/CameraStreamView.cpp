#include "live/CameraStreamView.h"

#include "app/Logging.h"
#include "live/MpvObject.h"

#include <QQuickWindow>

#include <algorithm>

namespace {

constexpr int firstRecoverDelayMs = 1000;
constexpr int longestRecoverDelayMs = 30000;

// Silence is noticed at the first check after the limit, together within five seconds of the last frame.
constexpr int watchIntervalMs = 500;
constexpr int silenceLimitMs = 4400;
constexpr int firstFrameLimitMs = 15000;

} // namespace

CameraStreamView::CameraStreamView(QQuickItem *parent)
    : QQuickItem(parent)
    , m_recoverDelayMs(firstRecoverDelayMs)
{
    setFlag(ItemHasContents, false);
    setClip(true);
    m_recoverTimer.setObjectName(QStringLiteral("recoverTimer"));
    m_recoverTimer.setSingleShot(true);
    m_recoverTimer.setTimerType(Qt::PreciseTimer);
    m_watchTimer.setInterval(watchIntervalMs);
    createPlayer(0);
    createPlayer(1);

    connect(&m_machine, &StreamSwitchMachine::urlRequested, this, &CameraStreamView::onUrlRequested);
    connect(&m_machine, &StreamSwitchMachine::loadRequested, this, &CameraStreamView::onLoadRequested);
    connect(&m_machine, &StreamSwitchMachine::stopRequested, this, &CameraStreamView::onStopRequested);
    connect(&m_machine, &StreamSwitchMachine::frontSlotChanged, this, &CameraStreamView::onFrontSlotChanged);
    connect(&m_machine, &StreamSwitchMachine::displayStateChanged, this,
        &CameraStreamView::onMachineStateChanged);
    connect(&m_recoverTimer, &QTimer::timeout, this, &CameraStreamView::recover);
    connect(&m_watchTimer, &QTimer::timeout, this, &CameraStreamView::watch);
}

CameraStreamView::~CameraStreamView()
{
    if (!m_cameraId.isEmpty())
        qCInfo(lcStream, "[%ls] stream view destroyed", qUtf16Printable(m_cameraId));
}

void CameraStreamView::createPlayer(int slot)
{
    auto &player = m_players.at(slot);
    player = std::make_unique<MpvObject>(this);
    player->setVisible(false);
    player->setZ(0);
    connect(
        player.get(), &MpvObject::firstFrameRendered, this, [this, slot] { m_machine.onFirstFrame(slot); });
    connect(player.get(), &MpvObject::stateChanged, this, [this, slot] {
        if (m_players.at(slot)->state() == QLatin1String("error"))
            failPlayer(slot);
    });
    connect(player.get(), &MpvObject::fileEnded, this, [this, slot] { onPlayerFileEnded(slot); });
}

MpvObject *CameraStreamView::player(int slot) const
{
    return slot == 0 || slot == 1 ? m_players.at(slot).get() : nullptr;
}

void CameraStreamView::setCameraId(const QString &cameraId)
{
    if (cameraId == m_cameraId)
        return;
    qCInfo(lcStream, "load camera into stream view: \"%ls\" (was \"%ls\")", qUtf16Printable(cameraId),
        qUtf16Printable(m_cameraId));
    m_cameraId = cameraId;
    m_subRequestId.clear();
    m_mainRequestId.clear();
    forgetFailures();
    emit cameraIdChanged();
    m_machine.setCamera(m_cameraId, m_hasSubStream);
}

void CameraStreamView::setHasSubStream(bool hasSubStream)
{
    if (hasSubStream == m_hasSubStream)
        return;
    m_hasSubStream = hasSubStream;
    emit hasSubStreamChanged();
    m_machine.setCamera(m_cameraId, m_hasSubStream);
}

void CameraStreamView::setPreferMain(bool preferMain)
{
    if (preferMain == m_preferMain)
        return;
    m_preferMain = preferMain;
    m_machine.setPreferMain(preferMain);
    // A failed switch that is not wanted any more.
    if (m_machine.isSettled())
        forgetFailures();
    emit preferMainChanged();
}

void CameraStreamView::setSuspended(bool suspended)
{
    if (suspended == m_suspended)
        return;
    m_suspended = suspended;
    qCDebug(lcStream, "[%ls] setSuspended(%s) state=%ls front=%d", qUtf16Printable(m_cameraId),
        suspended ? "true" : "false", qUtf16Printable(m_displayState), m_machine.frontSlot());
    emit suspendedChanged();
    m_machine.setSuspended(suspended);
    if (frontPlayer())
        frontPlayer()->setSuspended(suspended);
    if (suspended)
        m_recoverTimer.stop();
}

void CameraStreamView::setStretch(bool stretch)
{
    if (stretch == m_stretch)
        return;
    m_stretch = stretch;
    emit stretchChanged();
    for (const auto &player : m_players)
        player->setStretch(stretch);
}

void CameraStreamView::init(ApiClient *apiClient)
{
    if (apiClient == m_apiClient)
        return;
    if (m_apiClient)
        m_apiClient->disconnect(this);
    m_apiClient = apiClient;
    if (!apiClient)
        return;
    connect(apiClient, &ApiClient::streamUrlReceived, this,
        [this](const QString &cameraId, const QString &url, const QString &requestId) {
            onStreamUrlReceived(cameraId, requestId, url);
        });
    connect(apiClient, &ApiClient::streamUrlFailed, this,
        [this](const QString &cameraId, const QString &error, const QString &requestId) {
            onStreamUrlFailed(cameraId, requestId, error);
        });
    if (!m_deferredRole.isEmpty())
        onUrlRequested(std::exchange(m_deferredRole, {}));
}

void CameraStreamView::retry()
{
    m_recoverTimer.stop();
    tryAgain();
}

void CameraStreamView::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    for (const auto &player : m_players)
        player->setSize(newGeometry.size());
}

void CameraStreamView::itemChange(ItemChange change, const ItemChangeData &value)
{
    QQuickItem::itemChange(change, value);
    if (change == ItemVisibleHasChanged)
        updateWatch();
}

void CameraStreamView::onUrlRequested(const QString &role)
{
    if (m_cameraId.isEmpty())
        return;
    if (!m_apiClient) {
        m_deferredRole = role;
        return;
    }
    player(m_machine.frontSlot() == 0 ? 1 : 0)->prepare();
    fetchUrl(role, role == QLatin1String("sub") ? m_subRequestId : m_mainRequestId);
}

void CameraStreamView::fetchUrl(const QString &role, QString &requestId)
{
    ++m_requestCounter;
    requestId = QStringLiteral("%1|%2|%3").arg(m_cameraId, role).arg(m_requestCounter);
    m_apiClient->fetchStreamUrl(m_cameraId, role, requestId);
}

void CameraStreamView::onLoadRequested(int slot, const QString &url)
{
    MpvObject *const loaded = player(slot);
    if (!loaded)
        return;
    qCInfo(lcStream, "[%ls] player %d load %ls", qUtf16Printable(m_cameraId), slot,
        qUtf16Printable(redactUrl(url)));
    m_waitedMs = 0;
    loaded->setSource(url);
    loaded->setPaused(m_suspended);
}

void CameraStreamView::onStopRequested(int slot)
{
    MpvObject *const stopped = player(slot);
    if (!stopped)
        return;
    qCInfo(lcStream, "[%ls] player %d stop", qUtf16Printable(m_cameraId), slot);
    stopped->stop();
    stopped->setVisible(false);
    stopped->setZ(0);
}

void CameraStreamView::onFrontSlotChanged(int slot)
{
    for (int i = 0; i < 2; ++i) {
        player(i)->setZ(i == slot ? 1 : 0);
        player(i)->setVisible(i == slot);
    }
    if (m_suspended && player(slot))
        player(slot)->setSuspended(true);
    if (m_displayState == QLatin1String("playing"))
        recovered();
}

void CameraStreamView::onStreamUrlReceived(
    const QString &cameraId, const QString &requestId, const QString &url)
{
    if (!requestId.isEmpty() && requestId == m_renewalRequestId) {
        m_renewalRequestId.clear();
        m_renewedUrl = url;
        return;
    }
    const QString role = takeRoleOf(cameraId, requestId);
    if (!role.isEmpty())
        m_machine.provideUrl(role, url);
}

void CameraStreamView::onStreamUrlFailed(
    const QString &cameraId, const QString &requestId, const QString &error)
{
    Q_UNUSED(error)
    if (requestId == m_renewalRequestId)
        return;
    const QString role = takeRoleOf(cameraId, requestId);
    if (role.isEmpty())
        return;
    m_machine.urlFailed(role);
    if (m_machine.pendingSlot() < 0 && !m_machine.isSettled())
        scheduleRecovery();
}

QString CameraStreamView::takeRoleOf(const QString &cameraId, const QString &requestId)
{
    if (cameraId != m_cameraId || requestId.isEmpty())
        return {};
    if (requestId == m_subRequestId) {
        m_subRequestId.clear();
        return QStringLiteral("sub");
    }
    if (requestId == m_mainRequestId) {
        m_mainRequestId.clear();
        return QStringLiteral("main");
    }
    return {};
}

void CameraStreamView::onMachineStateChanged(const QString &state)
{
    m_displayState = state;
    emit displayStateChanged();
    if (state == QLatin1String("playing"))
        recovered();
    else if (state == QLatin1String("error"))
        scheduleRecovery();
    updateWatch();
}

void CameraStreamView::onPlayerFileEnded(int slot)
{
    if (slot != m_machine.frontSlot() && slot != m_machine.pendingSlot())
        return;
    m_machine.onPlayerError(slot);
    const bool isRecovering = m_displayState == QLatin1String("error");
    qCWarning(lcStream, "[%ls] player %d live source ended (EOF) — %s", qUtf16Printable(m_cameraId), slot,
        isRecovering ? "recovering" : "scheduling upgrade retry");
    if (!isRecovering)
        scheduleRecovery();
}

void CameraStreamView::failPlayer(int slot)
{
    const bool isFailedSwitch = slot == m_machine.pendingSlot() && frontPlayer();
    m_machine.onPlayerError(slot);
    if (isFailedSwitch)
        scheduleRecovery();
}

void CameraStreamView::scheduleRecovery()
{
    if (m_cameraId.isEmpty() || m_suspended || m_recoverTimer.isActive())
        return;
    const int delayMs = m_recoverDelayMs;
    m_recoverDelayMs = std::min(2 * std::max(delayMs, 1), longestRecoverDelayMs);
    qCWarning(
        lcStream, "[%ls] live stream failed — auto-recover in %dms", qUtf16Printable(m_cameraId), delayMs);
    m_recoverTimer.start(delayMs);
}

void CameraStreamView::recover()
{
    const bool hasFailedAgain = m_recoverDelayMs > 2 * firstRecoverDelayMs;
    qCInfo(lcStream, "[%ls] live auto-recover: retry", qUtf16Printable(m_cameraId));
    tryAgain();
    if (!hasFailedAgain || !m_apiClient || m_machine.pendingSlot() < 0)
        return;
    m_renewalRole = m_machine.pendingRole();
    fetchUrl(m_renewalRole, m_renewalRequestId);
}

void CameraStreamView::tryAgain()
{
    if (!m_renewedUrl.isEmpty())
        m_machine.provideUrl(m_renewalRole, std::exchange(m_renewedUrl, {}));
    m_machine.retry();
}

void CameraStreamView::recovered()
{
    if (m_recoverDelayMs > firstRecoverDelayMs)
        qCInfo(lcStream, "[%ls] live stream recovered", qUtf16Printable(m_cameraId));
    forgetFailures();
}

void CameraStreamView::forgetFailures()
{
    m_recoverTimer.stop();
    m_recoverDelayMs = firstRecoverDelayMs;
    m_renewalRequestId.clear();
    m_renewedUrl.clear();
}

void CameraStreamView::updateWatch()
{
    const bool isWatched = isVisible()
        && (m_displayState == QLatin1String("loading") || m_displayState == QLatin1String("playing"));
    if (isWatched == m_watchTimer.isActive())
        return;
    m_waitedMs = 0;
    if (isWatched)
        m_watchTimer.start();
    else
        m_watchTimer.stop();
}

int CameraStreamView::awaitedSlot() const
{
    if (m_machine.pendingSlot() >= 0)
        return m_machine.pendingSlot();
    return frontPlayer() && !frontPlayer()->hasVideo() ? m_machine.frontSlot() : -1;
}

void CameraStreamView::watch()
{
    if (!window() || !window()->isExposed()) {
        m_waitedMs = 0;
        return;
    }
    if (frontPlayer() && frontPlayer()->lastFrameAgeMs() >= silenceLimitMs) {
        qCWarning(
            lcStream, "[%ls] player %d has gone silent", qUtf16Printable(m_cameraId), m_machine.frontSlot());
        failPlayer(m_machine.frontSlot());
        return;
    }
    const int awaited = awaitedSlot();
    m_waitedMs = awaited < 0 ? 0 : m_waitedMs + watchIntervalMs;
    if (m_waitedMs < firstFrameLimitMs)
        return;
    m_waitedMs = 0;
    qCWarning(lcStream, "[%ls] player %d gets no first frame", qUtf16Printable(m_cameraId), awaited);
    failPlayer(awaited);
}
