#include "api/DemoApi.h"

#include "api/EventChannel.h"
#include "api/Faults.h"
#include "http/Router.h"
#include "rtsp/RtspService.h"
#include "state/Accounts.h"
#include "state/Cameras.h"
#include "state/Incidents.h"
#include "state/Sessions.h"

namespace demo {

namespace {

QJsonObject bodyOf(const Call &call)
{
    return call.request.jsonObject().value_or(QJsonObject());
}

HttpResponse done(bool found)
{
    return found ? HttpResponse::noContent() : HttpResponse::error(404, "There is no such camera");
}

} // namespace

DemoApi::DemoApi(const Parts &parts, Router &router, QObject *parent)
    : QObject(parent)
    , m_parts(parts)
{
    routeCameras(router);
    routeFaults(router);
    routeEvents(router);
    routeSessions(router);
}

void DemoApi::routeCameras(Router &router)
{
    router.addOpen("POST", "/demo/cameras", [this](const Call &call) { return addCamera(call); });
    router.addOpen("PATCH", "/demo/cameras/{id}", [this](const Call &call) { return changeCamera(call); });
    router.addOpen("DELETE", "/demo/cameras/{id}",
        [this](const Call &call) { return done(m_parts.cameras.remove(call.args.first())); });
    router.addOpen("POST", "/demo/cameras/{id}/status", [this](const Call &call) {
        const QJsonObject body = bodyOf(call);
        return done(
            m_parts.cameras.setState(call.args.first(), body["state"].toString(), body["error"].toString()));
    });
    router.addOpen("POST", "/demo/cameras/{id}/fault", [this](const Call &call) { return failCamera(call); });
    router.addOpen(
        "GET", "/demo/rtsp", [this](const Call &) { return HttpResponse::json(m_parts.rtsp.statistics()); });
    router.addOpen("DELETE", "/demo/rtsp", [this](const Call &) {
        m_parts.rtsp.cutAll();
        return HttpResponse::noContent();
    });
}

HttpResponse DemoApi::addCamera(const Call &call)
{
    const QJsonObject body = bodyOf(call);
    const Camera &camera = m_parts.cameras.add(body["name"].toString(), body["has_sub_stream"].toBool(true));
    return HttpResponse::json(camera.toJson(), 201);
}

HttpResponse DemoApi::changeCamera(const Call &call)
{
    const QString id = call.args.first();
    const QJsonObject body = bodyOf(call);
    if (!m_parts.cameras.byId(id))
        return done(false);
    if (body.contains("name"))
        m_parts.cameras.rename(id, body["name"].toString());
    if (body.contains("enabled"))
        m_parts.cameras.setEnabled(id, body["enabled"].toBool());
    return HttpResponse::json(m_parts.cameras.byId(id)->toJson());
}

HttpResponse DemoApi::failCamera(const Call &call)
{
    const QString id = call.args.first();
    const QString kind = bodyOf(call)["kind"].toString();
    if (!m_parts.cameras.byId(id))
        return done(false);
    if (kind == "offline") {
        m_parts.rtsp.setFault(id, CameraFault::Offline);
        m_parts.cameras.setState(id, "offline", "The camera does not answer");
    } else if (kind == "hang") {
        m_parts.rtsp.setFault(id, CameraFault::Hang);
    } else if (kind == "none") {
        m_parts.rtsp.setFault(id, CameraFault::None);
        m_parts.cameras.setState(id, "recording", {});
    } else {
        return HttpResponse::error(400, "The kind must be offline, hang or none");
    }
    return HttpResponse::noContent();
}

void DemoApi::routeFaults(Router &router)
{
    router.addOpen(
        "GET", "/demo/faults", [this](const Call &) { return HttpResponse::json(m_parts.faults.toJson()); });
    router.addOpen("POST", "/demo/faults", [this](const Call &call) { return addFault(call); });
    router.addOpen("DELETE", "/demo/faults", [this](const Call &) {
        m_parts.faults.clear();
        return HttpResponse::noContent();
    });
    router.addOpen("GET", "/demo/requests",
        [this](const Call &) { return HttpResponse::json(m_parts.faults.counts()); });
    router.addOpen("DELETE", "/demo/requests", [this](const Call &) {
        m_parts.faults.resetCounts();
        return HttpResponse::noContent();
    });
}

HttpResponse DemoApi::addFault(const Call &call)
{
    const QJsonObject body = bodyOf(call);
    Fault fault;
    fault.pathPrefix = body["path"].toString();
    if (!fault.pathPrefix.startsWith(u'/'))
        return HttpResponse::error(400, "A fault needs the path prefix that it strikes");
    fault.method = body["method"].toString().toLatin1();
    fault.times = body["times"].toInt(-1);
    fault.skip = body["skip"].toInt();
    fault.delayMs = body["delay_ms"].toInt();
    fault.status = body["status"].toInt();
    fault.body = body["body"].toString().toUtf8();
    fault.replacesBody = body.contains("body");
    fault.cutAfterBytes = body["cut_after_bytes"].toInteger(-1);
    m_parts.faults.add(fault);
    return HttpResponse::json(fault.toJson(), 201);
}

void DemoApi::routeEvents(Router &router)
{
    router.addOpen("GET", "/demo/events", [this](const Call &) {
        return HttpResponse::json(QJsonObject{{"connected", m_parts.events.connected()},
            {"accepted", m_parts.events.accepted()}, {"refused", m_parts.events.refused()}});
    });
    router.addOpen("POST", "/demo/events/cut", [this](const Call &) {
        m_parts.events.cutAll();
        return HttpResponse::noContent();
    });
    router.addOpen("POST", "/demo/events/refuse", [this](const Call &call) {
        m_parts.events.setRefusal(bodyOf(call)["status"].toInt());
        return HttpResponse::noContent();
    });
    router.addOpen("POST", "/demo/events/send", [this](const Call &call) {
        m_parts.events.broadcastText(QString::fromUtf8(call.request.body));
        return HttpResponse::noContent();
    });
    router.addOpen("POST", "/demo/incidents", [this](const Call &call) {
        return HttpResponse::json(m_parts.incidents.raise(bodyOf(call), "detector"), 201);
    });
}

void DemoApi::routeSessions(Router &router)
{
    router.addOpen("POST", "/demo/users", [this](const Call &call) { return addUser(call); });
    router.addOpen("POST", "/demo/sessions", [this](const Call &call) {
        const int seconds = bodyOf(call)["access_seconds"].toInt();
        if (seconds <= 0)
            return HttpResponse::error(400, "access_seconds must be positive");
        m_parts.sessions.setAccessSeconds(seconds);
        return HttpResponse::noContent();
    });
    router.addOpen(
        "POST", "/demo/sessions/expire", [this](const Call &call) { return expireSessions(call); });
}

HttpResponse DemoApi::addUser(const Call &call)
{
    const QJsonObject body = bodyOf(call);
    QStringList permissions;
    const QJsonArray names = body["permissions"].toArray();
    for (const auto &name : names)
        permissions.append(name.toString());
    QString error;
    const Account *account
        = m_parts.accounts.create(body["login"].toString(), body["password"].toString(), permissions, &error);
    if (!account)
        return HttpResponse::error(400, error);
    return HttpResponse::json(
        QJsonObject{{"id", account->id}, {"login", account->login}, {"group_id", account->groupId}}, 201);
}

HttpResponse DemoApi::expireSessions(const Call &call)
{
    if (bodyOf(call)["what"].toString() == "access")
        m_parts.sessions.expireAccess();
    else
        m_parts.sessions.endAll();
    return HttpResponse::noContent();
}

} // namespace demo
