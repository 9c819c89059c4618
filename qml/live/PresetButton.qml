import QtQuick
import ZorvelClient

// Chooses a preset: its cells in small and its name.
ButtonBase {
    id: root

    required property string preset
    // The key that does the same.
    required property int number
    // The preset's cells: the result of cellLayout(), and its grid units.
    required property var units
    required property int cols
    required property int rows
    property bool current: false
    property bool dense: false

    readonly property color _ink: current ? Theme.textOnAccent : hovered ? Theme.textPrimary : Theme.textSecondary

    objectName: "presetButton_" + preset
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: Theme.rowHeight
    leftPadding: dense ? Theme.spacingXS : Theme.spacingSM
    rightPadding: leftPadding
    text: preset
    focusPolicy: current || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
    Accessible.role: Accessible.RadioButton
    Accessible.name: tip.text
    Accessible.checkable: true
    Accessible.checked: current

    contentItem: Row {
        spacing: root.dense ? Theme.spacingXS : Theme.spacingSM

        Item {
            anchors.verticalCenter: parent.verticalCenter
            width: 23
            height: 15

            Repeater {
                model: root.units

                Rectangle {
                    required property var modelData
                    readonly property real endX: Math.round((modelData.col + modelData.colSpan) * 24 / root.cols)
                    readonly property real endY: Math.round((modelData.row + modelData.rowSpan) * 16 / root.rows)

                    x: Math.round(modelData.col * 24 / root.cols)
                    y: Math.round(modelData.row * 16 / root.rows)
                    width: endX - x - 1
                    height: endY - y - 1
                    color: root._ink
                }
            }
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: root.preset
            color: root._ink
            font.pixelSize: Theme.fontXS
        }
    }
    background: Rectangle {
        radius: Theme.radius
        color: root.current ? Theme.accent : root.hovered ? Theme.surfaceLight : "transparent"
    }

    StyledToolTip {
        id: tip

        visible: root.hovered
        text: Translations.layoutTip.arg(root.preset).arg(root.number)
    }
}
