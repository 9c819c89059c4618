#include "ItemQuery.h"

#include <QtCore/QJsonArray>
#include <QtCore/QMetaProperty>
#include <QtGui/QAccessible>
#include <QtGui/QGuiApplication>
#include <QtQml/QJSValue>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>

namespace {

// The type's name as it is written in QML.
QString typeName(const QObject *object)
{
    QString name = QString::fromUtf8(object->metaObject()->className());
    for (const char *suffix : {"_QMLTYPE_", "_QML_"})
        name = name.left(name.indexOf(suffix));
    return name.startsWith("QQuick") ? name.mid(6) : name;
}

// Whether the item has an area, is visible with all its ancestors, and its window is on the screen.
bool isShown(const QQuickItem *item)
{
    const QQuickWindow *window = item->window();
    bool shown
        = item->isVisible() && window && window->isExposed() && item->width() > 0 && item->height() > 0;
    for (const QQuickItem *at = item; at && shown; at = at->parentItem())
        shown = at->opacity() > 0;
    return shown;
}

// Qt tells nobody the name of a password field.
bool isNamed(QQuickItem *item)
{
    const QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(item);
    return interface && (!interface->text(QAccessible::Name).isEmpty() || interface->state().passwordEdit);
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

bool matches(QQuickItem *item, const QJsonObject &selector)
{
    for (auto it = selector.begin(); it != selector.end(); ++it) {
        const QString key = it.key();
        const QJsonValue wanted = it.value();
        bool holds = false;
        if (key == "name") {
            holds = item->objectName() == wanted.toString();
        } else if (key == "type") {
            holds = typeName(item) == wanted.toString();
        } else if (key == "named") {
            holds = isNamed(item) == wanted.toBool();
        } else if (key == "where") {
            holds = hasProperties(item, wanted.toObject());
        } else if (key == "shown") {
            holds = isShown(item) == wanted.toBool();
        } else if (key == "within") {
            QQuickItem *ancestor = item->parentItem();
            while (ancestor && !matches(ancestor, wanted.toObject()))
                ancestor = ancestor->parentItem();
            holds = ancestor != nullptr;
        }
        if (!holds)
            return false;
    }
    return true;
}

void findIn(QQuickItem *item, const QJsonObject &selector, QList<QQuickItem *> &found)
{
    if (matches(item, selector))
        found.append(item);
    const QList<QQuickItem *> children = item->childItems();
    for (QQuickItem *child : children)
        findIn(child, selector, found);
}

} // namespace

QList<QQuickItem *> ItemQuery::find(const QJsonObject &selector)
{
    QList<QQuickItem *> found;
    const auto windows = QGuiApplication::allWindows();
    for (QWindow *window : windows) {
        if (auto *quickWindow = qobject_cast<QQuickWindow *>(window))
            findIn(quickWindow->contentItem(), selector, found);
    }
    return found;
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
