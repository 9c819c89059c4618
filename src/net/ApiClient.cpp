#include "net/ApiClient.h"

#include "app/CrashReporting.h"
#include "net/Json.h"

#include <QJsonDocument>
#include <QNetworkCookieJar>
#include <QNetworkReply>

#include <algorithm>
#include <limits>

namespace {

constexpr qint64 defaultLifetimeSeconds = 900;
constexpr qint64 refreshAheadSeconds = 60;

const QString invalidResponse = QStringLiteral("Invalid server response");

int refreshDelayMs(qint64 lifetimeSeconds)
{
    constexpr qint64 longestSeconds = std::numeric_limits<int>::max() / 1000;
    const qint64 delaySeconds = std::clamp<qint64>(lifetimeSeconds, 0, longestSeconds) - refreshAheadSeconds;
    return delaySeconds < 2 ? 1000 : static_cast<int>(delaySeconds * 1000);
}

void addAuthBreadcrumb(const QString &message, const QString &level)
{
    addBreadcrumb(QStringLiteral("auth"), message, level);
}

} // namespace

ApiClient::ApiClient(QObject *parent)
    : QObject(parent)
{
    m_refreshTimer.setObjectName(QStringLiteral("refreshTimer"));
    m_refreshTimer.setSingleShot(true);
    connect(&m_refreshTimer, &QTimer::timeout, this, &ApiClient::refresh);
}

ApiClient::~ApiClient() = default;

QNetworkRequest ApiClient::authorizedRequest(const QString &path, Requests::Body body) const
{
    return Requests::authorized(endpoint(path), m_accessToken, body);
}

void ApiClient::checkStatus(const QString &serverUrl)
{
    beginSignIn(serverUrl);
    m_signInReply = m_network.get(Requests::plain(endpoint(QStringLiteral("/client-api/auth/status"))));
    Requests::whenFinished(m_signInReply, this, [this](QNetworkReply &reply, const QByteArray &body) {
        setLoading(false);
        const auto answer = Json::object(body);
        if (Requests::hasFailed(reply) || !answer) {
            setError(Requests::hasFailed(reply) ? Requests::networkErrorText(reply) : invalidResponse);
            emit statusFailed(m_errorMessage);
            return;
        }
        emit statusReceived(answer->value(u"setup_required").toBool());
    });
    Requests::limitDuration(m_signInReply);
}

void ApiClient::doSetup(const QString &serverUrl, const QString &login, const QString &password)
{
    beginSignIn(serverUrl);
    signIn(QStringLiteral("/client-api/auth/setup"), login, password, false);
}

void ApiClient::doLogin(const QString &serverUrl, const QString &login, const QString &password)
{
    beginSignIn(serverUrl);
    addAuthBreadcrumb(QStringLiteral("login attempt: ") + m_serverUrl, QStringLiteral("info"));
    signIn(QStringLiteral("/client-api/auth/login"), login, password, true);
}

void ApiClient::doLogout()
{
    if (!m_authenticated) {
        return;
    }
    abandon(m_signInReply);
    setLoading(false);

    QNetworkRequest request = authorizedRequest(QStringLiteral("/client-api/auth/logout"));
    // A late answer must not take the cookies of the session that follows.
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    Requests::whenFinished(
        m_network.post(request, QByteArray()), this, [](QNetworkReply &, const QByteArray &) {});

    endSession();
    forgetCookies();
    emit authChanged();
    emit signedOut();
}

bool ApiClient::hasPermission(const QString &permission) const
{
    return m_permissions.contains(permission);
}

QUrl ApiClient::endpoint(const QString &path) const
{
    return QUrl(m_serverUrl + path);
}

void ApiClient::setServerUrl(const QString &serverUrl)
{
    QString url = serverUrl;
    while (url.endsWith(u'/')) {
        url.chop(1);
    }
    if (url == m_serverUrl) {
        return;
    }
    m_serverUrl = url;
    forgetCookies();
    if (m_authenticated) {
        endSession();
        emit authChanged();
        emit signedOut();
    }
}

void ApiClient::setError(const QString &error)
{
    if (m_errorMessage == error) {
        return;
    }
    m_errorMessage = error;
    emit errorChanged();
}

