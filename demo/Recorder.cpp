#include "Recorder.h"

#include "state/Random.h"

#include <QDateTime>

namespace demo {

namespace {

constexpr int defaultCameras = 16;

/// The password of the RTSP streams, made once per data folder.
QByteArray streamPassword(StateFile &state)
{
    QString password = state.section("stream_password").toString();
    if (password.isEmpty()) {
        password = QString::fromLatin1(randomToken().left(20));
        state.setSection("stream_password", password);
    }
    return password.toLatin1();
}

} // namespace

Recorder::Recorder(StateFile &state, const Options &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
    , m_accounts(state)
    , m_sessions(state)
    , m_cameras(state)
    , m_incidents(state)
    , m_footage(options.cacheFolder)
    , m_rtsp(m_footage, "viewer", streamPassword(state))
    , m_recordings(m_cameras, QDateTime::currentSecsSinceEpoch)
    , m_events(m_sessions)
    , m_authApi(m_accounts, m_sessions, m_router)
    , m_operatorApi(
          m_cameras, m_incidents, state,
          [this](const QString &cameraId, const QString &role) { return m_rtsp.url(cameraId, role); },
          m_router)
    , m_archiveApi(m_cameras, m_recordings, m_footage, m_router)
    , m_demoApi({m_accounts, m_sessions, m_cameras, m_incidents, m_events, m_faults, m_rtsp}, m_router)
{
    m_router.setGuard([this](const QByteArray &token) {
        return m_accounts.byId(m_sessions.accountOf(m_sessions.sessionOf(token)));
    });
    m_http.setHandler([this](const HttpRequest &request) {
        if (request.path.startsWith("/demo/"))
            return m_router.handle(request);
        return m_faults.apply(request, [&] { return m_router.handle(request); });
    });
    m_http.setUpgradeHandler(
        [this](const HttpRequest &request, QTcpSocket *socket) { return m_events.upgrade(request, socket); });
    prepareCameras();
    wireEvents();
}

void Recorder::prepareCameras()
{
    if (m_options.cameras > 0)
        m_cameras.setCount(m_options.cameras);
    else if (m_cameras.all().isEmpty())
        m_cameras.setCount(defaultCameras);
    for (const Camera &camera : m_cameras.all())
        m_rtsp.setCamera(camera);
}

void Recorder::wireEvents()
{
    connect(&m_authApi, &AuthApi::sessionEnded, &m_events, &EventChannel::closeSession);
    connect(&m_cameras, &Cameras::added, this, [this](const QString &id) {
        m_rtsp.setCamera(*m_cameras.byId(id));
        m_events.broadcast("camera_added", m_cameras.byId(id)->toJson());
    });
    connect(&m_cameras, &Cameras::updated, this, [this](const QString &id) {
        m_rtsp.setCamera(*m_cameras.byId(id));
        m_events.broadcast("camera_updated", m_cameras.byId(id)->toJson());
    });
    connect(&m_cameras, &Cameras::removed, this, [this](const QString &id) {
        m_rtsp.removeCamera(id);
        m_events.broadcast("camera_deleted", {{"camera_id", id}});
    });
    connect(&m_cameras, &Cameras::stateChanged, this,
        [this](const QString &id) { m_events.broadcast("camera_status", m_cameras.byId(id)->statusJson()); });
    connect(&m_incidents, &Incidents::raised, this,
        [this](const QJsonObject &incident) { m_events.broadcast("incident", incident); });
    connect(&m_incidents, &Incidents::updated, this,
        [this](const QJsonObject &incident) { m_events.broadcast("incident_updated", incident); });
}

bool Recorder::start(QString *error)
{
    if (!m_http.listen(m_options.httpPort)) {
        *error = tr("HTTP port %1: %2").arg(m_options.httpPort).arg(m_http.errorString());
        return false;
    }
    if (!m_rtsp.start(m_options.rtspPort, error))
        return false;
    m_footage.warmUp();
    return true;
}

} // namespace demo
