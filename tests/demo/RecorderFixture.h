#pragma once

#include "Recorder.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QTemporaryDir>

/// A real recorder on free ports over a temporary data folder, and somebody who asks it things.
class RecorderFixture
{
public:
    struct Answer
    {
        int status = 0; ///< 0: no HTTP answer
        QJsonObject object;
        QJsonArray array;
        QByteArray body;
        QHash<QByteArray, QByteArray> headers;
    };
    using Headers = QList<std::pair<QByteArray, QByteArray>>;

    explicit RecorderFixture(int cameras = 9);
    ~RecorderFixture();

    void start();
    void stop();

    Answer ask(const QByteArray &method, const QString &path, const QByteArray &body = {},
        const Headers &headers = {});
    Answer ask(const QByteArray &method, const QString &path, const QJsonObject &body);
    Answer get(const QString &path) { return ask("GET", path); }
    Answer post(const QString &path, const QJsonObject &body = {}) { return ask("POST", path, body); }

    /// Makes the first account, "admin" with "secret-1", and signs in with it; later calls carry its token.
    void signIn();
    Answer login(const QString &login = "admin", const QString &password = "secret-1");
    /// Later calls carry the access token of that answer.
    void use(const Answer &signedIn) { m_token = signedIn.object["access_token"].toString().toLatin1(); }
    QByteArray token() const { return m_token; }
    void setToken(const QByteArray &token) { m_token = token; }

    QUrl url(const QString &path) const;
    QString folder() const { return m_folder.path(); }
    quint16 httpPort() const { return m_recorder->httpPort(); }
    /// The stream address of a camera as the recorder gives it.
    QString streamUrl(const QString &cameraId, const QString &role);
    /// A counter of a stream: "described", "played" or "playing".
    int streamCount(const QString &stream, const QString &counter);

private:
    const int m_cameras;
    QTemporaryDir m_folder;
    std::unique_ptr<demo::StateFile> m_state;
    std::unique_ptr<demo::Recorder> m_recorder;
    QNetworkAccessManager m_network;
    QByteArray m_token;
};
