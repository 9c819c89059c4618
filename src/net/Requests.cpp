#include "net/Requests.h"

#include "app/Logging.h"
#include "net/Json.h"

#include <QNetworkReply>
#include <QTimer>
#include <QUuid>

QNetworkRequest Requests::plain(const QUrl &url, Body body)
{
    QNetworkRequest request(url);
    request.setRawHeader("X-Request-ID", QUuid::createUuid().toByteArray(QUuid::WithoutBraces));
    request.setTransferTimeout(silenceLimitMs);
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
    QObject::connect(reply, &QNetworkReply::readyRead, reply, [reply] {
        if (reply->bytesAvailable() > answerLimit) {
            reply->abort();
        }
    });
    QObject::connect(reply, &QNetworkReply::finished, owner, [reply, handle] {
        reply->deleteLater();
        handle(*reply, reply->isOpen() ? reply->readAll() : QByteArray());
    });
}

void Requests::limitDuration(QNetworkReply *reply)
{
    QTimer::singleShot(silenceLimitMs, reply, &QNetworkReply::abort);
}

bool Requests::hasFailed(const QNetworkReply &reply)
{
    return reply.error() != QNetworkReply::NoError;
}

QString Requests::networkErrorText(const QNetworkReply &reply)
{
    if (reply.error() == QNetworkReply::OperationCanceledError) {
        return QStringLiteral("The server did not finish its answer");
    }
    return redactUrl(reply.errorString());
}

QString Requests::serverErrorText(const QNetworkReply &reply, const QByteArray &body)
{
    const auto answer = Json::object(body);
    const QString text = answer ? answer->value(u"error").toString() : QString();
    return text.isEmpty() ? networkErrorText(reply) : text;
}

QString Requests::httpErrorText(const QNetworkReply &reply)
{
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status <= 0) {
        return networkErrorText(reply);
    }
    return QStringLiteral("HTTP %1: %2").arg(QString::number(status), networkErrorText(reply));
}
