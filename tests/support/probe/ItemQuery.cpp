#include "ItemQuery.h"

#include <QtCore/QJsonArray>
#include <QtCore/QMetaProperty>
#include <QtGui/QGuiApplication>
#include <QtQml/QJSValue>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>

namespace {

void visitTree(QQuickItem *item, const std::function<void(QQuickItem *)> &visitor)
{
    visitor(item);
    const QList<QQuickItem *> children = item->childItems();
    for (QQuickItem *child : children)
        visitTree(child, visitor);
}

bool hasProperties(const QObject *object, const QJsonObject &wanted)
{
    for (auto it = wanted.begin(); it != wanted.end(); ++it) {
        const QByteArray name = it.key().toUtf8();
        if (object->metaObject()->indexOfProperty(name.constData()) < 0
            || ItemQuery::toJson(object->property(name.constData())) != it.value())
            return false;
    }
    return true;
}

bool matches(const QQuickItem *item, const QJsonObject &selector)
{
    for (auto it = selector.begin(); it != selector.end(); ++it) {
        const QString key = it.key();
        const QJsonValue wanted = it.value();
        bool holds = false;
        if (key == "name") {
            holds = item->objectName() == wanted.toString();
        } else if (key == "type") {
            holds = ItemQuery::typeName(item) == wanted.toString();
        } else if (key == "text") {
            holds = item->property("text").toString() == wanted.toString();
        } else if (key == "where") {
            holds = hasProperties(item, wanted.toObject());
        } else if (key == "shown") {
            holds = ItemQuery::isShown(item) == wanted.toBool();
        } else if (key == "within") {
            const QQuickItem *ancestor = item->parentItem();
            while (ancestor && !matches(ancestor, wanted.toObject()))
                ancestor = ancestor->parentItem();
            holds = ancestor != nullptr;
        }
        if (!holds)
            return false;
    }
    return true;
}

} // namespace

void ItemQuery::visit(const std::function<void(QQuickItem *)> &visitor)
{
    const auto windows = QGuiApplication::allWindows();
    for (QWindow *window : windows) {
        if (auto *quickWindow = qobject_cast<QQuickWindow *>(window))
            visitTree(quickWindow->contentItem(), visitor);
    }
}

QList<QQuickItem *> ItemQuery::find(const QJsonObject &selector)
{
    QList<QQuickItem *> found;
    visit([&](QQuickItem *item) {
        if (matches(item, selector))
            found.append(item);
    });
    return found;
}

QString ItemQuery::typeName(const QObject *object)
{
    QString name = QString::fromUtf8(object->metaObject()->className());
    for (const char *suffix : {"_QMLTYPE_", "_QML_"})
        name = name.left(name.indexOf(suffix));
    return name.startsWith("QQuick") ? name.mid(6) : name;
}

bool ItemQuery::isShown(const QQuickItem *item)
{
    const QQuickWindow *window = item->window();
    bool shown
        = item->isVisible() && window && window->isExposed() && item->width() > 0 && item->height() > 0;
    for (const QQuickItem *at = item; at && shown; at = at->parentItem())
        shown = at->opacity() > 0;
    return shown;
}

QJsonObject ItemQuery::describe(const QQuickItem *item)
{
    const QPointF topLeft = item->mapToGlobal(QPointF());
    return {
        {"type", typeName(item)},
        {"name", item->objectName()},
        {"x", topLeft.x()},
        {"y", topLeft.y()},
        {"width", item->width()},
        {"height", item->height()},
        {"shown", isShown(item)},
        {"enabled", item->isEnabled()},
        {"text", item->property("text").toString()},
    };
}

QJsonValue ItemQuery::toJson(const QVariant &value)
{
    if (value.metaType() == QMetaType::fromType<QJSValue>())
        return toJson(value.value<QJSValue>().toVariant());
    if (value.metaType().flags().testFlag(QMetaType::PointerToQObject)) {
        const auto *object = value.value<QObject *>();
        return object ? QJsonValue(typeName(object) + ' ' + object->objectName()) : QJsonValue();
    }
    if (value.metaType().flags().testFlag(QMetaType::IsEnumeration))
        return value.toInt();
    const QJsonValue json = QJsonValue::fromVariant(value);
    return json.isNull() && value.isValid() ? QJsonValue(value.toString()) : json;
}

QJsonObject ItemQuery::properties(const QObject *object, const QJsonArray &names)
{
    QJsonObject values;
    for (const auto &name : names)
        values.insert(name.toString(), toJson(object->property(name.toString().toUtf8().constData())));
    return values;
}
