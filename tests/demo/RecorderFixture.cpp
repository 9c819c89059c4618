#include "RecorderFixture.h"

#include <QEventLoop>
#include <QJsonDocument>
#include <QNetworkReply>

RecorderFixture::RecorderFixture(int cameras)
    : m_cameras(cameras)
{
    start();
}

RecorderFixture::~RecorderFixture()
{
    stop();
}

void RecorderFixture::start()
{
    QString error;
    m_state = std::make_unique<demo::StateFile>(m_folder.path());
    if (!m_state->load(&error))
        qFatal("%s", qUtf8Printable(error));
    demo::Recorder::Options options;
    options.httpPort = options.rtspPort = 0;
    options.cacheFolder = FOOTAGE_CACHE;
    options.cameras = m_cameras;
    m_recorder = std::make_unique<demo::Recorder>(*m_state, options);
    if (!m_recorder->start(&error))
        qFatal("%s", qUtf8Printable(error));
}

void RecorderFixture::stop()
{
    m_recorder.reset();
    m_state.reset();
}

QUrl RecorderFixture::url(const QString &path) const
{
    return QUrl(QString("http://127.0.0.1:%1%2").arg(m_recorder->httpPort()).arg(path));
}

RecorderFixture::Answer RecorderFixture::ask(
    const QByteArray &method, const QString &path, const QJsonObject &body)
{
    return ask(method, path, body.isEmpty() ? QByteArray() : QJsonDocument(body).toJson());
}

RecorderFixture::Answer RecorderFixture::ask(
    const QByteArray &method, const QString &path, const QByteArray &body, const Headers &headers)
{
    QNetworkRequest request(url(path));
    request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    if (!m_token.isEmpty())
        request.setRawHeader("Authorization", "Bearer " + m_token);
    for (const auto &[name, value] : headers)
        request.setRawHeader(name, value);
    QNetworkReply *reply
        = method == "HEAD" ? m_network.head(request) : m_network.sendCustomRequest(request, method, body);
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();

    Answer answer;
    answer.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    answer.body = reply->readAll();
    for (const auto &[name, value] : reply->rawHeaderPairs())
        answer.headers.insert(name.toLower(), value);
    const QJsonDocument document = QJsonDocument::fromJson(answer.body);
    answer.object = document.object();
    answer.array = document.array();
    reply->deleteLater();
    return answer;
}

void RecorderFixture::signIn()
{
    use(post("/client-api/auth/setup", {{"login", "admin"}, {"password", "secret-1"}}));
}

RecorderFixture::Answer RecorderFixture::login(const QString &login, const QString &password)
{
    return post("/client-api/auth/login", {{"login", login}, {"password", password}});
}

QString RecorderFixture::streamUrl(const QString &cameraId, const QString &role)
{
    return get(QString("/client-api/cameras/%1/stream-url?role=%2").arg(cameraId, role))
        .object["url"]
        .toString();
}

int RecorderFixture::streamCount(const QString &stream, const QString &counter)
{
    return get("/demo/rtsp").object[stream].toObject()[counter].toInt();
}
