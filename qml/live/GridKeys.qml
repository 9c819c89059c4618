import QtQuick
import "grid.js" as Grid

// The keyboard of a grid: shortcuts for what works wherever the focus is, handle() for the keys of the current cell.
Item {
    id: root

    // The VideoGrid.
    required property var grid

    // The letters come with what a Russian keyboard layout has in their places.
    readonly property var _changeKeys: [Qt.Key_C, 0x421]
    readonly property var _retryKeys: [Qt.Key_R, 0x41a]

    function handle(event: var) {
        const arrows = {
            [Qt.Key_Left]: [-1, 0], [Qt.Key_Right]: [1, 0], [Qt.Key_Up]: [0, -1], [Qt.Key_Down]: [0, 1]
        }
        event.accepted = true
        if (event.key in arrows)
            move(arrows[event.key], event.modifiers & Qt.ControlModifier)
        else if (event.key === Qt.Key_Home || event.key === Qt.Key_End)
            goTo(event.key === Qt.Key_Home ? 0 : grid.cells - 1)
        else if ([Qt.Key_Return, Qt.Key_Enter].includes(event.key) && !event.isAutoRepeat)
            grid.activateSlot(grid.currentSlot)
        else if (event.key === Qt.Key_Delete)
            grid.clearSlot(grid.currentSlot)
        else if (_changeKeys.includes(event.key) && event.modifiers === Qt.NoModifier)
            grid.openCameraPicker(grid.currentSlot)
        else if (_retryKeys.includes(event.key) && event.modifiers === Qt.NoModifier)
            grid.retrySlot(grid.currentSlot)
        else
            event.accepted = false
    }

    function goTo(index: int) {
        if (grid.maximizedSlot === -1)
            grid.focusSlot(index, Qt.TabFocusReason)
    }

    // Moves the focus one cell on, or with it the camera of the cell.
    function move(direction: var, withCamera: bool) {
        const from = grid.currentSlot
        const to = Grid.neighbour(grid.cellUnits, from, direction[0], direction[1])
        if (withCamera && to !== from && grid.maximizedSlot === -1)
            grid.swapSlots(from, to)
        goTo(to)
    }

    Instantiator {
        model: root.grid.presets

        Shortcut {
            required property int index
            required property string modelData

            sequence: String(index + 1)
            enabled: root.enabled && root.grid.visible
            onActivated: root.grid.currentLayout = modelData
        }
    }
    Shortcut {
        sequence: "Escape"
        enabled: root.enabled && root.grid.visible && root.grid.maximizedSlot !== -1 && !root.grid.anyDragActive
        onActivated: root.grid.maximizedSlot = -1
    }
}
