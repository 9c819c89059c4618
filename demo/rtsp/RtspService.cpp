#include "rtsp/RtspService.h"

#include "rtsp/LiveStream.h"
#include "rtsp/RtspClients.h"
#include "state/Camera.h"

#include <thread>

namespace demo {

namespace {

constexpr auto role = "viewer";
constexpr guint cleanUpSeconds = 5;

GstRTSPServer *makeServer()
{
    gst_init(nullptr, nullptr);
    GstRTSPServer *server = gst_rtsp_server_new();
    gst_rtsp_server_set_address(server, "127.0.0.1");
    GstRTSPThreadPool *pool = gst_rtsp_server_get_thread_pool(server);
    gst_rtsp_thread_pool_set_max_threads(pool, -1);
    g_object_unref(pool);
    return server;
}

/// The name of the first GStreamer element that streams need and this machine lacks; null when all are there.
const char *missingElement()
{
    for (const char *name : {"appsrc", "rtph264pay", "rtpbin"}) {
        GstElementFactory *factory = gst_element_factory_find(name);
        if (!factory)
            return name;
        gst_object_unref(factory);
    }
    return nullptr;
}

GstRTSPAuth *makeAuth(const QByteArray &user, const QByteArray &password)
{
    GstRTSPAuth *auth = gst_rtsp_auth_new();
    gst_rtsp_auth_set_supported_methods(auth, GST_RTSP_AUTH_DIGEST);
    GstRTSPToken *token = gst_rtsp_token_new(GST_RTSP_TOKEN_MEDIA_FACTORY_ROLE, G_TYPE_STRING, role, nullptr);
    gst_rtsp_auth_add_digest(auth, user.constData(), password.constData(), token);
    gst_rtsp_token_unref(token);
    return auth;
}

gboolean cleanUpSessions(gpointer server)
{
    GstRTSPSessionPool *pool = gst_rtsp_server_get_session_pool(GST_RTSP_SERVER(server));
    gst_rtsp_session_pool_cleanup(pool);
    g_object_unref(pool);
    return G_SOURCE_CONTINUE;
}

gboolean quitLoop(gpointer loop)
{
    g_main_loop_quit(static_cast<GMainLoop *>(loop));
    return G_SOURCE_REMOVE;
}

/// Ends a loop from its own thread: called before that thread has come to run it, g_main_loop_quit() is lost.
void quitFromWithin(GMainLoop *loop)
{
    GSource *quitter = g_idle_source_new();
    g_source_set_callback(quitter, quitLoop, loop, nullptr);
    g_source_attach(quitter, g_main_loop_get_context(loop));
    g_source_unref(quitter);
}

} // namespace

class RtspService::Private
{
public:
    Private(Footage &footageMaker, QByteArray userName, QByteArray userPassword)
        : footage(footageMaker)
        , user(std::move(userName))
        , password(std::move(userPassword))
        , context(g_main_context_new())
        , loop(g_main_loop_new(context, FALSE))
        , server(makeServer())
        , mounts(gst_rtsp_server_get_mount_points(server))
        , clients(std::make_unique<RtspClients>(server))
    {
        GstRTSPAuth *auth = makeAuth(user, password);
        gst_rtsp_server_set_auth(server, auth);
        g_object_unref(auth);
    }

    void mount(const QString &path, LiveStream &stream)
    {
        GstRTSPMediaFactory *factory = stream.makeFactory();
        gst_rtsp_media_factory_add_role(factory, role, GST_RTSP_PERM_MEDIA_FACTORY_ACCESS, G_TYPE_BOOLEAN,
            TRUE, GST_RTSP_PERM_MEDIA_FACTORY_CONSTRUCT, G_TYPE_BOOLEAN, TRUE, nullptr);
        gst_rtsp_mount_points_add_factory(mounts, path.toUtf8().constData(), factory);
    }

    void unmount(const QString &path)
    {
        gst_rtsp_mount_points_remove_factory(mounts, path.toUtf8().constData());
    }

