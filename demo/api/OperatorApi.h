#pragma once

#include <QString>

#include <functional>

namespace demo {

class Cameras;
class Incidents;
class Router;
class StateFile;
struct Call;
struct HttpResponse;

/// What a signed-in operator asks for apart from recordings: cameras and their states, live stream addresses,
/// floor plans, incidents and preferences.
class OperatorApi
{
public:
    /// Gives the address of a camera's stream in the role "main" or "sub".
    using StreamUrl = std::function<QString(const QString &cameraId, const QString &role)>;

    OperatorApi(
        Cameras &cameras, Incidents &incidents, StateFile &state, StreamUrl streamUrl, Router &router);

private:
    void routeCameras(Router &router);
    void routeIncidents(Router &router);
    void routePreferences(Router &router);
    HttpResponse streamUrl(const Call &call) const;
    HttpResponse createIncident(const Call &call);
    HttpResponse resolveIncident(const Call &call);
    HttpResponse savePreferences(const Call &call);

    Cameras &m_cameras;
    Incidents &m_incidents;
    StateFile &m_state;
    StreamUrl m_streamUrl;
};

} // namespace demo
