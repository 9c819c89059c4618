import QtQuick
import ZorvelClient
import "grid.js" as Grid

// Cameras in a grid: the toolbar of presets, the cells, and the streams behind them. All slot state is the layout
// model's; this document maps it to pixels and hands it the operator's actions. A change of preset only moves and
// hides cells, since rebuilding them would reconnect every camera.
FocusScope {
    id: root

    property bool suspended: false
    // Set by the owner of a camera list while a camera is dragged out of it.
    property bool cameraDragActive: false
    // The cell that the keyboard acts on.
    property int currentSlot: 0

    property alias currentLayout: layout.currentLayout
    property alias maximizedSlot: layout.maximizedSlot
    property alias layoutSlots: layout.layoutSlots
    property alias slots: layout.slotCameras
    property alias cells: layout.cells

    readonly property var presets: ["1x1", "2x2", "3x3", "4x4", "5x5", "8x8", "1+5", "1+7", "2+8"]
    readonly property int cellPool: 64
    readonly property var cellUnits: _packing.units
    // In one, so that another preset moves each cell once and not once for each of the three.
    readonly property var _packing: ({
        units: layout.cellLayout(layout.currentLayout),
        cellW: area.width / layout.cols,
        cellH: area.height / layout.rows
    })

    // All that the streams' placements follow from.
    readonly property var _placementInputs: [slots, maximizedSlot, suspended, _packing]

    readonly property bool slotDragActive: slotDrag.active
    readonly property int dragSourceSlot: slotDragActive ? slotDrag.slotIndex : -1
    readonly property bool anyDragActive: slotDragActive || cameraDragActive

    function assignSlot(index: int, cameraId: string) {
        layout.assignSlot(index, cameraId)
    }

    function assignSlotExclusive(index: int, cameraId: string) {
        layout.assignSlotExclusive(index, cameraId)
    }

    function assignNextSlot(cameraId: string) : bool {
        return layout.assignNextSlot(cameraId)
    }

    function clearSlot(index: int) {
        layout.clearSlot(index)
    }

    function swapSlots(fromIndex: int, toIndex: int) {
        layout.swapSlots(fromIndex, toIndex)
    }

    function restore(layoutSlots: var, layoutName: string) {
        layout.restore(layoutSlots, layoutName)
        _pruneStale()
    }

    // Where a slot's cell and its video are, in the coordinates of the grid area: {x, y, w, h}.
    function cellGeometry(index: int) : var {
        if (index === layout.maximizedSlot)
            return { x: 0, y: 0, w: area.width, h: area.height }
        const unit = _packing.units[index]
        return unit ? Grid.cellRect(unit, _packing.cellW, _packing.cellH) : { x: 0, y: 0, w: 0, h: 0 }
    }

    // What a double click does: shows one camera alone, or goes back to the grid.
    function toggleMaximized(index: int) {
        if (layout.currentLayout === "1x1")
            layout.currentLayout = "2x2"
        else
            layout.maximizedSlot = layout.maximizedSlot === index ? -1 : index
    }

    // What Return does: chooses a camera for an empty cell, and what a double click does for any other.
    function activateSlot(index: int) {
        if (cellArea.cellAt(index).occupied)
            toggleMaximized(index)
        else
            openCameraPicker(index)
    }

    function retrySlot(index: int) {
        streams.retry(layout.slotAt(index))
    }

    function openCameraPicker(slotIndex: int) {
        picker.openFor(slotIndex, cellArea.slotOf, cellArea.cellAt(slotIndex).visualFocus)
    }

    function focusSlot(index: int, reason: int) {
        cellArea.focusCell(index, reason)
    }

    function startSlotDrag(fromSlotIndex: int, globalX: real, globalY: real) {
        slotDrag.slotIndex = fromSlotIndex
        slotDrag.label = cameraModel.cameraNameById(layout.slotAt(fromSlotIndex))
        slotDrag.begin(globalX, globalY)
    }

    function moveSlotDrag(globalX: real, globalY: real) {
        slotDrag.moveTo(globalX, globalY)
    }

    function endSlotDrag() {
        slotDrag.drop()
    }

    function cancelSlotDrag() {
        slotDrag.cancel()
    }

    // A burst of changes, like that of another preset, is one sync.
    function _scheduleSync() {
        Qt.callLater(_syncStreams)
    }

    function _syncStreams() {
        const cameras = layout.slotCameras
        const maximized = layout.maximizedSlot
        const seen = new Set([""])
        const placements = []
        for (let index = 0; index < Math.min(layout.cells, cameras.length); ++index) {
            const cameraId = cameras[index]
            if (seen.has(cameraId))
                continue
            seen.add(cameraId)
            placements.push(Object.assign(cellGeometry(index), {
                cameraId: cameraId,
                visible: maximized === -1 || maximized === index,
                preferMain: maximized === index || layout.currentLayout === "1x1",
                suspended: suspended,
                hasSub: cameraModel.cameraHasSubStreamById(cameraId),
                z: maximized === index ? 100 : 0
            }))
        }
        streams.sync(placements)
    }

    // An empty list of cameras says nothing: it may not have arrived yet.
    function _pruneStale() {
        if (cameraModel.count > 0)
            layout.pruneMissing(cameraModel.cameraIds())
    }

    onCurrentLayoutChanged: {
        console.info(streamLog, "[grid] layout ->", currentLayout)
        cancelSlotDrag()
        cellArea.keepFocusVisible()
        if (picker.slotIndex >= cells)
            picker.close()
    }
    onMaximizedSlotChanged: cellArea.keepFocusVisible()
    on_PlacementInputsChanged: _scheduleSync()
    onVisibleChanged: {
        if (visible) {
            _scheduleSync()
        } else {
            picker.close()
            cancelSlotDrag()
        }
    }
    Component.onCompleted: _syncStreams()

    LoggingCategory {
        id: streamLog

        name: "zorvel.stream"
    }
    GridLayoutModel {
        id: layout
    }
    Connections {
        target: cameraModel

        // A camera may have gained or lost its sub stream.
        function onModelReset() {
            root._pruneStale()
            root._scheduleSync()
        }
    }

    GridToolbar {
        id: toolbar

        width: parent.width
        layout: layout
        presets: root.presets
        onPresetChosen: preset => layout.currentLayout = preset
    }
    FocusScope {
        id: area

        anchors.top: toolbar.bottom
        anchors.bottom: parent.bottom
        width: parent.width
        focus: true
        Keys.onPressed: event => keys.handle(event)

        StreamLayer {
            id: streams

            objectName: "streamLayer"
            anchors.fill: parent
        }
        GridCells {
            id: cellArea

            anchors.fill: parent
            grid: root
            streams: streams
        }
        DragHandle {
            id: slotDrag

            property int slotIndex: -1

            objectName: "slotDragHandle"
            key: Grid.slotDragKey
        }
    }
    GridKeys {
        id: keys

        grid: root
        enabled: !picker.visible
    }
    CameraPickerPopup {
        id: picker

        objectName: "cameraPicker"
        onCameraSelected: cameraId => root.assignSlotExclusive(slotIndex, cameraId)
        onClosed: {
            if (root.visible)
                root.focusSlot(slotIndex, byKeyboard ? Qt.TabFocusReason : Qt.PopupFocusReason)
        }
    }
}
