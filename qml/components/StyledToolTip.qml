import QtQuick
import QtQuick.Controls
import ZorvelClient

// A hint beside what the mouse rests on.
ToolTip {
    id: root

    delay: 600
    padding: Theme.spacingSM

    contentItem: Text {
        text: root.text
        textFormat: Text.PlainText
        color: Theme.textPrimary
        font.pixelSize: Theme.fontXS
        wrapMode: Text.Wrap
    }
    background: Rectangle {
        color: Theme.surfaceMedium
        radius: Theme.radius
        border.width: 1
        border.color: Theme.borderSubtle
    }
}
