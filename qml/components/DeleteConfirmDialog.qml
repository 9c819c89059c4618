import QtQuick
import ZorvelClient

// Asks before something is deleted. It stays open on confirmation: its owner closes it when the delete has
// succeeded, so that a failure shows beside it.
StyledDialog {
    id: root

    // The name or login of what is being deleted.
    property string label: ""

    signal confirmed()

    title: Translations.adminConfirmDelete
    // Whoever confirmed the last time must not delete the next one with the same key.
    onAboutToShow: cancelButton.focus = true

    contentItem: StyledText {
        text: root.label
        color: Theme.textSecondary
    }
    footer: DialogButtons {
        ActionButton {
            id: cancelButton

            objectName: "cancelDeleteButton"
            focus: true
            text: Translations.cancel
            onClicked: root.close()
        }
        ActionButton {
            objectName: "confirmDeleteButton"
            text: Translations.adminDelete
            hoverColor: Theme.statusError
            onClicked: root.confirmed()
        }
    }
}
