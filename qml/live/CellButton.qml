import QtQuick
import ZorvelClient

// A small button over video. It leaves the keyboard with its cell, which knows the button's key; the tooltip names it.
ButtonBase {
    id: root

    // What stands on the button; without it the text does.
    property string glyph: ""
    property string shortcut: ""
    property color baseColor: Theme.overlayControl
    property color hoverColor: Theme.accent
    property int size: 24

    implicitWidth: Math.max(size, implicitContentWidth + (glyph === "" ? 2 * Theme.spacingMD : 0))
    implicitHeight: size
    focusPolicy: Qt.NoFocus

    contentItem: Text {
        text: root.glyph === "" ? root.text : root.glyph
        color: Theme.textPrimary
        font.pixelSize: root.glyph === "" ? Theme.fontXS : root.size * 0.6
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }
    background: Rectangle {
        radius: Theme.radius
        color: root.hovered ? root.hoverColor : root.baseColor
    }

    StyledToolTip {
        visible: root.hovered
        text: root.text + " (" + root.shortcut + ")"
    }
}
