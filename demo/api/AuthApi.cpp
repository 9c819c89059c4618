#include "api/AuthApi.h"

#include "http/Router.h"
#include "state/Accounts.h"
#include "state/Sessions.h"

namespace demo {

namespace {

const QByteArray cookieName = "zorvel_refresh";

QByteArray cookieLine(const QByteArray &value, int maxAgeSeconds)
{
    return cookieName + '=' + value
        + "; Path=/client-api/auth; HttpOnly; SameSite=Strict; Max-Age=" + QByteArray::number(maxAgeSeconds);
}

HttpResponse authAnswer(const Account &account, const SessionTokens &tokens)
{
    HttpResponse response
        = HttpResponse::json(QJsonObject{{"access_token", QString::fromLatin1(tokens.access)},
            {"expires_in", tokens.accessSeconds}, {"user_id", account.id}, {"login", account.login},
            {"group_id", account.groupId}, {"permissions", QJsonArray::fromStringList(account.permissions)}});
    response.setHeader("Set-Cookie", cookieLine(tokens.refresh, Sessions::refreshSeconds));
    response.setHeader("Cache-Control", "no-store");
    return response;
}

} // namespace

AuthApi::AuthApi(Accounts &accounts, Sessions &sessions, Router &router, QObject *parent)
    : QObject(parent)
    , m_accounts(accounts)
    , m_sessions(sessions)
{
    router.addOpen("GET", "/client-api/auth/status", [this](const Call &) {
        return HttpResponse::json(QJsonObject{{"setup_required", m_accounts.isEmpty()}});
    });
    router.addOpen("POST", "/client-api/auth/setup", [this](const Call &call) { return setUp(call); });
    router.addOpen("POST", "/client-api/auth/login", [this](const Call &call) { return logIn(call); });
    router.addOpen("POST", "/client-api/auth/refresh", [this](const Call &call) { return refresh(call); });
    router.add("POST", "/client-api/auth/logout", [this](const Call &call) { return logOut(call); });
}

HttpResponse AuthApi::setUp(const Call &call)
{
    if (!m_accounts.isEmpty())
        return HttpResponse::error(409, "This server is already set up");
    const QJsonObject body = call.request.jsonObject().value_or(QJsonObject());
    QString error;
    const Account *account = m_accounts.create(
        body["login"].toString(), body["password"].toString(), Accounts::allPermissions(), &error);
    if (!account)
        return HttpResponse::error(400, error);
    return authAnswer(*account, m_sessions.begin(account->id));
}

HttpResponse AuthApi::logIn(const Call &call)
{
    const QJsonObject body = call.request.jsonObject().value_or(QJsonObject());
    const Account *account = m_accounts.verify(body["login"].toString(), body["password"].toString());
    if (!account)
        return HttpResponse::error(401, "Wrong login or password");
    return authAnswer(*account, m_sessions.begin(account->id));
}

HttpResponse AuthApi::refresh(const Call &call)
{
    const std::optional<SessionTokens> tokens = m_sessions.refresh(call.request.cookie(cookieName));
    const Account *account = tokens ? m_accounts.byId(m_sessions.accountOf(tokens->sessionId)) : nullptr;
    if (!account)
        return HttpResponse::error(401, "The session has expired, sign in again");
    return authAnswer(*account, *tokens);
}

HttpResponse AuthApi::logOut(const Call &call)
{
    const QString session = m_sessions.sessionOf(call.request.bearerToken());
    m_sessions.end(session);
    emit sessionEnded(session);
    HttpResponse response = HttpResponse::noContent();
    response.setHeader("Set-Cookie", cookieLine({}, 0));
    return response;
}

} // namespace demo
