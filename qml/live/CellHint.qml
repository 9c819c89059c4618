import QtQuick
import ZorvelClient

// What an empty cell says: that a camera can be put here.
Item {
    id: root

    property bool dragActive: false
    property bool highlighted: false

    Column {
        id: column

        anchors.centerIn: parent
        width: parent.width - 2 * Theme.spacingSM
        spacing: Theme.spacingXS

        Text {
            id: plus

            width: parent.width
            text: "+"
            color: root.highlighted ? Theme.textPrimary : Theme.textMuted
            font.pixelSize: Math.max(Theme.fontXL, Math.min(40, root.height / 6))
            horizontalAlignment: Text.AlignHCenter
        }
        Text {
            id: hint

            width: parent.width
            visible: root.width >= 150 && plus.height + implicitHeight + column.spacing < root.height
            text: root.dragActive ? Translations.dropHere : Translations.clickOrDragCamera
            color: plus.color
            font.pixelSize: root.width < 220 ? Theme.fontXS : Theme.fontSM
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
        }
    }
}
