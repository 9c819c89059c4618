#pragma once

#include <QtCore/QJsonObject>
#include <QtCore/QList>

class QQuickItem;

/// Finding Qt Quick items in all windows, pop-ups included, and telling what a person would see of them.
namespace ItemQuery {

/// All items that fulfil the selector, parents before children and in drawing order.
///
/// A selector is a JSON object whose entries must all hold: "name" (object name), "type" (the QML or C++
/// type's name), "where" (property values), "within" (a selector that an ancestor fulfils), "shown" (whether
/// the item can be seen), "named" (whether a screen reader has something to say of it).
QList<QQuickItem *> find(const QJsonObject &selector);

/// {"type", "name", "x", "y", "width", "height" (screen pixels), "shown", "enabled", "text"}.
QJsonObject describe(const QQuickItem *item);

/// A value as JSON: lists and maps as such, objects by their type and name.
QJsonValue toJson(const QVariant &value);

/// The named properties of an object.
QJsonObject properties(const QObject *object, const QJsonArray &names);

} // namespace ItemQuery
