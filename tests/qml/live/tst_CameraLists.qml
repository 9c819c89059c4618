import QtQuick
import QtQuick.Controls
import QtTest
import ZorvelClient

TestCase {
    id: testCase

    name: "CameraLists"
    when: windowShown
    visible: true
    width: 840
    height: 520

    property Item page: null
    readonly property VideoGrid grid: page?.grid ?? null
    readonly property CameraList list: page?.list ?? null

    // A camera list beside a grid, wired as a window with both does it.
    Component {
        id: pageComponent

        Item {
            property alias grid: grid
            property alias list: list
            property string clicked: ""

            anchors.fill: parent

            CameraList {
                id: list

                height: parent.height
                width: 200
                onCameraClicked: cameraId => parent.clicked = cameraId
                onCameraDragStarted: (cameraId, globalX, globalY) => layer.start(cameraId, globalX, globalY)
                onCameraDragMoved: (globalX, globalY) => layer.move(globalX, globalY)
                onCameraDragEnded: layer.end()
                onCameraDragCanceled: layer.cancel()
            }
            VideoGrid {
                id: grid

                x: 200
                width: 640
                height: parent.height
                cameraDragActive: layer.active
            }
            CameraDragLayer {
                id: layer

                objectName: "dragLayer"
                anchors.fill: parent
            }
        }
    }

    function init() {
        Translations.language = "en"
        cameraFeed.list(20)
        page = createTemporaryObject(pageComponent, testCase)
        waitForRendering(page)
        mouseMove(testCase, 0, 0)
    }

    function cell(index) {
        return findChild(grid, "videoCell_" + index)
    }

    function row(cameraId) {
        return findChild(list, "cameraRow_" + cameraId)
    }

    // The picker.

    function openPicker(slot) {
        grid.openCameraPicker(slot)
        const picker = findChild(grid, "cameraPicker")
        tryCompare(picker, "opened", true)
        tryVerify(() => picker.closePolicy & Popup.CloseOnPressOutside)
        waitForRendering(picker.contentItem)
        return {
            popup: picker,
            field: findChild(picker.contentItem, "cameraSearchField"),
            rows: findChild(picker.contentItem, "cameraRows")
        }
    }

    function test_picker_filters_and_picks_data() {
        return [
            { tag: "first match", text: "camera 1", keys: [], picked: "cam1", count: 11 },
            { tag: "second match", text: "CAMERA 1", keys: [Qt.Key_Down], picked: "cam10", count: 11 },
            { tag: "not beyond the ends", text: "2", keys: [Qt.Key_Up, Qt.Key_PageDown, Qt.Key_Down],
                picked: "cam20", count: 3 },
            { tag: "no match", text: "zzz", keys: [], picked: "", count: 0 }
        ]
    }

    function test_picker_filters_and_picks(data) {
        const picker = openPicker(2)
        verify(picker.field.activeFocus)
        picker.field.text = data.text
        compare(picker.rows.count, data.count)
        compare(findChild(picker.rows, "emptyLabel").visible, data.count === 0)
        data.keys.forEach(key => keyClick(key))
        cameraFeed.list(20)
        keyClick(Qt.Key_Return)
        compare(grid.slots[2], data.picked)
        compare(picker.popup.opened, data.picked === "")
    }

    function test_picker_moves_a_camera_and_marks_it() {
        grid.assignSlot(0, "cam2")
        const picker = openPicker(3)
        const marked = findChild(picker.rows, "cameraRow_cam2")
        compare(marked.mark, "Cell 1")
        compare(findChild(picker.rows, "cameraRow_cam1").mark, "")
        cameraFeed.setState("cam2", "error")
        compare(marked.cameraState, "error")
        mouseClick(marked)
        compare(grid.slots, ["", "", "", "cam2"])
        tryCompare(picker.popup, "visible", false)
        compare(openPicker(1).field.text, "")
        grid.restore({ "1x1": ["cam1"] }, "1x1")
        tryCompare(picker.popup, "visible", false)
        keyClick(Qt.Key_Right)
        compare(grid.currentSlot, 0, "the cell that the picker was opened for is gone")
    }

    function test_picker_survives_a_double_click_data() {
        return [{ tag: "under the picker", at: 5 }, { tag: "beside the picker", at: 200 }]
    }

    function test_picker_survives_a_double_click(data) {
        const popup = findChild(grid, "cameraPicker")
        mouseDoubleClickSequence(cell(3), data.at, data.at)
        verify(popup.visible)
        compare(grid.slots[3], "")
        tryVerify(() => popup.closePolicy & Popup.CloseOnPressOutside)
        mouseClick(cell(3), 200, 200)
        tryCompare(popup, "visible", false)
        compare(grid.slots[3], "")
    }

    // The list.

    // Moves the pressed mouse to a place in an item.
    function dragTo(item, x, y) {
        const position = item.mapToItem(testCase, x, y)
        mouseMove(testCase, position.x, position.y)
    }

    function dragFromRow(cameraId, x, y) {
        mousePress(row(cameraId), 30, 10)
        dragTo(row(cameraId), x, y)
    }

    // In two steps, as the drag has to be seen there.
    function dragToItem(item) {
        dragTo(item, 8, 8)
        dragTo(item, 10, 10)
    }

    function drop(item) {
        const position = item.mapToItem(testCase, 10, 10)
        mouseRelease(testCase, position.x, position.y)
    }

    // It is the list of a server that may send it anew at any time.
    function test_list_drag_places_and_moves() {
        for (const slot of [3, 0]) {
            dragFromRow("cam5", 60, 10)
            cameraFeed.list(20)
            dragToItem(cell(slot))
            verify(grid.anyDragActive)
            tryVerify(() => cell(slot).dropHovered)
            drop(cell(slot))
            compare(grid.slots.indexOf("cam5"), slot)
            compare(grid.slots.filter(id => id === "cam5").length, 1)
            verify(!grid.anyDragActive)
        }
        compare(page.clicked, "", "a drag is no click")
    }

    function test_list_drag_that_places_nothing_data() {
        return [
            { tag: "short move", to: [34, 13], starts: false },
            { tag: "dragging is off", to: [60, 10], starts: false, off: true },
            { tag: "dropped on the toolbar", to: [60, 10], starts: true, end: "presetButton_1x1" },
            { tag: "escape", to: [60, 10], starts: true, end: "videoCell_0", escape: true },
            { tag: "taken from the pointer", to: [60, 10], starts: true, end: "videoCell_0", taken: true }
        ]
    }

    function test_list_drag_that_places_nothing(data) {
        list.dragEnabled = !data.off
        dragFromRow("cam5", ...data.to)
        compare(findChild(page, "dragLayer").active, data.starts)
        const end = data.starts ? findChild(grid, data.end) : row("cam5")
        if (data.starts)
            dragToItem(end)
        if (data.escape)
            keyClick(Qt.Key_Escape)
        list.enabled = !data.taken
        drop(end)
        compare(grid.slots, ["", "", "", ""])
        compare(page.clicked, data.starts ? "" : "cam5")
        verify(!findChild(page, "dragLayer").active)
    }

    // Cells among themselves.

    function test_slot_drag_ends_with_the_preset() {
        grid.assignSlot(0, "cam1")
        grid.assignSlot(3, "cam2")
        mousePress(cell(0), 50, 50)
        mouseMove(cell(0), 55, 55)
        verify(!grid.slotDragActive, "7 px are no drag")
        mouseMove(cell(0), 56, 56)
        verify(grid.slotDragActive)
        for (const [slot, sign] of [[1, false], [3, true]]) {
            dragToItem(cell(slot))
            tryVerify(() => cell(slot).dropHovered)
            compare(findChild(cell(slot), "dropLabel").visible, sign, "the sign for a swap")
        }
        keyClick("3")
        keyClick("2")
        drop(cell(3))
        compare(grid.slots, ["cam1", "", "", "cam2"])
        compare([grid.slotDragActive, grid.dragSourceSlot, grid.maximizedSlot], [false, -1, -1])
    }
}
