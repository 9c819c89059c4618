import QtQuick
import ZorvelClient

// A card with the text of an error; nothing at all while the text is empty.
Rectangle {
    id: root

    property string text: ""

    visible: text !== ""
    implicitWidth: label.implicitWidth + 2 * Theme.spacingSM
    implicitHeight: label.implicitHeight + 2 * Theme.spacingSM
    color: Theme.surfaceDark
    radius: Theme.radius
    border.width: 1
    border.color: Theme.statusError
    Accessible.role: Accessible.AlertMessage
    Accessible.name: text

    Text {
        id: label

        x: Theme.spacingSM
        y: Theme.spacingSM
        width: parent.width - 2 * Theme.spacingSM
        text: root.text
        textFormat: Text.PlainText
        color: Theme.statusError
        font.pixelSize: Theme.fontSM
        wrapMode: Text.Wrap
        Accessible.ignored: true
    }
}
