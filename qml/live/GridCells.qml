import QtQuick
import ZorvelClient
import "grid.js" as Grid

// The cells of a grid, created once, and what reaches them of their cameras and streams.
Item {
    id: root

    // The VideoGrid.
    required property var grid
    required property StreamLayer streams

    // The slot of each camera that has one: a Map of camera id to slot index.
    readonly property var slotOf: Grid.slotByCamera(grid.slots)

    function cellAt(index: int) : VideoCell {
        return cells.itemAt(index) as VideoCell
    }

    // Focuses a cell, the last one where the preset has fewer.
    function focusCell(index: int, reason: int) {
        const slot = Math.min(index, grid.cells - 1)
        const cell = cellAt(slot)
        cell.forceActiveFocus(reason)
        cell.focusReason = reason
        grid.currentSlot = slot
    }

    // A cell that leaves the screen hands the keyboard to one that stays.
    function keepFocusVisible() {
        const current = cellAt(grid.currentSlot)
        const slot = grid.maximizedSlot !== -1 ? grid.maximizedSlot : Math.min(grid.currentSlot, grid.cells - 1)
        if (slot === grid.currentSlot)
            return
        if (current.activeFocus) {
            focusCell(slot, current.focusReason)
        } else {
            cellAt(slot).focus = true
            grid.currentSlot = slot
        }
    }

    // A cell that is not part of the preset keeps its camera, so that coming back costs less.
    function refresh() {
        const cameras = grid.slots
        for (let index = 0; index < cameras.length; ++index)
            cells.itemAt(index).show(cameras[index])
    }

    Component.onCompleted: refresh()

    Connections {
        target: root.grid

        function onSlotsChanged() {
            root.refresh()
        }
    }
    Connections {
        target: cameraModel

        function onModelReset() {
            root.refresh()
        }

        function onCameraStateChanged(cameraId, state) {
            const index = root.slotOf.get(cameraId)
            if (index !== undefined)
                cells.itemAt(index).cameraState = state
        }
    }
    Connections {
        target: apiClient

        // The next user's cells are others.
        function onAuthChanged() {
            if (!apiClient.authenticated)
                root.grid.maximizedSlot = -1
        }
    }
    Connections {
        target: root.streams

        function onStreamStateChanged(cameraId, state) {
            const index = root.slotOf.get(cameraId)
            if (index !== undefined)
                cells.itemAt(index).streamState = state
        }
    }

    Repeater {
        id: cells

        model: root.grid.cellPool

        VideoCell {
            grid: root.grid
            streams: root.streams
        }
    }
}
