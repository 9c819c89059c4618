import QtQuick
import ZorvelClient

// One group of the settings page.
Rectangle {
    default property alias content: contentColumn.data
    property string title: ""

    implicitHeight: contentColumn.height + 2 * Theme.spacingLG
    color: Theme.surfaceDark
    radius: Theme.radiusLG
    border.width: 1
    border.color: Theme.border
    Accessible.role: Accessible.Grouping
    Accessible.name: title

    Column {
        id: contentColumn

        x: Theme.spacingLG
        y: Theme.spacingLG
        width: parent.width - 2 * Theme.spacingLG
        spacing: Theme.spacingMD
    }
}
