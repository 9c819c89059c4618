import QtQuick
import ZorvelClient

// The name chip that follows the pointer during a drag.
Rectangle {
    property alias text: label.text

    width: Math.min(label.implicitWidth, 220) + 2 * Theme.spacingSM
    height: label.implicitHeight + 2 * Theme.spacingXS
    radius: Theme.radius
    color: Theme.surfaceMedium
    border.width: 1
    border.color: Theme.accent

    Text {
        id: label

        x: Theme.spacingSM
        y: Theme.spacingXS
        width: parent.width - 2 * Theme.spacingSM
        textFormat: Text.PlainText
        color: Theme.textPrimary
        font.pixelSize: Theme.fontSM
        elide: Text.ElideRight
    }
}
