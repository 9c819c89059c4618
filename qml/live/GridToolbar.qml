import QtQuick
import ZorvelClient

// The presets of a grid, in the order of the keys 1 to 9. Left and Right move along them.
FocusScope {
    id: root

    required property GridLayoutModel layout
    required property var presets

    signal presetChosen(string preset)

    function moveFocus(event: var) {
        const steps = { [Qt.Key_Left]: -1, [Qt.Key_Right]: 1 }
        const at = presets.findIndex((preset, index) => buttons.itemAt(index).activeFocus)
        event.accepted = at >= 0 && event.key in steps
        if (event.accepted) {
            const next = Math.max(0, Math.min(presets.length - 1, at + steps[event.key]))
            buttons.itemAt(next).forceActiveFocus(Qt.TabFocusReason)
        }
    }

    implicitHeight: Theme.controlHeight + Theme.spacingXS
    Accessible.role: Accessible.ToolBar
    Accessible.name: Translations.layouts

    Rectangle {
        anchors.fill: parent
        color: Theme.surfaceDark
    }
    Row {
        x: Theme.spacingSM
        anchors.verticalCenter: parent.verticalCenter
        spacing: Math.max(0, Math.min(Theme.spacingXS, (root.width - 2 * x - buttonsWidth) / 8))

        Keys.onPressed: event => root.moveFocus(event)

        readonly property real buttonsWidth: children.reduce((sum, child) => sum + child.width, 0)

        Repeater {
            id: buttons

            model: root.presets

            PresetButton {
                required property int index
                required property string modelData

                preset: modelData
                number: index + 1
                units: root.layout.cellLayout(preset)
                cols: root.layout.layoutCols(preset)
                rows: root.layout.layoutRows(preset)
                current: root.layout.currentLayout === preset
                onClicked: root.presetChosen(preset)
            }
        }
    }
}
