#include "AccessibilityAudit.h"

#include "ItemQuery.h"

#include <QtGui/QAccessible>
#include <QtQuick/QQuickItem>

namespace {

// A handler's area often fills the control it serves, or lies inside the control's content.
constexpr int levelsToControl = 3;

const QObject *attachedTo(const QQuickItem *item)
{
    const QList<QObject *> &children = item->children();
    const auto found = std::find_if(children.begin(), children.end(),
        [](const QObject *child) { return child->inherits("QQuickAccessibleAttached"); });
    return found == children.end() ? nullptr : *found;
}

// Qt tells nobody the name of a password field.
bool isNamed(QQuickItem *item)
{
    const QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(item);
    return interface && (!interface->text(QAccessible::Name).isEmpty() || interface->state().passwordEdit);
}

// Qt 6.4 tells a control's type's role instead of the role set on it, and of a plain control none.
bool hasRole(QQuickItem *item)
{
    const QObject *attached = attachedTo(item);
    const QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(item);
    auto role = attached ? attached->property("role").value<QAccessible::Role>() : QAccessible::NoRole;
    if (role == QAccessible::NoRole && interface)
        role = interface->role();
    return role != QAccessible::NoRole && role != QAccessible::Client;
}

bool isIgnored(const QQuickItem *item)
{
    const QObject *attached = attachedTo(item);
    return attached && attached->property("ignored").toBool();
}

bool takesClicks(const QQuickItem *item)
{
    if (item->inherits("QQuickMouseArea"))
        return item->acceptedMouseButtons() != Qt::NoButton;
    const QList<QObject *> &children = item->children();
    return std::any_of(children.begin(), children.end(), [](const QObject *child) {
        return child->inherits("QQuickTapHandler") && child->property("enabled").toBool();
    });
}

bool isExempt(const QQuickItem *item)
{
    return !ItemQuery::isShown(item) || !item->isEnabled() || isIgnored(item)
        || item->inherits("QQuickOverlay") || item->inherits("QQuickFlickable")
        || item->inherits("QQuickScrollBar") || item->inherits("QQuickPopupItem");
}

bool controlAroundIsNamed(QQuickItem *item)
{
    int level = 0;
    for (QQuickItem *at = item; at && level <= levelsToControl; at = at->parentItem(), ++level)
        if (isIgnored(at) || isNamed(at))
            return true;
    return false;
}

} // namespace

QJsonArray AccessibilityAudit::namelessItems()
{
    QJsonArray found;
    const auto report = [&found](const QQuickItem *item, const QString &missing) {
        QJsonObject entry = ItemQuery::describe(item);
        entry.insert("missing", missing);
        entry.insert("parent", ItemQuery::typeName(item->parentItem()));
        found.append(entry);
    };
    ItemQuery::visit([&](QQuickItem *item) {
        if (isExempt(item)) {
            return;
        }
        if (item->activeFocusOnTab()) {
            if (!isNamed(item))
                report(item, "name");
            else if (!hasRole(item))
                report(item, "role");
        } else if (takesClicks(item) && !controlAroundIsNamed(item)) {
            report(item, "name");
        }
    });
    return found;
}
