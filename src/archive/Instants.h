#pragma once

#include <QDateTime>
#include <QtGlobal>

#include <algorithm>

/**
 * Instants as 64-bit milliseconds since the epoch, UTC, kept within a range in which sums and differences of
 * a few of them cannot overflow. What a server sends passes through here before it is reckoned with.
 */
namespace Instants {

/// About the year 30000 on either side; far outside any recording, far inside the 64 bits.
inline constexpr qint64 limitMs = 900'000'000'000'000;

constexpr qint64 bounded(qint64 ms)
{
    return std::clamp(ms, -limitMs, limitMs);
}

inline qint64 fromDateTime(const QDateTime &time)
{
    return time.isValid() ? bounded(time.toMSecsSinceEpoch()) : 0;
}

inline QDateTime toDateTime(qint64 ms)
{
    return QDateTime::fromMSecsSinceEpoch(bounded(ms), Qt::UTC);
}

/// The instant for log lines: ISO 8601 in UTC, whole seconds.
inline QString logText(qint64 ms)
{
    return toDateTime(ms).toString(Qt::ISODate);
}

} // namespace Instants
