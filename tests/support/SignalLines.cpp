#include "support/SignalLines.h"

#include <QJsonDocument>
#include <QMetaMethod>
#include <QSequentialIterable>

namespace {

QString textOf(const QVariant &value)
{
    if (value.canConvert<QString>())
        return value.toString();
    if (value.typeId() == QMetaType::QVariantMap || value.typeId() == QMetaType::QVariantList)
        return QString::fromUtf8(QJsonDocument::fromVariant(value).toJson(QJsonDocument::Compact));
    QStringList elements;
    for (const QVariant &element : value.value<QSequentialIterable>())
        elements.append(textOf(element));
    return u'[' + elements.join(u',') + u']';
}

} // namespace

SignalLines::SignalLines(QObject *object, const QStringList &except)
{
    const QMetaObject *type = object->metaObject();
    const QMetaMethod slot = staticMetaObject.method(staticMetaObject.indexOfSlot("note()"));
    for (int i = type->methodOffset(); i < type->methodCount(); ++i) {
        const QMetaMethod method = type->method(i);
        if (method.methodType() == QMetaMethod::Signal && !except.contains(method.name())) {
            m_spies.push_back(std::make_unique<QSignalSpy>(object, method));
            connect(object, method, this, slot);
        }
    }
}

void SignalLines::note()
{
    const QMetaMethod signal = sender()->metaObject()->method(senderSignalIndex());
    for (const auto &spy : m_spies) {
        if (spy->signal() == signal.methodSignature()) {
            QStringList parts(QString(signal.name()));
            for (const QVariant &argument : spy->last())
                parts.append(textOf(argument));
            lines.append(parts.join(u'|'));
        }
    }
}
