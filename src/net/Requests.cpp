#include "net/Requests.h"

#include "net/Json.h"

#include <QNetworkReply>
#include <QUuid>

QNetworkRequest Requests::plain(const QUrl &url, Body body)
{
    QNetworkRequest request(url);
    request.setRawHeader("X-Request-ID", QUuid::createUuid().toByteArray(QUuid::WithoutBraces));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::SameOriginRedirectPolicy);
    if (body == Body::Json) {
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    }
    return request;
}

QNetworkRequest Requests::authorized(const QUrl &url, const QString &accessToken, Body body)
{
    QNetworkRequest request = plain(url, body);
    request.setRawHeader("Authorization", "Bearer " + accessToken.toUtf8());
    return request;
}

QString Requests::encoded(const QString &text)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text));
}

void Requests::whenFinished(QNetworkReply *reply, QObject *owner,
    const std::function<void(QNetworkReply &reply, const QByteArray &body)> &handle)
{
    reply->setParent(owner);
    QObject::connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received, qint64) {
        if (received > answerLimit) {
            reply->abort();
        }
    });
    QObject::connect(reply, &QNetworkReply::finished, owner, [reply, handle] {
        reply->deleteLater();
        handle(*reply, reply->readAll());
    });
}

bool Requests::hasFailed(const QNetworkReply &reply)
{
    return reply.error() != QNetworkReply::NoError;
}

QString Requests::serverErrorText(const QNetworkReply &reply, const QByteArray &body)
{
    const auto answer = Json::object(body);
    const QString text = answer ? answer->value(u"error").toString() : QString();
    return text.isEmpty() ? reply.errorString() : text;
}

QString Requests::httpErrorText(const QNetworkReply &reply)
{
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status <= 0) {
        return reply.errorString();
    }
    return QStringLiteral("HTTP %1: %2").arg(QString::number(status), reply.errorString());
}
