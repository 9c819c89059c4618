#pragma once

#include <QObject>
#include <QVariant>

/**
 * Texts for sizes, rates and the export range, as the screens show them.
 *
 * One instance lives as long as the application and is known to QML as `formatUtils`. Numbers always carry a
 * decimal point, whatever the locale.
 */
class FormatUtils : public QObject
{
    Q_OBJECT

public:
    explicit FormatUtils(QObject *parent = nullptr);

    /// A size in bytes with the binary unit that suits it: "900 B", "1.5 KB", "15 KB"; "—" when there is
    /// none.
    Q_INVOKABLE QString bytes(const QVariant &value) const;
    /// A rate in bytes per second: bytes() followed by "/s"; "—" when there is none.
    Q_INVOKABLE QString rate(const QVariant &value) const;
    /// A rate in bits per second as "4.2 Mbps"; "0 Mbps" for nothing.
    Q_INVOKABLE QString bitrate(const QVariant &rate) const;
    /// The span [startMs, endMs) in local time with its length, "14:05:00 – 14:06:30  (1:30)"; empty unless
    /// startMs < endMs. Instants are milliseconds since the epoch, UTC.
    Q_INVOKABLE QString exportRangeText(qint64 startMs, qint64 endMs) const;
};
