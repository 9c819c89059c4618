import QtQuick
import ZorvelClient

// The two small buttons of a row that can be edited and deleted.
Row {
    id: root

    signal edit()
    signal remove()

    component SmallButton: ActionButton {
        height: 28
        hPad: 10
        fontSize: Theme.fontXS
        textColor: Theme.textSecondary
    }

    spacing: Theme.spacingXS

    SmallButton {
        objectName: "editButton"
        text: Translations.adminEdit
        onClicked: root.edit()
    }
    SmallButton {
        objectName: "deleteButton"
        text: Translations.adminDelete
        hoverColor: Theme.statusError
        onClicked: root.remove()
    }
}
