import QtQuick
import ZorvelClient

// A short message over the window.
StyledDialog {
    id: root

    property string text: ""

    contentItem: Text {
        text: root.text
        color: Theme.textPrimary
        font.pixelSize: Theme.fontSM
        wrapMode: Text.Wrap
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
    footer: DialogButtons {
        ActionButton {
            objectName: "closeNoticeButton"
            focus: true
            text: Translations.close
            onClicked: root.close()
        }
    }
}
