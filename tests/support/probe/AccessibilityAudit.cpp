#include "AccessibilityAudit.h"

#include "ItemQuery.h"

#include <QtCore/QMetaEnum>
#include <QtCore/QSet>
#include <QtGui/QAccessible>
#include <QtQuick/QQuickItem>

namespace {

// A handler's area often fills the control it serves, or lies inside the control's content.
constexpr int levelsToControl = 3;

struct Label
{
    QString name;
    QAccessible::Role role = QAccessible::NoRole;
    bool isPassword = false;
};

const QObject *attachedTo(const QQuickItem *item)
{
    const QList<QObject *> &children = item->children();
    const auto found = std::find_if(children.begin(), children.end(),
        [](const QObject *child) { return child->inherits("QQuickAccessibleAttached"); });
    return found == children.end() ? nullptr : *found;
}

// Qt 6.4 tells a control's type's role instead of the role set on it, and of a plain control none.
QAccessible::Role roleOf(const QQuickItem *item, QAccessible::Role told)
{
    const QObject *attached = attachedTo(item);
    const auto wanted
        = attached ? attached->property("role").value<QAccessible::Role>() : QAccessible::NoRole;
    return wanted == QAccessible::NoRole ? told : wanted;
}

Label labelOf(QQuickItem *item)
{
    QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(item);
    if (!interface) {
        return {};
    }
    return {interface->text(QAccessible::Name), roleOf(item, interface->role()),
        bool(interface->state().passwordEdit)};
}

QString roleName(QAccessible::Role role)
{
    return QString::fromLatin1(QMetaEnum::fromType<QAccessible::Role>().valueToKey(role));
}

bool isIgnored(const QQuickItem *item)
{
    const QObject *attached = attachedTo(item);
    return attached && attached->property("ignored").toBool();
}

bool takesClicks(const QQuickItem *item)
{
    if (item->inherits("QQuickMouseArea")) {
        return item->acceptedMouseButtons() != Qt::NoButton;
    }
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
    for (QQuickItem *at = item; at && level <= levelsToControl; at = at->parentItem(), ++level) {
        if (isIgnored(at) || !labelOf(at).name.isEmpty()) {
            return true;
        }
    }
    return false;
}

} // namespace

QJsonArray AccessibilityAudit::namelessItems()
{
    QJsonArray found;
    const auto report = [&found](const QQuickItem *item, const QString &missing) {
        QJsonObject entry = ItemQuery::describe(item);
        entry.insert(QStringLiteral("missing"), missing);
        entry.insert(QStringLiteral("parent"), ItemQuery::typeName(item->parentItem()));
        found.append(entry);
    };
    ItemQuery::visit([&](QQuickItem *item) {
        if (isExempt(item)) {
            return;
        }
        if (item->activeFocusOnTab()) {
            const Label label = labelOf(item);
            // Qt tells nobody the name of a password field.
            if (label.name.isEmpty() && !label.isPassword) {
                report(item, QStringLiteral("name"));
            } else if (label.role == QAccessible::NoRole || label.role == QAccessible::Client) {
                report(item, QStringLiteral("role"));
            }
        } else if (takesClicks(item) && !controlAroundIsNamed(item)) {
            report(item, QStringLiteral("name"));
        }
    });
    return found;
}

QJsonArray AccessibilityAudit::namedItems()
{
    QJsonArray found;
    ItemQuery::visit([&](QQuickItem *item) {
        const Label label = ItemQuery::isShown(item) ? labelOf(item) : Label();
        if (!label.name.isEmpty()) {
            QJsonObject entry = ItemQuery::describe(item);
            entry.insert(QStringLiteral("role"), roleName(label.role));
            entry.insert(QStringLiteral("label"), label.name);
            found.append(entry);
        }
    });
    return found;
}
