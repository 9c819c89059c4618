#pragma once

#include <QObject>
#include <QString>

#include <array>

// Decides, for one camera in one cell, which of its two streams plays and in which of two players.
//
// One player is the front slot, the one shown; the other loads the next stream in the background and becomes
// the front slot with its first frame, so that the picture never goes blank. A cell starts on the cheap
// stream. The machine is pure logic: it asks its owner through signals for URLs, loads and stops, and is told
// through slots what came of them. It never retries by itself; a switch that failed is not tried again until
// retry(), a changed preference, a first frame or another camera.
//
// Streams are named "main" and "sub" in signals and slots; any other text names none.
class StreamSwitchMachine : public QObject
{
    Q_OBJECT

public:
    enum class Role { None, Main, Sub };
    Q_ENUM(Role)

    explicit StreamSwitchMachine(QObject *parent = nullptr);

    // The slot shown, -1 for none yet.
    int frontSlot() const { return m_frontSlot; }
    // The slot whose load awaits its first frame, -1 for none.
    int pendingSlot() const { return m_pendingSlot; }
    // The stream that this load is of, "" for none.
    QString pendingRole() const;
    // Whether the stream that is wanted is the one shown.
    bool isSettled() const { return hasFront() && m_frontRole == desiredRole(); }
    // "idle", "loading", "playing" or "error"; empty before the first input.
    QString displayState() const { return m_displayState; }

signals:
    // Fetch the stream's URL and answer with provideUrl or urlFailed.
    void urlRequested(const QString &role);
    void loadRequested(int slot, const QString &url);
    void stopRequested(int slot);
    void frontSlotChanged(int slot);
    void displayStateChanged(const QString &state);

public slots:
    void setCamera(const QString &cameraId, bool hasSub);
    void setPreferMain(bool preferMain);
    void setSuspended(bool suspended);
    void provideUrl(const QString &role, const QString &url);
    void urlFailed(const QString &role);
    void onFirstFrame(int slot);
    void onPlayerError(int slot);
    void retry();

private:
    Role initialRole() const { return m_hasSub ? Role::Sub : Role::Main; }
    Role desiredRole() const { return m_hasSub && !m_preferMain ? Role::Sub : Role::Main; }
    bool hasFront() const { return m_frontSlot >= 0; }
    bool isSwitchPending() const { return m_pendingSlot >= 0 && m_pendingSlot != m_frontSlot; }
    QString &urlOf(Role role) { return role == Role::Main ? m_mainUrl : m_subUrl; }

    void evaluate();
    void load(int slot, Role role);
    void requestUrl(Role role);
    void stop(int slot);
    void stopAll();
    void cancelSwitch();
    void clearPending();
    void setDisplayState(const QString &state);

    QString m_cameraId;
    bool m_hasSub = false;
    bool m_preferMain = false;
    bool m_suspended = false;
    QString m_subUrl;
    QString m_mainUrl;
    int m_frontSlot = -1;
    Role m_frontRole = Role::None;
    QString m_displayState;
    int m_pendingSlot = -1;
    Role m_pendingRole = Role::None;
    std::array<bool, 2> m_slotActive{};
    Role m_requestedRole = Role::None;
    Role m_failedRole = Role::None;
};
