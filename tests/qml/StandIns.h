#pragma once

#include <QObject>
#include <QStringList>
#include <QVariant>

// Stands in for ApiClient and has nothing that ApiClient lacks: it remembers what the screens asked for.
class StandInApiClient : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool authenticated READ authenticated NOTIFY authChanged)
    Q_PROPERTY(QString userId READ login NOTIFY authChanged)
    Q_PROPERTY(QString login READ login NOTIFY authChanged)
    Q_PROPERTY(QStringList permissions READ permissions NOTIFY authChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorChanged)
    Q_PROPERTY(bool loading READ loading NOTIFY loadingChanged)

public:
    using QObject::QObject;

    bool authenticated() const { return m_authenticated; }
    QString login() const { return m_login; }
    QStringList permissions() const { return m_permissions; }
    QString errorMessage() const { return m_error; }
    bool loading() const { return m_loading; }

    Q_INVOKABLE void checkStatus(const QString &serverUrl) { begin({"checkStatus", serverUrl}); }
    Q_INVOKABLE void doSetup(const QString &serverUrl, const QString &login, const QString &password)
    {
        begin({"doSetup", serverUrl, login, password});
    }
    Q_INVOKABLE void doLogin(const QString &serverUrl, const QString &login, const QString &password)
    {
        begin({"doLogin", serverUrl, login, password});
    }
    Q_INVOKABLE void doLogout()
    {
        m_calls.append(QVariant(QVariantList{"doLogout"}));
        m_authenticated = false;
        emit authChanged();
    }
    Q_INVOKABLE QString nextRequestId(const QString &prefix)
    {
        return prefix + u'-' + QString::number(++m_requests);
    }
    Q_INVOKABLE void fetchStreamUrl(const QString &cameraId, const QString &role, const QString &requestId)
    {
        m_calls.append(QVariant(QVariantList{"fetchStreamUrl", cameraId, role, requestId}));
    }

signals:
    void authChanged();
    void loginSucceeded();
    void loginFailed(const QString &error);
    void statusReceived(bool setupRequired);
    void statusFailed(const QString &error);
    void sessionExpired();
    void errorChanged();
    void loadingChanged();
    void streamUrlReceived(const QString &cameraId, const QString &url, const QString &requestId);
    void streamUrlFailed(const QString &cameraId, const QString &error, const QString &requestId);

protected:
    void begin(const QVariantList &call)
    {
        m_calls.append(QVariant(call));
        setError({});
        setLoading(true);
    }
    void setError(const QString &error)
    {
        if (m_error == error)
            return;
        m_error = error;
        emit errorChanged();
    }
    void setLoading(bool loading)
    {
        if (m_loading == loading)
            return;
        m_loading = loading;
        emit loadingChanged();
    }

    bool m_authenticated = false;
    bool m_loading = false;
    int m_requests = 0;
    QString m_login;
    QString m_error;
    QStringList m_permissions;
    QVariantList m_calls;
};

// What a test sees of the screens' calls and does in the server's place.
class ScriptedApiClient : public StandInApiClient
{
    Q_OBJECT
    Q_PROPERTY(QVariantList calls READ calls)

public:
    using StandInApiClient::StandInApiClient;

    QVariantList calls() const { return m_calls; }

    Q_INVOKABLE void answerStatus(bool setupRequired)
    {
        setLoading(false);
        emit statusReceived(setupRequired);
    }
    Q_INVOKABLE void acceptLogin(const QString &login, const QStringList &permissions)
    {
        setLoading(false);
        m_authenticated = true;
        m_login = login;
        m_permissions = permissions;
        emit authChanged();
        emit loginSucceeded();
    }
    Q_INVOKABLE void refuseLogin(const QString &error)
    {
        setLoading(false);
        setError(error);
        emit loginFailed(error);
    }
    Q_INVOKABLE void setPermissions(const QStringList &permissions)
    {
        m_permissions = permissions;
        emit authChanged();
    }
    Q_INVOKABLE void expire()
    {
        m_authenticated = false;
        emit authChanged();
        emit sessionExpired();
    }
    Q_INVOKABLE void reset()
    {
        m_calls.clear();
        m_login.clear();
        m_permissions.clear();
        m_authenticated = false;
        setLoading(false);
        setError({});
        emit authChanged();
    }
};

class StandInWsClient : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool connected MEMBER m_connected NOTIFY connectedChanged)

public:
    using QObject::QObject;

signals:
    void connectedChanged();

private:
    bool m_connected = false;
};
