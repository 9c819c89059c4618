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

    Connections {
        target: cameraModel

        function onModelReset() {
            for (let index = 0; index < cells.count; ++index)
                cells.itemAt(index).refresh()
        }

        function onCameraStateChanged(cameraId, state) {
            const index = root.slotOf.get(cameraId)
            if (index !== undefined)
                cells.itemAt(index).cameraState = state
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
