import QtQuick
import ZorvelClient

// A small button of a tool bar.
ButtonBase {
    id: root

    property string label: ""
    property bool accent: false
    property bool danger: false

    implicitWidth: implicitContentWidth + 20
    implicitHeight: Theme.rowHeight
    opacity: enabled ? 1 : 0.4
    text: label

    contentItem: Text {
        text: root.label
        color: root.accent ? Theme.textOnAccent : Theme.textPrimary
        font.pixelSize: Theme.fontSM
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        radius: Theme.radius
        color: root.hovered ? (root.danger ? Theme.statusError : Theme.surfaceMedium)
            : root.accent ? Theme.accent : Theme.surfaceLight
    }
}
