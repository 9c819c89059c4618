#include "SignalLog.h"

#include "ItemQuery.h"
#include "ThreadClock.h"

#include <QtCore/QMetaMethod>
#include <QtQuick/QQuickItem>

namespace {

constexpr int lookIntervalMs = 10;

QMetaMethod signalNamed(const QObject *object, const QString &name)
{
    const QMetaObject *type = object->metaObject();
    for (int i = 0; i < type->methodCount(); ++i) {
        const QMetaMethod method = type->method(i);
        if (method.methodType() == QMetaMethod::Signal && name == QString::fromUtf8(method.name())) {
            return method;
        }
    }
    return {};
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
    attach();
    if (request.value(QStringLiteral("later")).toBool(true)) {
        m_timer.start();
    }
}

QJsonArray SignalLog::take()
{
    return std::exchange(m_notes, QJsonArray());
}

void SignalLog::stop()
{
    m_timer.stop();
    m_watches.clear();
    m_attached.clear();
    m_notes = QJsonArray();
    qDeleteAll(findChildren<SignalListener *>());
}

void SignalLog::attach()
{
    ItemQuery::visit([this](QQuickItem *item) {
        for (qsizetype i = 0; i < m_watches.size(); ++i) {
            const QString type = m_watches.at(i).value(QStringLiteral("type")).toString();
            if (ItemQuery::typeName(item) == type && !m_attached.contains(item, i)) {
                m_attached.insert(item, i);
                new SignalListener(this, item, m_watches.at(i));
            }
        }
    });
}

SignalListener::SignalListener(SignalLog *log, QObject *sender, const QJsonObject &request)
    : QObject(log)
    , m_log(log)
    , m_sender(sender)
    , m_request(request)
{
    const QMetaMethod signal = signalNamed(sender, request.value(QStringLiteral("signal")).toString());
    const int slot = staticMetaObject.indexOfSlot("note()");
    if (signal.isValid()) {
        connect(sender, signal, this, staticMetaObject.method(slot));
    }
    connect(sender, &QObject::destroyed, this, [this] {
        m_log->m_attached.remove(m_sender);
        deleteLater();
    });
}

void SignalListener::note()
{
    m_log->m_notes.append(QJsonObject{
        {QStringLiteral("atNs"), monotonicNs()},
        {QStringLiteral("type"), m_request.value(QStringLiteral("type"))},
        {QStringLiteral("signal"), m_request.value(QStringLiteral("signal"))},
        {QStringLiteral("values"),
            ItemQuery::properties(m_sender, m_request.value(QStringLiteral("get")).toArray())},
    });
}
