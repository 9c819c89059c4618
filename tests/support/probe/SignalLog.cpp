#include "SignalLog.h"

#include "ItemQuery.h"
#include "ThreadClock.h"

#include <QtCore/QMetaMethod>
#include <QtQuick/QQuickItem>

namespace {

constexpr int lookIntervalMs = 10;

QMetaMethod signalNamed(const QObject *object, const QByteArray &name)
{
    const QMetaObject *type = object->metaObject();
    int index = type->methodCount() - 1;
    while (index >= 0
        && (type->method(index).methodType() != QMetaMethod::Signal || type->method(index).name() != name))
        --index;
    return type->method(index);
}

} // namespace

SignalLog::SignalLog(QObject *parent)
    : QObject(parent)
{
    m_timer.setInterval(lookIntervalMs);
    connect(&m_timer, &QTimer::timeout, this, &SignalLog::attach);
}

void SignalLog::watch(const QJsonObject &request)
{
    m_watches.append(request);
    m_attached.clear();
    attach();
    if (request["later"].toBool(true))
        m_timer.start();
}

QJsonArray SignalLog::take()
{
    return std::exchange(m_notes, QJsonArray());
}

void SignalLog::stop()
{
    m_timer.stop();
    m_watches.clear();
    m_notes = QJsonArray();
    ItemQuery::visit([this](QQuickItem *item) { item->disconnect(this); });
}

void SignalLog::attach()
{
    const QMetaMethod slot = metaObject()->method(metaObject()->indexOfSlot("note()"));
    ItemQuery::visit([&](QQuickItem *item) {
        for (const QJsonObject &watch : std::as_const(m_watches)) {
            if (ItemQuery::typeName(item) != watch["type"].toString() || m_attached.contains(item))
                continue;
            const QMetaMethod signal = signalNamed(item, watch["signal"].toString().toUtf8());
            connect(item, signal, this, slot, Qt::UniqueConnection);
            connect(item, &QObject::destroyed, this, [this, item] { m_attached.remove(item); });
            m_attached.insert(item);
        }
    });
}

void SignalLog::note()
{
    const qint64 now = monotonicNs();
    const QString signal = QString::fromUtf8(sender()->metaObject()->method(senderSignalIndex()).name());
    for (const QJsonObject &watch : std::as_const(m_watches)) {
        if (watch["signal"].toString() != signal || watch["type"].toString() != ItemQuery::typeName(sender()))
            continue;
        const QJsonObject values = ItemQuery::properties(sender(), watch["get"].toArray());
        m_notes.append(QJsonObject{{"atNs", now}, {"values", values}});
    }
}
