import QtQuick
import QtQuick.Controls.Basic
import ZorvelClient

// Opens one more grid window. Until the client has a window manager it says that these windows come later.
SidebarEntry {
    id: root

    text: "+ " + Translations.newScreen
    activeFocusOnTab: false
    onClicked: {
        if (typeof windowManager !== "undefined")
            windowManager.openGridWindow()
        else
            notice.open()
    }

    Popup {
        id: notice

        objectName: "newScreenNotice"
        parent: root.Overlay.overlay
        anchors.centerIn: parent
        width: 320
        padding: Theme.spacingLG
        modal: true
        onClosed: root.forceActiveFocus()

        contentItem: Column {
            spacing: Theme.spacingLG

            Text {
                width: parent.width
                text: Translations.newScreenLater
                color: Theme.textPrimary
                font.pixelSize: Theme.fontSM
                wrapMode: Text.Wrap
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            ActionButton {
                anchors.right: parent.right
                focus: true
                text: Translations.close
                onClicked: notice.close()
            }
        }
        background: Rectangle {
            color: Theme.surfaceDark
            radius: Theme.radiusLG
            border.color: Theme.borderSubtle
        }
    }
}
