#include "live/StreamSwitchMachine.h"

#include <utility>

namespace {

using Role = StreamSwitchMachine::Role;

QString toText(Role role)
{
    switch (role) {
    case Role::Main:
        return QStringLiteral("main");
    case Role::Sub:
        return QStringLiteral("sub");
    case Role::None:
        break;
    }
    return {};
}

Role toRole(const QString &text)
{
    for (const Role role : {Role::Main, Role::Sub}) {
        if (text == toText(role))
            return role;
    }
    return Role::None;
}

} // namespace

StreamSwitchMachine::StreamSwitchMachine(QObject *parent)
    : QObject(parent)
{
}

QString StreamSwitchMachine::pendingRole() const
{
    return toText(m_pendingRole);
}

void StreamSwitchMachine::setCamera(const QString &cameraId, bool hasSub)
{
    if (cameraId == m_cameraId && hasSub == m_hasSub)
        return;
    m_cameraId = cameraId;
    m_hasSub = hasSub;
    m_subUrl.clear();
    m_mainUrl.clear();
    m_requestedRole = Role::None;
    m_failedRole = Role::None;
    stopAll();
    setDisplayState(cameraId.isEmpty() ? QStringLiteral("idle") : QStringLiteral("loading"));
    evaluate();
}

void StreamSwitchMachine::setPreferMain(bool preferMain)
{
    if (preferMain == m_preferMain)
        return;
    m_preferMain = preferMain;
    m_failedRole = Role::None;
    evaluate();
}

void StreamSwitchMachine::setSuspended(bool suspended)
{
    if (suspended == m_suspended)
        return;
    m_suspended = suspended;
    if (!suspended) {
        evaluate();
        return;
    }
    stopAll();
    m_requestedRole = Role::None;
    m_failedRole = Role::None;
    setDisplayState(QStringLiteral("idle"));
}

void StreamSwitchMachine::provideUrl(const QString &role, const QString &url)
{
    const Role provided = toRole(role);
    if (provided == Role::None || url.isEmpty())
        return;
    urlOf(provided) = url;
    if (m_requestedRole == provided)
        m_requestedRole = Role::None;
    evaluate();
}

void StreamSwitchMachine::urlFailed(const QString &role)
{
    const Role failed = toRole(role);
    if (m_requestedRole == failed)
        m_requestedRole = Role::None;
    if (!hasFront() && failed == initialRole()) {
        clearPending();
        setDisplayState(QStringLiteral("error"));
        return;
    }
    m_failedRole = failed;
    cancelSwitch();
}

void StreamSwitchMachine::onFirstFrame(int slot)
{
    if (slot < 0 || slot != m_pendingSlot)
        return;
    if (slot != m_frontSlot) {
        const int oldFront = std::exchange(m_frontSlot, slot);
        m_frontRole = m_pendingRole;
        clearPending();
        emit frontSlotChanged(slot);
        stop(oldFront);
        setDisplayState(QStringLiteral("playing"));
    }
    m_failedRole = Role::None;
    evaluate();
}

void StreamSwitchMachine::onPlayerError(int slot)
{
    if (slot < 0 || (slot != m_frontSlot && slot != m_pendingSlot))
        return;
    if (slot == m_pendingSlot && hasFront()) {
        m_failedRole = m_pendingRole;
        stop(slot);
        clearPending();
        return;
    }
    stopAll();
    m_requestedRole = Role::None;
    setDisplayState(QStringLiteral("error"));
}

void StreamSwitchMachine::retry()
{
    if (m_cameraId.isEmpty())
        return;
    m_failedRole = Role::None;
    if (!hasFront())
        setDisplayState(QStringLiteral("loading"));
    evaluate();
}

void StreamSwitchMachine::evaluate()
{
    if (m_cameraId.isEmpty())
        setDisplayState(QStringLiteral("idle"));
    else if (!m_suspended && !hasFront())
        load(0, initialRole());
    else if (m_suspended || m_frontRole == desiredRole())
        cancelSwitch();
    else if (m_failedRole != desiredRole())
        load(1 - m_frontSlot, desiredRole());
}

void StreamSwitchMachine::load(int slot, Role role)
{
    if (slot == m_pendingSlot && role == m_pendingRole)
        return;
    const QString url = urlOf(role);
    if (url.isEmpty()) {
        requestUrl(role);
        return;
    }
    m_pendingSlot = slot;
    m_pendingRole = role;
    m_slotActive.at(slot) = true;
    if (!hasFront())
        setDisplayState(QStringLiteral("loading"));
    emit loadRequested(slot, url);
}

void StreamSwitchMachine::requestUrl(Role role)
{
    if (m_requestedRole == role)
        return;
    m_requestedRole = role;
    emit urlRequested(toText(role));
}

void StreamSwitchMachine::stop(int slot)
{
    if (slot < 0 || !std::exchange(m_slotActive.at(slot), false))
        return;
    emit stopRequested(slot);
}

void StreamSwitchMachine::stopAll()
{
    stop(0);
    stop(1);
    m_frontSlot = -1;
    m_frontRole = Role::None;
    clearPending();
}

void StreamSwitchMachine::cancelSwitch()
{
    if (!isSwitchPending())
        return;
    stop(m_pendingSlot);
    clearPending();
}

void StreamSwitchMachine::clearPending()
{
    m_pendingSlot = -1;
    m_pendingRole = Role::None;
}

void StreamSwitchMachine::setDisplayState(const QString &state)
{
    if (state == m_displayState)
        return;
    m_displayState = state;
    emit displayStateChanged(state);
}
