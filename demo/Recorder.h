#pragma once

#include "api/ArchiveApi.h"
#include "api/AuthApi.h"
#include "api/DemoApi.h"
#include "api/EventChannel.h"
#include "api/Faults.h"
#include "api/OperatorApi.h"
#include "archive/Recordings.h"
#include "footage/Footage.h"
#include "http/HttpServer.h"
#include "http/Router.h"
#include "rtsp/RtspService.h"
#include "state/Accounts.h"
#include "state/Cameras.h"
#include "state/Incidents.h"
#include "state/Sessions.h"
#include "state/StateFile.h"

namespace demo {

/// The whole recorder: its state, its two servers and what they answer.
class Recorder : public QObject
{
    Q_OBJECT

public:
    struct Options
    {
        quint16 httpPort = 8090;
        quint16 rtspPort = 8554;
        QString dataFolder;
        QString cacheFolder;
        /// 0 keeps those of the data folder, or starts with sixteen.
        int cameras = 0;
    };

    /// Builds a recorder over a state file that has been loaded.
    Recorder(StateFile &state, const Options &options, QObject *parent = nullptr);

    /// Starts both servers; false with a message when a port cannot be had.
    bool start(QString *error);
    quint16 httpPort() const { return m_http.port(); }
    quint16 rtspPort() const { return m_rtsp.port(); }

private:
    void prepareCameras();
    void wireEvents();

    const Options m_options;
    Accounts m_accounts;
    Sessions m_sessions;
    Cameras m_cameras;
    Incidents m_incidents;
    Footage m_footage;
    RtspService m_rtsp;
    Recordings m_recordings;
    EventChannel m_events;
    Faults m_faults;
    Router m_router;
    AuthApi m_authApi;
    OperatorApi m_operatorApi;
    ArchiveApi m_archiveApi;
    DemoApi m_demoApi;
    HttpServer m_http;
};

} // namespace demo
