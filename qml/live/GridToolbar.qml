import QtQuick
import ZorvelClient

// The presets of a grid, in the order of the keys 1 to 9. Left and Right move along them.
FocusScope {
    id: root

    required property GridLayoutModel layout
    required property var presets
    readonly property bool dense: width < 720

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
        spacing: root.dense ? 2 : Theme.spacingXS
        Keys.onPressed: event => root.moveFocus(event)

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
                dense: root.dense
                onClicked: root.presetChosen(preset)
            }
        }
    }
}
