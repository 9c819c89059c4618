#pragma once

#include <QtCore/QJsonObject>
#include <QtCore/QList>

#include <functional>

class QQuickItem;

/// Finding Qt Quick items in all windows, pop-ups included, and telling what a person would see of them.
///
/// A selector is a JSON object whose entries must all hold: "name" (object name), "type" (the QML or C++
/// type's name), "where" (property values), "text" (the item's "text" property), "within" (a selector that an
/// ancestor fulfils), "shown" (whether the item can be seen).
namespace ItemQuery {

/// All items that fulfil the selector, in drawing order of the tree.
QList<QQuickItem *> find(const QJsonObject &selector);

/// Calls the visitor for every item of every window, parents before children.
void visit(const std::function<void(QQuickItem *)> &visitor);

/// The type's name as it is written in QML.
QString typeName(const QObject *object);

/// Whether the item has an area, is visible with all its ancestors, and its window is on the screen.
bool isShown(const QQuickItem *item);

/// {"type", "name", "x", "y", "width", "height" (screen pixels), "shown", "enabled", "text"}.
QJsonObject describe(const QQuickItem *item);

/// A value as JSON: lists and maps as such, objects by their type and name.
QJsonValue toJson(const QVariant &value);

/// The named properties of an object.
QJsonObject properties(const QObject *object, const QJsonArray &names);

} // namespace ItemQuery
