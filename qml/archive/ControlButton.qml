import QtQuick
import ZorvelClient

// A button of the playback controls: a short sign, with its meaning and its key as a hint.
ButtonBase {
    id: root

    property string sign: ""
    // The key that does the same, shown in the hint.
    property string shortcut: ""
    property bool primary: false
    property bool hintEnabled: text !== sign

    // A click leaves the keyboard, Space among others, to the page.
    focusPolicy: Qt.TabFocus
    leftPadding: Theme.spacingSM
    rightPadding: Theme.spacingSM
    implicitWidth: Math.max(Theme.controlHeight, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: Theme.controlHeight
    opacity: enabled ? 1 : 0.4

    contentItem: Text {
        text: root.sign
        textFormat: Text.PlainText
        color: root.primary ? Theme.textOnAccent : Theme.textPrimary
        font.pixelSize: Theme.fontSM
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }
    background: Rectangle {
        radius: Theme.radius
        color: root.primary ? (root.hovered ? Theme.accentHover : Theme.accent)
            : root.hovered ? Theme.surfaceMedium : Theme.surfaceLight
    }

    StyledToolTip {
        visible: root.hovered && root.hintEnabled
        text: root.text + (root.shortcut === "" ? "" : " (" + root.shortcut + ")")
    }
}
