#include "net/Json.h"

#include <QJsonDocument>
#include <QTimeZone>

#include <cmath>

namespace {

constexpr qint64 firstInstantMs = -62'135'596'800'000; // 0001-01-01T00:00:00Z
constexpr qint64 lastInstantMs = 253'402'300'799'999; // 9999-12-31T23:59:59.999Z

QDateTime fromMs(double ms)
{
    if (!(ms >= firstInstantMs && ms <= lastInstantMs)) {
        return {};
    }
    return QDateTime::fromMSecsSinceEpoch(std::llround(ms), Qt::UTC);
}

} // namespace

std::optional<QJsonObject> Json::object(const QByteArray &body)
{
    const QJsonDocument document = QJsonDocument::fromJson(body);
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

std::optional<QJsonArray> Json::array(const QByteArray &body)
{
    const QJsonDocument document = QJsonDocument::fromJson(body);
    return document.isArray() ? std::optional(document.array()) : std::nullopt;
}

qint64 Json::integer(const QJsonValue &value, qint64 fallback)
{
    if (!value.isString()) {
        return value.toInteger(fallback);
    }
    bool isNumber = false;
    const qint64 number = value.toString().toLongLong(&isNumber);
    return isNumber ? number : fallback;
}

QDateTime Json::instant(const QJsonValue &value)
{
    if (value.isDouble()) {
        return fromMs(value.toDouble());
    }
    const QDateTime time = QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
    if (!time.isValid() || time.timeSpec() == Qt::LocalTime) {
        return {};
    }
    return fromMs(static_cast<double>(time.toMSecsSinceEpoch()));
}

QString Json::instantText(const QDateTime &instant)
{
    return instant.toUTC().toString(Qt::ISODateWithMs);
}
