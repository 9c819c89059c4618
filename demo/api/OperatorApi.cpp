#include "api/OperatorApi.h"

#include "http/Router.h"
#include "state/Cameras.h"
#include "state/Incidents.h"
#include "state/StateFile.h"

namespace demo {

namespace {

/// Runs the action only for accounts that hold the permission.
Router::Action needing(const QString &permission, Router::Action action)
{
    return [permission, action = std::move(action)](const Call &call) {
        if (!call.account->may(permission))
            return HttpResponse::error(403, "Your account may not do this");
        return action(call);
    };
}

HttpResponse changedIncident(const QJsonObject &incident)
{
    return incident.isEmpty() ? HttpResponse::error(404, "There is no such incident")
                              : HttpResponse::json(incident);
}

} // namespace

OperatorApi::OperatorApi(
    Cameras &cameras, Incidents &incidents, StateFile &state, StreamUrl streamUrl, Router &router)
    : m_cameras(cameras)
    , m_incidents(incidents)
    , m_state(state)
    , m_streamUrl(std::move(streamUrl))
{
    routeCameras(router);
    routeIncidents(router);
    routePreferences(router);
    router.add(
        "GET", "/client-api/floor-plans", [](const Call &) { return HttpResponse::json(QJsonArray()); });
    router.add("GET", "/client-api/floor-plans/{id}",
        [](const Call &) { return HttpResponse::error(404, "There is no such floor plan"); });
}

void OperatorApi::routeCameras(Router &router)
{
    router.add("GET", "/client-api/cameras", [this](const Call &) {
        QJsonArray cameras;
        for (const Camera &camera : m_cameras.all())
            cameras.append(camera.toJson());
        return HttpResponse::json(cameras);
    });
    router.add("GET", "/client-api/cameras/status", [this](const Call &) {
        QJsonArray statuses;
        for (const Camera &camera : m_cameras.all())
            statuses.append(camera.statusJson());
        return HttpResponse::json(statuses);
    });
    router.add(
        "GET", "/client-api/cameras/{id}/stream-url", [this](const Call &call) { return streamUrl(call); });
}

HttpResponse OperatorApi::streamUrl(const Call &call) const
{
    const Camera *camera = m_cameras.byId(call.args.first());
    const QString role = call.request.queryValue("role");
    if (!camera)
        return HttpResponse::error(404, "There is no such camera");
    if (role != "main" && role != "sub")
        return HttpResponse::error(400, "The role must be main or sub");
    if (!camera->enabled)
        return HttpResponse::error(409, "The camera is switched off");
    if (role == "sub" && !camera->hasSubStream)
        return HttpResponse::error(404, "The camera has no sub stream");
    return HttpResponse::json(QJsonObject{{"url", m_streamUrl(camera->id, role)}});
}

void OperatorApi::routeIncidents(Router &router)
{
    const QString respond = "respond_incidents";
    router.add("GET", "/client-api/incidents",
        [this](const Call &call) { return HttpResponse::json(m_incidents.matching(call.request.query)); });
    router.add("POST", "/client-api/incidents",
        needing(respond, [this](const Call &call) { return createIncident(call); }));
    router.add("POST", "/client-api/incidents/{id}/ack", needing(respond, [this](const Call &call) {
        return changedIncident(m_incidents.acknowledge(call.args.first()));
    }));
    router.add("POST", "/client-api/incidents/{id}/resolve",
        needing(respond, [this](const Call &call) { return resolveIncident(call); }));
}

HttpResponse OperatorApi::createIncident(const Call &call)
{
    const QJsonObject body = call.request.jsonObject().value_or(QJsonObject());
    if (body["title"].toString().trimmed().isEmpty())
        return HttpResponse::error(400, "An incident needs a title");
    QJsonObject members;
    for (const char *key : {"title", "description", "severity", "camera_id", "zone"}) {
        if (body.contains(QLatin1String(key)))
            members.insert(QLatin1String(key), body[QLatin1String(key)]);
    }
    return HttpResponse::json(m_incidents.raise(members, "manual"), 201);
}

HttpResponse OperatorApi::resolveIncident(const Call &call)
{
    const QJsonObject body = call.request.jsonObject().value_or(QJsonObject());
    return changedIncident(m_incidents.resolve(
        call.args.first(), body["resolution"].toString(), body["false_positive"].toBool()));
}

void OperatorApi::routePreferences(Router &router)
{
    router.add("GET", "/client-api/preferences", [this](const Call &call) {
        return HttpResponse::json(m_state.section("preferences").toObject()[call.account->id].toObject());
    });
    router.add("PUT", "/client-api/preferences", [this](const Call &call) { return savePreferences(call); });
}

HttpResponse OperatorApi::savePreferences(const Call &call)
{
    const std::optional<QJsonObject> document = call.request.jsonObject();
    if (!document)
        return HttpResponse::error(400, "Preferences are one JSON object");
    QJsonObject all = m_state.section("preferences").toObject();
    all.insert(call.account->id, *document);
    m_state.setSection("preferences", all);
    return HttpResponse::json(*document);
}

} // namespace demo
