#pragma once

#include "live/StreamSwitchMachine.h"
#include "net/ApiClient.h"

#include <QPointer>
#include <QQuickItem>
#include <QTimer>

#include <array>
#include <memory>

class MpvObject;

// The live picture of one camera: two players that a StreamSwitchMachine directs, the stream addresses from
// the server, and recovery by itself with a back-off of 1 s doubling to 30 s. From the second attempt on it
// also asks whether the address has changed; the attempt after that uses the new one.
//
// Besides what the players report, a shown stream that delivers no new frame for 5 s, and a load that gets no
// first frame for 15 s, count as player errors, so that a camera that falls silent with its connection open
// is noticed. Silence is watched only while somebody could see it: a view that is suspended, hidden or in a
// window that is not exposed runs no timer for it.
class CameraStreamView : public QQuickItem
{
    Q_OBJECT
    Q_PROPERTY(QString cameraId READ cameraId WRITE setCameraId NOTIFY cameraIdChanged)
    Q_PROPERTY(bool hasSubStream READ hasSubStream WRITE setHasSubStream NOTIFY hasSubStreamChanged)
    Q_PROPERTY(bool preferMain READ preferMain WRITE setPreferMain NOTIFY preferMainChanged)
    Q_PROPERTY(bool suspended READ suspended WRITE setSuspended NOTIFY suspendedChanged)
    Q_PROPERTY(bool stretch READ stretch WRITE setStretch NOTIFY stretchChanged)
    Q_PROPERTY(QString displayState READ displayState NOTIFY displayStateChanged)

public:
    explicit CameraStreamView(QQuickItem *parent = nullptr);
    ~CameraStreamView() override;

    // The camera shown, empty for none.
    QString cameraId() const { return m_cameraId; }
    void setCameraId(const QString &cameraId);

    // Whether the camera offers a cheap stream besides its main one.
    bool hasSubStream() const { return m_hasSubStream; }
    void setHasSubStream(bool hasSubStream);

    // Whether the view is large enough to be worth the main stream.
    bool preferMain() const { return m_preferMain; }
    void setPreferMain(bool preferMain);

    // A suspended view plays nothing and recovers nothing; resuming starts afresh.
    bool suspended() const { return m_suspended; }
    void setSuspended(bool suspended);

    // Whether the picture fills the view; otherwise it keeps its proportions.
    bool stretch() const { return m_stretch; }
    void setStretch(bool stretch);

    // "idle", "loading", "playing" or "error"; empty before a camera was ever set.
    QString displayState() const { return m_displayState; }

    // Names the client that stream addresses are fetched from; what was asked for before is fetched now.
    Q_INVOKABLE void init(ApiClient *apiClient);
    // Tries again at once instead of waiting for the back-off.
    Q_INVOKABLE void retry();

public slots:
    // For the machine, the players and the client.
    void onUrlRequested(const QString &role);
    void onLoadRequested(int slot, const QString &url);
    void onStopRequested(int slot);
    void onFrontSlotChanged(int slot);
    void onStreamUrlReceived(const QString &cameraId, const QString &requestId, const QString &url);
    void onStreamUrlFailed(const QString &cameraId, const QString &requestId, const QString &error);
    void onMachineStateChanged(const QString &state);
    void onPlayerFileEnded(int slot);

signals:
    void cameraIdChanged();
    void hasSubStreamChanged();
    void preferMainChanged();
    void suspendedChanged();
    void stretchChanged();
    void displayStateChanged();

protected:
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData &value) override;

private:
    void createPlayer(int slot);
    MpvObject *player(int slot) const;
    MpvObject *frontPlayer() const { return player(m_machine.frontSlot()); }
    // The slot from which a first frame is expected, -1 for none.
    int awaitedSlot() const;
    void fetchUrl(const QString &role, QString &requestId);
    QString takeRoleOf(const QString &cameraId, const QString &requestId);
    void failPlayer(int slot);
    void scheduleRecovery();
    void recover();
    // With the address that the server has named since, if it has.
    void tryAgain();
    void recovered();
    void forgetFailures();
    void updateWatch();
    void watch();

    QPointer<ApiClient> m_apiClient;
    QString m_cameraId;
    bool m_hasSubStream = false;
    bool m_preferMain = false;
    bool m_suspended = false;
    bool m_stretch = false;
    QString m_displayState;
    int m_requestCounter = 0;
    QString m_subRequestId;
    QString m_mainRequestId;
    QString m_renewalRequestId;
    QString m_renewalRole;
    // For the next attempt.
    QString m_renewedUrl;
    QString m_deferredRole;
    QTimer m_recoverTimer{this};
    int m_recoverDelayMs;
    QTimer m_watchTimer{this};
    int m_waitedMs = 0;
    StreamSwitchMachine m_machine;
    std::array<std::unique_ptr<MpvObject>, 2> m_players;
};
