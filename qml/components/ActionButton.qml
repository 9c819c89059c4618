import QtQuick
import ZorvelClient

// The flat push button. A destructive action hovers in Theme.statusError, a primary one is a PrimaryButton.
ButtonBase {
    id: root

    property int fontSize: Theme.fontSM
    property color textColor: Theme.textPrimary
    property color hoverColor: Theme.surfaceMedium
    property color baseColor: Theme.surfaceLight
    property color disabledColor: Theme.accentDisabled
    property real hPad: 12

    implicitWidth: implicitContentWidth + 2 * hPad
    implicitHeight: Theme.controlHeight
    leftPadding: hPad
    rightPadding: hPad

    contentItem: Text {
        text: root.text
        color: root.textColor
        opacity: root.enabled ? 1 : 0.6
        font.pixelSize: root.fontSize
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        radius: Theme.radius
        color: !root.enabled ? root.disabledColor : root.hovered ? root.hoverColor : root.baseColor
    }
}
