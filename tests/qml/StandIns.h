#pragma once

#include <QObject>
#include <QStringList>
#include <QVariant>

// Stands in for ApiClient and has nothing that ApiClient lacks: it remembers what the screens asked for.
class StandInApiClient : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool authenticated MEMBER m_authenticated NOTIFY authChanged)
    Q_PROPERTY(QString login MEMBER m_login NOTIFY authChanged)
    Q_PROPERTY(QStringList permissions MEMBER m_permissions NOTIFY authChanged)
    Q_PROPERTY(QString errorMessage MEMBER m_error NOTIFY errorChanged)
    Q_PROPERTY(bool loading MEMBER m_loading NOTIFY loadingChanged)

public:
    using QObject::QObject;

    Q_INVOKABLE void checkStatus(const QString &serverUrl) { begin({"checkStatus", serverUrl}); }
    Q_INVOKABLE void doSetup(const QString &serverUrl, const QString &login, const QString &password)
    {
        begin({"doSetup", serverUrl, login, password});
    }
    Q_INVOKABLE void doLogin(const QString &serverUrl, const QString &login, const QString &password)
    {
        begin({"doLogin", serverUrl, login, password});
    }
    Q_INVOKABLE void doLogout() { setProperty("authenticated", false); }

signals:
    void authChanged();
    void loginSucceeded();
    void loginFailed(const QString &error);
    void statusReceived(bool setupRequired);
    void sessionExpired();
    void errorChanged();
    void loadingChanged();

protected:
    void begin(const QVariantList &call)
    {
        m_calls.append(QVariant(call));
        setProperty("errorMessage", QString());
        setProperty("loading", true);
    }

    bool m_authenticated = false;
    bool m_loading = false;
    QString m_login;
    QString m_error;
    QStringList m_permissions;
    QVariantList m_calls;
};

// What a test sees of the screens' calls and does in the server's place.
class ScriptedApiClient : public StandInApiClient
{
    Q_OBJECT
    Q_PROPERTY(QVariantList calls MEMBER m_calls)

public:
    using StandInApiClient::StandInApiClient;

    Q_INVOKABLE void answerStatus(bool setupRequired)
    {
        setProperty("loading", false);
        emit statusReceived(setupRequired);
    }
    Q_INVOKABLE void acceptLogin(const QString &login, const QStringList &permissions)
    {
        m_login = login;
        m_permissions = permissions;
        setProperty("loading", false);
        setProperty("authenticated", true);
        emit loginSucceeded();
    }
    Q_INVOKABLE void refuseLogin(const QString &error)
    {
        setProperty("loading", false);
        setProperty("errorMessage", error);
        emit loginFailed(error);
    }
    Q_INVOKABLE void expire()
    {
        setProperty("authenticated", false);
        emit sessionExpired();
    }
    Q_INVOKABLE void reset()
    {
        m_calls.clear();
        m_login.clear();
        m_permissions.clear();
        setProperty("loading", false);
        setProperty("errorMessage", QString());
        setProperty("authenticated", false);
        emit authChanged();
    }
};
