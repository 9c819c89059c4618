import QtQuick
import QtQuick.Controls
import ZorvelClient

// A one-line text field in the client's look. Its accessible name is its hint unless a view sets another.
TextField {
    id: root

    implicitHeight: Theme.controlHeight
    leftPadding: Theme.spacingMD
    rightPadding: Theme.spacingMD
    color: Theme.textPrimary
    placeholderTextColor: Theme.textMuted
    selectionColor: Theme.accent
    selectedTextColor: Theme.textOnAccent
    font.pixelSize: Theme.fontSM
    selectByMouse: true
    verticalAlignment: TextInput.AlignVCenter
    Accessible.role: Accessible.EditableText
    Accessible.name: placeholderText

    background: Rectangle {
        color: Theme.surfaceDeepest
        radius: Theme.radius
        border.width: root.activeFocus ? Theme.focusRingWidth : 1
        border.color: root.activeFocus ? Theme.accent : root.hovered ? Theme.textMuted : Theme.borderSubtle
    }
}
