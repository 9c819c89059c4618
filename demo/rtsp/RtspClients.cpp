#include "rtsp/RtspClients.h"

#include <algorithm>

namespace demo {

namespace {

/// The mount path of a request: "/camera/role".
QString pathOf(const GstRTSPContext *context)
{
    QString path = QString::fromUtf8(context->uri ? context->uri->abspath : "");
    while (path.endsWith(u'/'))
        path.chop(1);
    return path;
}

bool startsWithAny(const std::set<QString> &paths, const QString &prefix)
{
    return std::any_of(
        paths.begin(), paths.end(), [&prefix](const QString &path) { return path.startsWith(prefix); });
}

} // namespace

RtspClients::RtspClients(GstRTSPServer *server)
    : m_server(server)
{
    const auto connected = +[](GstRTSPServer *, GstRTSPClient *client, gpointer self) {
        static_cast<RtspClients *>(self)->add(client);
    };
    m_connectedSignal = g_signal_connect(server, "client-connected", G_CALLBACK(connected), this);
}

RtspClients::~RtspClients()
{
    g_signal_handler_disconnect(m_server, m_connectedSignal);
    const std::lock_guard lock(m_mutex);
    for (auto it = m_clients.begin(); it != m_clients.end(); ++it) {
        g_signal_handlers_disconnect_by_data(it.key(), this);
        g_object_unref(it->socket);
    }
}

void RtspClients::add(GstRTSPClient *client)
{
    using Notice = void (*)(GstRTSPClient *, GstRTSPContext *, gpointer);
    const Notice described = [](GstRTSPClient *who, GstRTSPContext *context, gpointer self) {
        static_cast<RtspClients *>(self)->describe(who, pathOf(context));
    };
    const Notice played = [](GstRTSPClient *who, GstRTSPContext *context, gpointer self) {
        static_cast<RtspClients *>(self)->play(who, pathOf(context));
    };
    const Notice tornDown = [](GstRTSPClient *who, GstRTSPContext *context, gpointer self) {
        static_cast<RtspClients *>(self)->tearDown(who, pathOf(context));
    };
    const auto closed
        = +[](GstRTSPClient *who, gpointer self) { static_cast<RtspClients *>(self)->remove(who); };

    const std::lock_guard lock(m_mutex);
    GSocket *socket = gst_rtsp_connection_get_read_socket(gst_rtsp_client_get_connection(client));
    m_clients[client].socket = G_SOCKET(g_object_ref(socket));
    g_signal_connect(client, "describe-request", G_CALLBACK(described), this);
    g_signal_connect(client, "play-request", G_CALLBACK(played), this);
    g_signal_connect(client, "teardown-request", G_CALLBACK(tornDown), this);
    g_signal_connect(client, "closed", G_CALLBACK(closed), this);
}

void RtspClients::remove(GstRTSPClient *client)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_clients.find(client);
    if (found == m_clients.end())
        return;
    g_object_unref(found->socket);
    m_clients.erase(found);
}

void RtspClients::describe(GstRTSPClient *client, const QString &path)
{
    const std::lock_guard lock(m_mutex);
    ++m_counts[path].described;
    m_clients[client].described.insert(path);
}

void RtspClients::play(GstRTSPClient *client, const QString &path)
{
    const std::lock_guard lock(m_mutex);
    ++m_counts[path].played;
    m_clients[client].playing.insert(path);
}

void RtspClients::tearDown(GstRTSPClient *client, const QString &path)
{
    const std::lock_guard lock(m_mutex);
    m_clients[client].playing.erase(path);
    m_clients[client].described.erase(path);
}

// The socket is shut down rather than the client closed: the client's own thread then ends it.
void RtspClients::cut(const QString &pathPrefix)
{
    const std::lock_guard lock(m_mutex);
    for (const Client &client : std::as_const(m_clients)) {
        if (pathPrefix == "/" || startsWithAny(client.described, pathPrefix))
            g_socket_shutdown(client.socket, TRUE, TRUE, nullptr);
    }
}

QJsonObject RtspClients::statistics() const
{
    const std::lock_guard lock(m_mutex);
    QJsonObject all;
    for (auto it = m_counts.cbegin(); it != m_counts.cend(); ++it) {
        const auto playing = std::count_if(m_clients.cbegin(), m_clients.cend(),
            [&it](const Client &client) { return client.playing.count(it.key()) > 0; });
        all.insert(it.key().mid(1),
            QJsonObject{{"described", it->described}, {"played", it->played}, {"playing", qint64(playing)}});
    }
    return all;
}

} // namespace demo