void ApiClient::setLoading(bool loading)
{
    if (m_loading == loading) {
        return;
    }
    m_loading = loading;
    emit loadingChanged();
}

void ApiClient::beginSignIn(const QString &serverUrl)
{
    abandon(m_signInReply);
    setServerUrl(serverUrl);
    setLoading(true);
    setError({});
}

void ApiClient::signIn(
    const QString &path, const QString &login, const QString &password, bool withBreadcrumbs)
{
    const QJsonObject credentials{{QStringLiteral("login"), login}, {QStringLiteral("password"), password}};
    m_signInReply = m_network.post(Requests::plain(endpoint(path), Requests::Body::Json),
        QJsonDocument(credentials).toJson(QJsonDocument::Compact));
    Requests::whenFinished(
        m_signInReply, this, [this, withBreadcrumbs](QNetworkReply &reply, const QByteArray &body) {
            handleSignIn(reply, body, withBreadcrumbs);
        });
    Requests::limitDuration(m_signInReply);
}

void ApiClient::handleSignIn(QNetworkReply &reply, const QByteArray &body, bool withBreadcrumbs)
{
    const auto note = [withBreadcrumbs](const QString &message, const QString &level) {
        if (withBreadcrumbs) {
            addAuthBreadcrumb(message, level);
        }
    };

    setLoading(false);
    if (Requests::hasFailed(reply)) {
        const QString error = Requests::serverErrorText(reply, body);
        setError(error);
        note(QStringLiteral("login failed: ") + error, QStringLiteral("warning"));
        emit loginFailed(error);
        return;
    }
    const auto answer = Json::object(body);
    if (!answer) {
        setError(invalidResponse);
        note(QStringLiteral("login: invalid server response"), QStringLiteral("warning"));
        emit loginFailed(m_errorMessage);
        return;
    }
    endSession();
    const quint64 session = m_session;
    applyAuthAnswer(*answer);
    m_authenticated = true;
    note(QStringLiteral("login succeeded"), QStringLiteral("info"));
    emit authChanged();
    if (m_session == session) {
        emit loginSucceeded();
    }
}

void ApiClient::applyAuthAnswer(const QJsonObject &answer)
{
    m_accessToken = answer[u"access_token"].toString();
    m_userId = answer[u"user_id"].toString();
    m_login = answer[u"login"].toString();
    m_groupId = answer[u"group_id"].toString();
    m_permissions.clear();
    for (const QJsonValue permission : answer[u"permissions"].toArray()) {
        m_permissions.append(permission.toString());
    }
    m_refreshTimer.start(refreshDelayMs(answer[u"expires_in"].toInteger(defaultLifetimeSeconds)));
}

void ApiClient::refresh()
{
    if (m_refreshReply) {
        return;
    }
    m_refreshReply = m_network.post(
        Requests::plain(endpoint(QStringLiteral("/client-api/auth/refresh")), Requests::Body::Json),
        QByteArray());
    Requests::whenFinished(m_refreshReply, this,
        [this](QNetworkReply &reply, const QByteArray &body) { handleRefresh(reply, body); });
    Requests::limitDuration(m_refreshReply);
}

void ApiClient::handleRefresh(QNetworkReply &reply, const QByteArray &body)
{
    m_refreshReply.clear();
    if (Requests::hasFailed(reply)) {
        endSession();
        forgetCookies();
        addAuthBreadcrumb(
            QStringLiteral("token refresh failed -> session expired"), QStringLiteral("warning"));
        emit authChanged();
        emit sessionExpired();
        return;
    }
    if (const auto answer = Json::object(body)) {
        applyAuthAnswer(*answer);
        emit authChanged();
    }
}

void ApiClient::endSession()
{
    ++m_session;
    abandon(m_refreshReply);
    m_refreshTimer.stop();
    m_authenticated = false;
    m_accessToken.clear();
    failOutstanding();
}

// The jar tells servers apart by host and path, not by port.
void ApiClient::forgetCookies()
{
    m_network.setCookieJar(new QNetworkCookieJar);
}

void ApiClient::abandon(QPointer<QNetworkReply> &reply)
{
    if (!reply) {
        return;
    }
    reply->disconnect(this);
    reply->abort();
    reply->deleteLater();
    reply.clear();
}
