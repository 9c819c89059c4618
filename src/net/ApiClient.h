#pragma once

#include "net/Records.h"
#include "net/Requests.h"

#include <QHash>
#include <QNetworkAccessManager>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>

#include <functional>

class QNetworkReply;

/**
 * The operator's side of the server's REST interface: the session (setup, sign-in, token refresh, sign-out)
 * and the data calls. One instance serves the whole program and is known to QML as `apiClient`.
 *
 * Every call returns at once and answers later with the signal named beside it. A failed data call never ends
 * the session; only a failed refresh does. Whatever is still asked for when the session ends fails right
 * then, before anybody can sign in, so that nothing of one user reaches the next; neither do the cookies.
 * What an action on an incident led to is then told to nobody. Where a failure has no signal, it is logged.
 *
 * A server sends lists as JSON arrays at the top of the body; elements that are not objects, and spans and
 * segments that are not valid, are left out.
 */
class ApiClient : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool authenticated READ isAuthenticated NOTIFY authChanged)
    Q_PROPERTY(QString userId READ userId NOTIFY authChanged)
    Q_PROPERTY(QString login READ login NOTIFY authChanged)
    Q_PROPERTY(QStringList permissions READ permissions NOTIFY authChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorChanged)
    Q_PROPERTY(bool loading READ isLoading NOTIFY loadingChanged)

public:
    explicit ApiClient(QObject *parent = nullptr);
    ~ApiClient() override;

    bool isAuthenticated() const { return m_authenticated; }
    QString userId() const { return m_userId; }
    /// The login name of the user who is, or was last, signed in.
    QString login() const { return m_login; }
    QString groupId() const { return m_groupId; }
    QStringList permissions() const { return m_permissions; }
    /// Why the last status check, setup or login failed; empty while one runs and after success.
    QString errorMessage() const { return m_errorMessage; }
    /// A status check, setup or login is running.
    bool isLoading() const { return m_loading; }

    /// The server's base URL as typed, without trailing slashes.
    QString serverUrl() const { return m_serverUrl; }
    /// Empty when signed out.
    QString accessToken() const { return m_accessToken; }

    /// A request to the path below the server URL with the session's token, for clients that send their own.
    QNetworkRequest authorizedRequest(const QString &path, Requests::Body body = Requests::Body::None) const;

    // The session. A status check, setup or login takes the place of one that still runs, whose answer is
    // then ignored. Turning to another server ends the session with the present one.

    /// Asks whether the server wants its first account. Answers statusReceived or statusFailed.
    Q_INVOKABLE void checkStatus(const QString &serverUrl);
    /// Creates the first account and signs in with it. Answers loginSucceeded or loginFailed.
    Q_INVOKABLE void doSetup(const QString &serverUrl, const QString &login, const QString &password);
    /// Signs in. Answers loginSucceeded or loginFailed.
    Q_INVOKABLE void doLogin(const QString &serverUrl, const QString &login, const QString &password);
    /// Signs out at once; the server is told, its answer ignored. Does nothing when signed out.
    Q_INVOKABLE void doLogout();
    Q_INVOKABLE bool hasPermission(const QString &permission) const;

    // The data calls. A requestId comes back unchanged in the answer.

    /// An id that no other call of this client gets: "<prefix>-<number>", or the number alone.
    Q_INVOKABLE QString nextRequestId(const QString &prefix = {});

    // A list of cameras or of statuses that a later call's answer has overtaken is dropped.

    /// Answers camerasReceived.
    Q_INVOKABLE void fetchCameras();
    /// Answers cameraStatusReceived.
    Q_INVOKABLE void fetchCamerasStatus();
    /// `role` is "main" or "sub". Answers streamUrlReceived or streamUrlFailed.
    Q_INVOKABLE void fetchStreamUrl(const QString &cameraId, const QString &role, const QString &requestId);
    /// Answers recordingRangeReceived or recordingRangeFailed.
    Q_INVOKABLE void fetchRecordingRange(const QString &cameraId);
    /// Answers timelineReceived or timelineFailed.
    Q_INVOKABLE void fetchTimeline(
        const QString &cameraId, const QDateTime &from, const QDateTime &to, const QString &requestId = {});
    /// At most `limit` segments from the instant on. Answers segmentsReceived or segmentsFailed; if the asker
    /// is destroyed before that, not at all.
    Q_INVOKABLE void fetchSegments(const QString &cameraId, const QDateTime &from, int limit,
        const QString &requestId = {}, QObject *asker = nullptr);
    /// Answers batchTimelineReceived or batchTimelineFailed.
    Q_INVOKABLE void fetchBatchTimeline(const QStringList &cameraIds, const QDateTime &from,
        const QDateTime &to, const QString &requestId = {});
    /// Answers floorPlansReceived.
    Q_INVOKABLE void fetchFloorPlans();
    /// Answers floorPlanReceived or floorPlanFailed.
    Q_INVOKABLE void fetchFloorPlan(const QString &id);
    /// The incidents that are open or acknowledged. Answers incidentsReceived.
    Q_INVOKABLE void fetchOpenIncidents();
    /// Every entry of the filter whose text is not empty narrows the query. Answers incidentsJournalReceived.
    Q_INVOKABLE void fetchIncidents(const QVariantMap &filter);
    // The change of an incident arrives over the event channel; a failure answers incidentActionFailed.
    Q_INVOKABLE void ackIncident(const QString &id);
    Q_INVOKABLE void resolveIncident(const QString &id, const QString &resolution, bool falsePositive);
    Q_INVOKABLE void createIncident(const QString &title, const QString &description, int severity,
        const QString &cameraId, const QString &zone);
    /// Answers preferencesReceived.
    Q_INVOKABLE void fetchPreferences();
    /// Stores the JSON document given as text. A failure is logged.
    Q_INVOKABLE void savePreferences(const QString &json);

    /// The address of a recorded file; the server wants the session's token there.
    Q_INVOKABLE QString segmentFileUrl(qint64 segmentId, const QString &nodeId) const;

    /// Asks for the MP4 stream of [from, to), part of an export that begins at `origin`; `init` asks for the
    /// file header too. The reply belongs to `owner`, who also decides how long silence may last.
    /// Requests::serverErrorText says why it failed.
    QNetworkReply *openExportStream(const QString &cameraId, const QDateTime &origin, const QDateTime &from,
        const QDateTime &to, bool init, QObject *owner);

