#pragma once

#include <QJsonObject>
#include <QString>

#include <memory>

namespace demo {

class Footage;
struct Camera;

enum class CameraFault {
    None,
    Offline, ///< the address answers 404 and its viewers are dropped
    Hang, ///< no more pictures come, connections stay open
};

/**
 * The cameras' live streams over RTSP, on loopback and for those who know user name and password.
 *
 * The server runs on threads of its own; the calls here are made from the main thread.
 */
class RtspService
{
public:
    RtspService(Footage &footage, QByteArray user, QByteArray password);
    ~RtspService();
    Q_DISABLE_COPY_MOVE(RtspService)

    /// Listens on 127.0.0.1; port 0 picks a free one. False with a message when it cannot be had.
    bool start(quint16 port, QString *error);
    quint16 port() const;

    /// Serves a camera, or serves it under its new name: those who watch it already keep the old one.
    void setCamera(const Camera &camera);
    void removeCamera(const QString &cameraId);
    void setFault(const QString &cameraId, CameraFault fault);
    /// Cuts the connection of every viewer.
    void cutAll();

    /// The stream address, user name and password included.
    QString url(const QString &cameraId, const QString &role) const;
    /// Per "camera/role": "described" and "played" count requests so far, "playing" the viewers now.
    QJsonObject statistics() const;

private:
    class Private;
    std::unique_ptr<Private> m_private;
};

} // namespace demo
