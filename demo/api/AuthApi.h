#pragma once

#include <QObject>

namespace demo {

class Accounts;
class Router;
class Sessions;
struct Account;
struct Call;
struct HttpResponse;

/// First-time setup, sign-in, renewal by cookie and sign-out under "/client-api/auth".
class AuthApi : public QObject
{
    Q_OBJECT

public:
    AuthApi(Accounts &accounts, Sessions &sessions, Router &router, QObject *parent = nullptr);

signals:
    void sessionEnded(const QString &sessionId);

private:
    HttpResponse setUp(const Call &call);
    HttpResponse logIn(const Call &call);
    HttpResponse refresh(const Call &call);
    HttpResponse logOut(const Call &call);

    Accounts &m_accounts;
    Sessions &m_sessions;
};

} // namespace demo
