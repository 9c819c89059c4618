import QtQuick
import QtQuick.Controls
import ZorvelClient

// Shows the speed and opens the list of speeds.
ControlButton {
    id: root

    property real speed: 1
    property var speedSteps: []

    // Where the keyboard was when the list was opened, and is to be again.
    property Item _focusBefore: null

    signal speedSelected(real value)

    function label(value: real) : string {
        return (Number.isInteger(value) ? value.toFixed(0) : value.toFixed(1)) + "x"
    }

    text: Translations.speedLabel + ": " + label(speed)
    sign: label(speed) + " ▾"
    hintEnabled: !menu.visible
    onClicked: {
        if (menu.visible) {
            menu.close()
        } else {
            _focusBefore = Window.activeFocusItem
            menu.open()
        }
    }

    Menu {
        id: menu

        objectName: "speedMenu"
        y: -height - Theme.spacingXS
        closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutsideParent
        onOpened: currentIndex = root.speedSteps.indexOf(root.speed)
        onClosed: root._focusBefore?.forceActiveFocus(Qt.PopupFocusReason)

        background: Rectangle {
            implicitWidth: 96
            color: Theme.surfaceMedium
            radius: Theme.radius
            border.width: 1
            border.color: Theme.borderSubtle
        }

        Repeater {
            model: root.speedSteps

            MenuItem {
                id: entry

                required property real modelData

                objectName: "speed_" + modelData
                height: Theme.rowHeight
                text: root.label(modelData) + (modelData === root.speed ? "  ✓" : "")
                onTriggered: root.speedSelected(modelData)
                Keys.onReturnPressed: event => choose(event)
                Keys.onEnterPressed: event => choose(event)

                function choose(event: var) {
                    if (!event.isAutoRepeat)
                        clicked()
                }

                HoverHandler {
                    cursorShape: Qt.PointingHandCursor
                }

                contentItem: StyledText {
                    leftPadding: Theme.spacingXS
                    verticalAlignment: Text.AlignVCenter
                    text: entry.text
                }
                background: Rectangle {
                    color: entry.highlighted || entry.hovered ? Theme.surfaceLight : "transparent"
                    radius: Theme.radius
                }
            }
        }
    }
}
