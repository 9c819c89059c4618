import QtQuick
import QtQuick.Controls
import ZorvelClient

// A short message over the window, closed by its button, Escape or a click beside it.
Popup {
    id: root

    property string text: ""

    parent: Overlay.overlay
    anchors.centerIn: parent
    width: 320
    padding: Theme.spacingLG
    modal: true
    focus: true

    contentItem: Column {
        spacing: Theme.spacingLG

        Text {
            width: root.availableWidth
            text: root.text
            color: Theme.textPrimary
            font.pixelSize: Theme.fontSM
            wrapMode: Text.Wrap
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        ActionButton {
            objectName: "closeNoticeButton"
            x: root.availableWidth - width
            focus: true
            text: Translations.close
            onClicked: root.close()
        }
    }
    background: Rectangle {
        color: Theme.surfaceDark
        radius: Theme.radiusLG
        border.color: Theme.borderSubtle
    }
}
