import QtQuick
import ZorvelClient

// Opens one more grid window. Until the client has a window manager it says that these windows come later.
SidebarEntry {
    id: root

    text: "+ " + Translations.newScreen
    activeFocusOnTab: false
    onVisibleChanged: {
        if (!visible)
            notice.close()
    }
    onClicked: {
        if (typeof windowManager !== "undefined")
            windowManager.openGridWindow()
        else
            notice.open()
    }

    NoticeDialog {
        id: notice

        objectName: "newScreenNotice"
        title: Translations.newScreen
        text: Translations.newScreenLater
        onClosed: {
            if (root.visible)
                root.forceActiveFocus()
        }
    }
}
