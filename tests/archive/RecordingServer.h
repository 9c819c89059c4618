#pragma once

#include "support/ScriptedServer.h"

#include <QDateTime>

struct Footage
{
    qint64 id;
    qint64 start;
    qint64 end;
};
using Recording = QList<Footage>;

/// Tells which segments there are of a recording; times count in ms from `base`.
class RecordingServer : public ScriptedServer
{
public:
    static constexpr qint64 base = 1'700'000'000'000;

    static QByteArray toJson(const Recording &recording)
    {
        QByteArrayList elements;
        for (const Footage &each : recording) {
            const QString text = R"({"id":%1,"node_id":"n1","start_time":%2,"end_time":%3,"file_size":1})";
            elements.append(text.arg(each.id).arg(base + each.start).arg(base + each.end).toUtf8());
        }
        return '[' + elements.join(',') + ']';
    }

    Answer segments(const Request &request) const
    {
        const qint64 from
            = QDateTime::fromString(request.item("from"), Qt::ISODateWithMs).toMSecsSinceEpoch();
        Recording found;
        for (const Footage &each : recording) {
            if (base + each.end > from && found.size() < request.item("limit").toInt())
                found.append(each);
        }
        return {.body = toJson(found)};
    }

    Recording recording;
};
