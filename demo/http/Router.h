#pragma once

#include "http/HttpMessage.h"
#include "state/Accounts.h"

#include <functional>

namespace demo {

/// One routed request: the values of the route's `{...}` segments in order, and who asks (null on open
/// routes).
struct Call
{
    const HttpRequest &request;
    QStringList args;
    const Account *account = nullptr;
};

/**
 * Finds the action of a request by method and path.
 *
 * A pattern is a path whose segments are either literal or `{name}`. A GET action also answers HEAD. A known
 * path asked with another method is answered 405, an unknown one 404, and one that needs a session without a
 * valid token 401.
 */
class Router
{
public:
    using Action = std::function<HttpResponse(const Call &)>;
    /// The account of a bearer token, or null.
    using Guard = std::function<const Account *(const QByteArray &token)>;

    void setGuard(Guard guard) { m_guard = std::move(guard); }

    /// Adds a route that needs a valid access token.
    void add(const QByteArray &method, const QString &pattern, Action action);
    /// Adds a route that anybody may call.
    void addOpen(const QByteArray &method, const QString &pattern, Action action);

    HttpResponse handle(const HttpRequest &request) const;

private:
    struct Route
    {
        QByteArray method;
        QStringList pattern;
        bool isOpen;
        Action action;
    };

    static std::optional<QStringList> match(const QStringList &pattern, const QStringList &segments);

    QList<Route> m_routes;
    Guard m_guard;
};

} // namespace demo
