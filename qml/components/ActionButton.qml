import QtQuick
import ZorvelClient

// The flat push button. A destructive action hovers in Theme.statusError, a primary one in Theme.accent.
ButtonBase {
    id: root

    property int fontSize: Theme.fontSM
    property color textColor: Theme.textPrimary
    property color hoverColor: Theme.surfaceMedium
    property color baseColor: Theme.surfaceLight
    property real hPad: 12

    implicitWidth: label.implicitWidth + 2 * hPad
    implicitHeight: Theme.controlHeight
    leftPadding: hPad
    rightPadding: hPad
    opacity: enabled ? 1 : 0.5

    contentItem: Text {
        id: label

        text: root.text
        color: root.textColor
        font.pixelSize: root.fontSize
        font.bold: root.font.bold
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        radius: Theme.radius
        color: root.hovered ? root.hoverColor : root.baseColor
    }
}
