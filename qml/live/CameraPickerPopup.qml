import QtQuick
import QtQuick.Controls
import ZorvelClient

// Chooses the camera of a cell without dragging. Return takes the current row, which is the first match while typing;
// Escape or a click outside cancels.
Popup {
    id: root

    property int slotIndex: -1
    // Whether the keyboard opened it, so that the focus is marked again afterwards.
    property bool byKeyboard: false

    signal cameraSelected(string cameraId)

    // Opens for a slot; `slotOf` tells which cameras have a slot already.
    function openFor(slot: int, slotOf: var, keyboard: bool) {
        slotIndex = slot
        byKeyboard = keyboard
        list.slotOf = slotOf
        open()
    }

    anchors.centerIn: parent
    width: 280
    height: Math.min(420, parent.height - 80)
    padding: Theme.spacingMD
    modal: true
    focus: true
    closePolicy: settled.running ? Popup.CloseOnEscape : Popup.CloseOnEscape | Popup.CloseOnPressOutside
    onAboutToShow: {
        list.reset()
        settled.start()
    }
    onOpened: list.forceActiveFocus(Qt.PopupFocusReason)

    // The second click of a double click on an empty cell is meant neither for the picker nor beside it.
    Timer {
        id: settled

        interval: Application.styleHints.mouseDoubleClickInterval
    }

    Overlay.modal: Rectangle {
        color: Theme.overlayControl
    }
    background: Rectangle {
        color: Theme.surfaceDark
        radius: Theme.radiusLG
        border.width: 1
        border.color: Theme.borderSubtle
    }

    FocusScope {
        anchors.fill: parent
        focus: true
        Accessible.role: Accessible.Dialog
        Accessible.name: title.text

        Text {
            id: title

            width: parent.width
            text: Translations.selectCameraTitle
            color: Theme.textPrimary
            font.pixelSize: Theme.fontBase
            font.weight: Font.DemiBold
            elide: Text.ElideRight
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        CameraSearchList {
            id: list

            anchors.top: title.bottom
            anchors.topMargin: Theme.spacingSM
            anchors.bottom: parent.bottom
            width: parent.width
            focus: true
            rowHeight: 36
            active: root.visible
            mouseEnabled: !settled.running
            onCameraPicked: cameraId => {
                root.close()
                root.cameraSelected(cameraId)
            }
        }
    }
}
