#pragma once

#include <QObject>

namespace demo {

class Accounts;
class Cameras;
class EventChannel;
class Faults;
class Incidents;
class Router;
class RtspService;
class Sessions;
struct Call;
struct HttpResponse;

/**
 * The switches for faults and the counters under "/demo": what a test, or a person trying the client out,
 * makes happen to the recorder while it runs. They need no sign-in.
 */
class DemoApi : public QObject
{
    Q_OBJECT

public:
    struct Parts
    {
        Accounts &accounts;
        Sessions &sessions;
        Cameras &cameras;
        Incidents &incidents;
        EventChannel &events;
        Faults &faults;
        RtspService &rtsp;
    };

    DemoApi(const Parts &parts, Router &router, QObject *parent = nullptr);

private:
    void routeCameras(Router &router);
    void routeFaults(Router &router);
    void routeEvents(Router &router);
    void routeSessions(Router &router);
    HttpResponse addCamera(const Call &call);
    HttpResponse changeCamera(const Call &call);
    HttpResponse failCamera(const Call &call);
    HttpResponse addFault(const Call &call);
    HttpResponse addUser(const Call &call);
    HttpResponse expireSessions(const Call &call);

    Parts m_parts;
};

} // namespace demo
