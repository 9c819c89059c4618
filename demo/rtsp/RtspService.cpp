#include "rtsp/RtspService.h"

#include "rtsp/LiveStream.h"
#include "rtsp/RtspClients.h"
#include "state/Camera.h"

#include <gst/rtsp-server/rtsp-server.h>

#include <thread>

namespace demo {

namespace {

constexpr auto role = "viewer";
constexpr guint cleanUpSeconds = 5;

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
        , server(gst_rtsp_server_new())
        , mounts(gst_rtsp_server_get_mount_points(server))
        , clients(std::make_unique<RtspClients>(server))
    {
        gst_rtsp_server_set_address(server, "127.0.0.1");
        GstRTSPThreadPool *pool = gst_rtsp_server_get_thread_pool(server);
        gst_rtsp_thread_pool_set_max_threads(pool, -1);
        g_object_unref(pool);
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
    : d(std::make_unique<Private>(footage, std::move(user), std::move(password)))
{
}

RtspService::~RtspService()
{
    const QStringList cameraIds = d->streams.keys();
    for (const QString &id : cameraIds)
        removeCamera(id);
    cutAll();
    g_main_loop_quit(d->loop);
    if (d->thread.joinable())
        d->thread.join();
    d->clients.reset();
    g_object_unref(d->mounts);
    g_object_unref(d->server);
    g_main_loop_unref(d->loop);
    g_main_context_unref(d->context);
}

bool RtspService::start(quint16 port)
{
    gst_rtsp_server_set_service(d->server, QByteArray::number(port).constData());
    if (gst_rtsp_server_attach(d->server, d->context) == 0)
        return false;
    GSource *cleaner = g_timeout_source_new_seconds(cleanUpSeconds);
    g_source_set_callback(cleaner, cleanUpSessions, d->server, nullptr);
    g_source_attach(cleaner, d->context);
    g_source_unref(cleaner);
    d->thread = std::thread([this] {
        g_main_context_push_thread_default(d->context);
        g_main_loop_run(d->loop);
        g_main_context_pop_thread_default(d->context);
    });
    return true;
}

quint16 RtspService::port() const
{
    return quint16(gst_rtsp_server_get_bound_port(d->server));
}

void RtspService::setCamera(const Camera &camera)
{
    const Footage::Look look{camera.number, camera.name};
    QHash<QString, std::shared_ptr<LiveStream>> &streams = d->streams[camera.id];
    const auto serve = [&](const QString &streamRole, const VideoFormat &format) {
        const QString path = u'/' + camera.id + u'/' + streamRole;
        streams[path] = std::make_shared<LiveStream>(d->footage, look, format);
        d->mount(path, *streams[path]);
    };
    serve("main", VideoFormat::main());
    if (camera.hasSubStream)
        serve("sub", VideoFormat::sub());
}

void RtspService::removeCamera(const QString &cameraId)
{
    const QHash<QString, std::shared_ptr<LiveStream>> streams = d->streams.take(cameraId);
    for (auto it = streams.cbegin(); it != streams.cend(); ++it)
        d->unmount(it.key());
    d->clients->cut(u'/' + cameraId + u'/');
}

void RtspService::setFault(const QString &cameraId, CameraFault fault)
{
    const QHash<QString, std::shared_ptr<LiveStream>> streams = d->streams.value(cameraId);
    for (auto it = streams.cbegin(); it != streams.cend(); ++it) {
        it.value()->setHung(fault == CameraFault::Hang);
        if (fault == CameraFault::Offline)
            d->unmount(it.key());
        else
            d->mount(it.key(), *it.value());
    }
    if (fault == CameraFault::Offline)
        d->clients->cut(u'/' + cameraId + u'/');
}

void RtspService::cutAll()
{
    d->clients->cut("/");
}

QString RtspService::url(const QString &cameraId, const QString &streamRole) const
{
    return QString("rtsp://%1:%2@127.0.0.1:%3/%4/%5")
        .arg(QString::fromLatin1(d->user), QString::fromLatin1(d->password))
        .arg(port())
        .arg(cameraId, streamRole);
}

QJsonObject RtspService::statistics() const
{
    return d->clients->statistics();
}

} // namespace demo
