import QtQuick
import ZorvelClient

// The bar along the top of a cell: the camera's name, the recording dot, and while the mouse is there the controls.
Rectangle {
    id: root

    // The VideoCell.
    required property var cell
    readonly property int _buttonSize: cell.compact ? 20 : 26

    height: _buttonSize + (cell.compact ? 2 : Theme.spacingSM)
    gradient: Gradient {
        GradientStop {
            position: 0
            color: Theme.overlayShade
        }
        GradientStop {
            position: 1
            color: "transparent"
        }
    }

    Text {
        id: nameLabel

        anchors.left: parent.left
        anchors.leftMargin: root.cell.compact ? Theme.spacingXS : Theme.spacingSM
        anchors.right: tools.left
        anchors.rightMargin: Theme.spacingXS
        anchors.verticalCenter: parent.verticalCenter
        visible: width >= 40
        text: root.cell.cameraName
        textFormat: Text.PlainText
        color: Theme.overlayText
        font.pixelSize: root.cell.compact ? Theme.fontXS : Theme.fontSM
        elide: Text.ElideRight
        maximumLineCount: 1
    }
    Row {
        id: tools

        anchors.right: parent.right
        anchors.rightMargin: root.cell.compact ? 1 : Theme.spacingXS
        anchors.verticalCenter: parent.verticalCenter
        spacing: root.cell.compact ? 1 : Theme.spacingXS

        Rectangle {
            readonly property bool _pulsing: visible

            objectName: "recordingDot"
            anchors.verticalCenter: parent.verticalCenter
            width: root.cell.compact ? 6 : 8
            height: width
            radius: width / 2
            visible: root.cell.recording && !root.cell.controlsShown
            color: Theme.statusError
            opacity: 1 - 0.7 * Pulse.wave
            on_PulsingChanged: Pulse.users += _pulsing ? 1 : -1
            Component.onDestruction: {
                if (_pulsing)
                    Pulse.users -= 1
            }
        }
        Loader {
            active: root.cell.controlsShown
            visible: active
            sourceComponent: CellControls {
                cell: root.cell
                size: root._buttonSize
                hint: nameLabel.truncated || !nameLabel.visible ? root.cell.cameraName : ""
            }
        }
        Loader {
            active: root.cell.maximized
            visible: active
            sourceComponent: CellButton {
                objectName: "cellRestoreButton"
                glyph: "▦"
                text: Translations.shortcutBackToGrid
                shortcut: "Esc"
                size: root._buttonSize
                onClicked: root.cell.grid.maximizedSlot = -1
            }
        }
    }
}
