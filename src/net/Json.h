#pragma once

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <optional>

/**
 * Reading and writing the loose values of the server's JSON. Nothing here fails loudly: what is not there, or
 * is not of the wanted type, reads as empty.
 */
namespace Json {

/// The body as an object or as an array; nothing when it is not one.
std::optional<QJsonObject> object(const QByteArray &body);
std::optional<QJsonArray> array(const QByteArray &body);

/// A whole number, exact over all 64 bits; also taken from a string of digits. `fallback` for anything else.
qint64 integer(const QJsonValue &value, qint64 fallback = 0);

/// An instant: ISO 8601 with an offset, or a number of milliseconds since the epoch, between the years 1 and
/// 9999. UTC; invalid for anything else.
QDateTime instant(const QJsonValue &value);

/// The instant as it is sent: ISO 8601 in UTC with milliseconds and "Z". Empty for an invalid one.
QString instantText(const QDateTime &instant);

} // namespace Json