signals:
    /// `authenticated`, the user or the permissions may have changed.
    void authChanged();
    void loginSucceeded();
    void loginFailed(const QString &error);
    void statusReceived(bool setupRequired);
    void statusFailed(const QString &error);
    /// The server refused to renew the session. Not emitted by doLogout().
    void sessionExpired();
    void errorChanged();
    void loadingChanged();

    void camerasReceived(const QList<CameraData> &cameras);
    void cameraStatusReceived(const QList<CameraStatusData> &statuses);
    void streamUrlReceived(const QString &cameraId, const QString &url, const QString &requestId);
    void streamUrlFailed(const QString &cameraId, const QString &error, const QString &requestId);
    void recordingRangeReceived(const QString &cameraId, const RecordingRangeData &range);
    void recordingRangeFailed(const QString &cameraId, const QString &error);
    void timelineReceived(
        const QString &cameraId, const QList<TimeSpanData> &spans, const QString &requestId);
    void timelineFailed(const QString &cameraId, const QString &error, const QString &requestId);
    void segmentsReceived(
        const QString &cameraId, const QList<SegmentData> &segments, const QString &requestId);
    void segmentsFailed(const QString &cameraId, const QString &error, const QString &requestId);
    /// `perCamera` maps a camera id to its spans, `merged` holds those of all together; a span is a map of
    /// "start" and "end" in milliseconds since the epoch.
    void batchTimelineReceived(
        const QVariantMap &perCamera, const QVariantList &merged, const QString &requestId);
    void batchTimelineFailed(const QString &error, const QString &requestId);
    void floorPlansReceived(const QList<FloorPlanSummary> &plans);
    void floorPlanReceived(const QString &id, const QVariantMap &plan);
    void floorPlanFailed(const QString &id, const QString &error);
    void incidentsReceived(const QVariantList &incidents);
    void incidentsJournalReceived(const QVariantList &incidents);
    /// `id` is empty for an incident that could not be created.
    void incidentActionFailed(const QString &id, const QString &error);
    /// The document as text, just as the server sent it.
    void preferencesReceived(const QString &json);

    /// The session was ended here: by doLogout(), or by turning to another server.
    void signedOut();

private:
    using OnBody = std::function<void(const QByteArray &body)>;
    using OnFailure = std::function<void(const QString &error)>;
    enum class ErrorText { Http, Server };

    // Numbers the calls of one kind.
    struct CallOrder
    {
        quint64 asked = 0;
        quint64 answered = 0;

        // Whether no later call was answered before this one.
        bool accepts(quint64 call);
    };

    QUrl endpoint(const QString &path) const;
    void setServerUrl(const QString &serverUrl);
    void setError(const QString &error);
    void setLoading(bool loading);

    void beginSignIn(const QString &serverUrl);
    void signIn(const QString &path, const QString &login, const QString &password, bool withBreadcrumbs);
    void handleSignIn(QNetworkReply &reply, const QByteArray &body, bool withBreadcrumbs);
    void applyAuthAnswer(const QJsonObject &answer);
    void refresh();
    void handleRefresh(QNetworkReply &reply, const QByteArray &body);
    void endSession();
    void forgetCookies();
    void withdraw(QObject *job);
    void failOutstanding();
    void abandon(QPointer<QNetworkReply> &reply);

    QNetworkReply *get(const QString &path);
    QNetworkReply *post(const QString &path, const QJsonObject &body);
    QNetworkReply *put(const QString &path, const QByteArray &json);
    void readAnswer(QNetworkReply *reply, const OnBody &onBody, const OnFailure &onFailure,
        ErrorText errorText = ErrorText::Http);
    // What the array in the answer lists; an answer of another shape has failed.
    template <typename Record>
    void readList(QNetworkReply *reply, const std::function<void(const QList<Record> &records)> &onRecords,
        const OnFailure &onFailure);
    // Reads a long answer on a worker thread; what `read` returns is done here, unless the session ends
    // meanwhile.
    void readAside(std::function<std::function<void()>()> read, const OnFailure &onFailure);
    void fetchIncidentList(
        const char *call, const QString &path, void (ApiClient::*received)(const QVariantList &));
    void sendIncidentAction(
        const char *call, const QString &id, const QString &path, const QJsonObject &body);

    QNetworkAccessManager m_network{this};
    QString m_serverUrl;
    QString m_accessToken;
    QString m_userId;
    QString m_login;
    QString m_groupId;
    QStringList m_permissions;
    bool m_authenticated = false;
    bool m_loading = false;
    QString m_errorMessage;
    QTimer m_refreshTimer{this};
    QPointer<QNetworkReply> m_signInReply;
    QPointer<QNetworkReply> m_refreshReply;
    // What answers are being waited for, and whom it concerns when none comes.
    QHash<QObject *, OnFailure> m_outstanding;
    quint64 m_session = 0;
    quint64 m_lastRequestId = 0;
    CallOrder m_cameraCalls;
    CallOrder m_statusCalls;
};
