#include "archive/FormatUtils.h"

#include "archive/Instants.h"

#include <array>
#include <cmath>

namespace {

constexpr std::array units{"B", "KB", "MB", "GB", "TB", "PB"};
constexpr QChar emDash(0x2014);
constexpr QChar enDash(0x2013);

QString localTime(qint64 ms)
{
    return QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("HH:mm:ss"));
}

} // namespace

FormatUtils::FormatUtils(QObject *parent)
    : QObject(parent)
{
}

QString FormatUtils::bytes(const QVariant &value) const
{
    double scaled = value.toDouble();
    if (!value.isValid() || value.isNull() || !std::isfinite(scaled))
        return emDash;

    std::size_t unit = 0;
    for (; scaled >= 1024 && unit + 1 < units.size(); ++unit)
        scaled /= 1024;
    const int decimals = scaled < 10 && unit > 0 ? 1 : 0;
    return QString::number(scaled, 'f', decimals) + QLatin1Char(' ') + QLatin1String(units[unit]);
}

QString FormatUtils::rate(const QVariant &value) const
{
    const QString size = bytes(value);
    return size == emDash ? size : size + QLatin1String("/s");
}

QString FormatUtils::bitrate(const QVariant &rate) const
{
    const double bitsPerSecond = rate.toDouble();
    if (bitsPerSecond == 0 || !std::isfinite(bitsPerSecond))
        return QStringLiteral("0 Mbps");
    return QString::number(bitsPerSecond / 1'000'000, 'f', 1) + QLatin1String(" Mbps");
}

QString FormatUtils::exportRangeText(qint64 startMs, qint64 endMs) const
{
    if (startMs >= endMs)
        return {};
    startMs = Instants::bounded(startMs);
    endMs = Instants::bounded(endMs);
    const qint64 seconds = (endMs - startMs + 500) / 1000;
    return QStringLiteral("%1 %2 %3  (%4:%5)")
        .arg(localTime(startMs), QString(enDash), localTime(endMs))
        .arg(seconds / 60)
        .arg(seconds % 60, 2, 10, QLatin1Char('0'));
}