    Footage &footage;
    const QByteArray user;
    const QByteArray password;
    GMainContext *context;
    GMainLoop *loop;
    GstRTSPServer *server;
    GstRTSPMountPoints *mounts;
    std::unique_ptr<RtspClients> clients;
    std::thread thread;
    /// By camera, then by mount path.
    QHash<QString, QHash<QString, std::shared_ptr<LiveStream>>> streams;
};

RtspService::RtspService(Footage &footage, QByteArray user, QByteArray password)
    : m_private(std::make_unique<Private>(footage, std::move(user), std::move(password)))
{
}

RtspService::~RtspService()
{
    const QStringList cameraIds = m_private->streams.keys();
    for (const QString &id : cameraIds)
        removeCamera(id);
    cutAll();
    if (m_private->thread.joinable()) {
        quitFromWithin(m_private->loop);
        m_private->thread.join();
    }
    m_private->clients.reset();
    g_object_unref(m_private->mounts);
    g_object_unref(m_private->server);
    g_main_loop_unref(m_private->loop);
    g_main_context_unref(m_private->context);
}

bool RtspService::start(quint16 port, QString *error)
{
    if (const char *element = missingElement()) {
        *error = QString("The GStreamer element %1 is not installed").arg(element);
        return false;
    }
    gst_rtsp_server_set_service(m_private->server, QByteArray::number(port).constData());
    if (gst_rtsp_server_attach(m_private->server, m_private->context) == 0) {
        *error = QString("RTSP port %1 cannot be had").arg(port);
        return false;
    }
    GSource *cleaner = g_timeout_source_new_seconds(cleanUpSeconds);
    g_source_set_callback(cleaner, cleanUpSessions, m_private->server, nullptr);
    g_source_attach(cleaner, m_private->context);
    g_source_unref(cleaner);
    m_private->thread = std::thread([this] {
        g_main_context_push_thread_default(m_private->context);
        g_main_loop_run(m_private->loop);
        g_main_context_pop_thread_default(m_private->context);
    });
    return true;
}

quint16 RtspService::port() const
{
    return quint16(gst_rtsp_server_get_bound_port(m_private->server));
}

void RtspService::setCamera(const Camera &camera)
{
    const Footage::Look look{camera.number, camera.name};
    QHash<QString, std::shared_ptr<LiveStream>> &streams = m_private->streams[camera.id];
    const auto serve = [&](const QString &streamRole, const VideoFormat &format) {
        const QString path = u'/' + camera.id + u'/' + streamRole;
        streams[path] = std::make_shared<LiveStream>(m_private->footage, look, format);
        m_private->mount(path, *streams[path]);
    };
    serve("main", VideoFormat::main());
    if (camera.hasSubStream)
        serve("sub", VideoFormat::sub());
}

void RtspService::removeCamera(const QString &cameraId)
{
    const QHash<QString, std::shared_ptr<LiveStream>> streams = m_private->streams.take(cameraId);
    for (auto it = streams.cbegin(); it != streams.cend(); ++it)
        m_private->unmount(it.key());
    m_private->clients->cut(u'/' + cameraId + u'/');
}

void RtspService::setFault(const QString &cameraId, CameraFault fault)
{
    const QHash<QString, std::shared_ptr<LiveStream>> streams = m_private->streams.value(cameraId);
    for (auto it = streams.cbegin(); it != streams.cend(); ++it) {
        it.value()->setHung(fault == CameraFault::Hang);
        if (fault == CameraFault::Offline)
            m_private->unmount(it.key());
        else
            m_private->mount(it.key(), *it.value());
    }
    if (fault == CameraFault::Offline)
        m_private->clients->cut(u'/' + cameraId + u'/');
}

void RtspService::cutAll()
{
    m_private->clients->cut("/");
}

QString RtspService::url(const QString &cameraId, const QString &streamRole) const
{
    return QString("rtsp://%1:%2@127.0.0.1:%3/%4/%5")
        .arg(QString::fromLatin1(m_private->user), QString::fromLatin1(m_private->password))
        .arg(port())
        .arg(cameraId, streamRole);
}

QJsonObject RtspService::statistics() const
{
    return m_private->clients->statistics();
}

} // namespace demo
