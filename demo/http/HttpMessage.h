#pragma once

#include <QByteArray>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QStringList>
#include <QUrlQuery>

#include <memory>
#include <optional>

namespace demo {

/// One parsed request. Header names are lower case; path segments are split first and percent-decoded then,
/// so that an encoded slash stays inside its segment.
struct HttpRequest
{
    QByteArray method;
    QString path;
    QStringList segments;
    QUrlQuery query;
    QHash<QByteArray, QByteArray> headers;
    QByteArray body;

    /// The decoded value of a query item, empty when absent.
    QString queryValue(const QString &name) const;
    /// The value of one cookie, empty when absent.
    QByteArray cookie(const QByteArray &name) const;
    /// The token of "Authorization: Bearer ...", empty when absent.
    QByteArray bearerToken() const;
    /// The body as a JSON object; nothing when it is not one.
    std::optional<QJsonObject> jsonObject() const;

    /// Parses request line and header lines (without the empty line); nothing when they are malformed.
    static std::optional<HttpRequest> parseHead(const QByteArray &head);
};

/// A body that is made while it is sent.
class HttpBody
{
public:
    virtual ~HttpBody() = default;
    /// Length in bytes, or -1 when unknown (the answer is then sent in chunks).
    virtual qint64 size() const = 0;
    /// The next piece, of any length; an empty one ends the body.
    virtual QByteArray read() = 0;
};

struct HttpResponse
{
    int status = 200;
    QList<std::pair<QByteArray, QByteArray>> headers;
    QByteArray body;
    std::shared_ptr<HttpBody> stream;
    /// Wait before answering, in milliseconds.
    int delayMs = 0;
    /// When not negative, the connection is cut after so many bytes of the body.
    qint64 cutAfterBytes = -1;

    void setHeader(const QByteArray &name, const QByteArray &value) { headers.append({name, value}); }
    /// Status line and header lines with the closing empty line.
    QByteArray head() const;

    static HttpResponse json(const QJsonObject &object, int status = 200);
    static HttpResponse json(const QJsonArray &array, int status = 200);
    /// The contract's error answer {"error": text}.
    static HttpResponse error(int status, const QString &text);
    static HttpResponse noContent();
};

} // namespace demo
