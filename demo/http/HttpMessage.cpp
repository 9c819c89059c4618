#include "http/HttpMessage.h"

#include <QJsonDocument>
#include <QUrl>

namespace demo {

namespace {

QByteArray reasonPhrase(int status)
{
    static const QHash<int, QByteArray> phrases{{200, "OK"}, {201, "Created"}, {204, "No Content"},
        {206, "Partial Content"}, {400, "Bad Request"}, {401, "Unauthorized"}, {403, "Forbidden"},
        {404, "Not Found"}, {405, "Method Not Allowed"}, {409, "Conflict"}, {411, "Length Required"},
        {413, "Payload Too Large"}, {416, "Range Not Satisfiable"}, {429, "Too Many Requests"},
        {431, "Request Header Fields Too Large"}, {500, "Internal Server Error"},
        {503, "Service Unavailable"}};
    return phrases.value(status, "Answer");
}

HttpResponse jsonText(const QJsonDocument &document, int status)
{
    HttpResponse response;
    response.status = status;
    response.setHeader("Content-Type", "application/json");
    response.body = document.toJson(QJsonDocument::Compact);
    return response;
}

} // namespace

QString HttpRequest::queryValue(const QString &name) const
{
    return query.queryItemValue(name, QUrl::FullyDecoded);
}

QByteArray HttpRequest::cookie(const QByteArray &name) const
{
    const QList<QByteArray> pairs = headers.value("cookie").split(';');
    for (const QByteArray &pair : pairs) {
        const QByteArray trimmed = pair.trimmed();
        if (trimmed.startsWith(name + '='))
            return trimmed.mid(name.size() + 1);
    }
    return {};
}

QByteArray HttpRequest::bearerToken() const
{
    const QByteArray value = headers.value("authorization");
    return value.startsWith("Bearer ") ? value.mid(7).trimmed() : QByteArray();
}

std::optional<QJsonObject> HttpRequest::jsonObject() const
{
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (!document.isObject())
        return std::nullopt;
    return document.object();
}

std::optional<HttpRequest> HttpRequest::parseHead(const QByteArray &head)
{
    const QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> words = lines.first().trimmed().split(' ');
    if (words.size() != 3 || !words[1].startsWith('/') || !words[2].startsWith("HTTP/1."))
        return std::nullopt;

    HttpRequest request;
    request.method = words[0];
    const QUrl url = QUrl::fromEncoded("http://host" + words[1]);
    request.query = QUrlQuery(url.query(QUrl::FullyEncoded));
    request.path = url.path(QUrl::FullyEncoded);
    const QStringList encoded = request.path.split(u'/', Qt::SkipEmptyParts);
    for (const QString &segment : encoded)
        request.segments.append(QUrl::fromPercentEncoding(segment.toLatin1()));

    for (qsizetype i = 1; i < lines.size(); ++i) {
        const qsizetype colon = lines[i].indexOf(':');
        if (colon <= 0)
            return std::nullopt;
        request.headers.insert(lines[i].left(colon).trimmed().toLower(), lines[i].mid(colon + 1).trimmed());
    }
    return request;
}

QByteArray HttpResponse::head() const
{
    QByteArray text = "HTTP/1.1 " + QByteArray::number(status) + ' ' + reasonPhrase(status) + "\r\n";
    for (const auto &[name, value] : headers)
        text += name + ": " + value + "\r\n";
    return text + "\r\n";
}

HttpResponse HttpResponse::json(const QJsonObject &object, int status)
{
    return jsonText(QJsonDocument(object), status);
}

HttpResponse HttpResponse::json(const QJsonArray &array, int status)
{
    return jsonText(QJsonDocument(array), status);
}

HttpResponse HttpResponse::error(int status, const QString &text)
{
    return json(QJsonObject{{"error", text}}, status);
}

HttpResponse HttpResponse::noContent()
{
    HttpResponse response;
    response.status = 204;
    return response;
}

} // namespace demo
