#include "http/Router.h"

namespace demo {

void Router::add(const QByteArray &method, const QString &pattern, Action action)
{
    m_routes.append({method, pattern.split(u'/', Qt::SkipEmptyParts), false, std::move(action)});
}

void Router::addOpen(const QByteArray &method, const QString &pattern, Action action)
{
    m_routes.append({method, pattern.split(u'/', Qt::SkipEmptyParts), true, std::move(action)});
}

HttpResponse Router::handle(const HttpRequest &request) const
{
    const QByteArray method = request.method == "HEAD" ? QByteArray("GET") : request.method;
    bool pathIsKnown = false;
    for (const Route &route : m_routes) {
        const std::optional<QStringList> args = match(route.pattern, request.segments);
        if (!args)
            continue;
        pathIsKnown = true;
        if (route.method != method)
            continue;
        const Account *account = route.isOpen ? nullptr : m_guard(request.bearerToken());
        if (!route.isOpen && !account)
            return HttpResponse::error(401, "Sign in first: the session is missing or expired");
        return route.action({request, *args, account});
    }
    return pathIsKnown ? HttpResponse::error(405, "This address does not take that method")
                       : HttpResponse::error(404, "There is nothing at this address");
}

std::optional<QStringList> Router::match(const QStringList &pattern, const QStringList &segments)
{
    if (pattern.size() != segments.size())
        return std::nullopt;
    QStringList args;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        if (pattern[i].startsWith(u'{'))
            args.append(segments[i]);
        else if (pattern[i] != segments[i])
            return std::nullopt;
    }
    return args;
}

} // namespace demo
