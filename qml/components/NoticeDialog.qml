import QtQuick
import ZorvelClient

// A short message over the window.
StyledDialog {
    id: root

    property string text: ""

    contentItem: StyledText {
        text: root.text
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
