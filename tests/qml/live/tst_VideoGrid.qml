import QtQuick
import QtQuick.Controls
import QtTest
import ZorvelClient

TestCase {
    id: testCase

    name: "VideoGrid"
    when: windowShown
    visible: true
    width: 640
    height: 520

    property VideoGrid grid: null

    Component {
        id: gridComponent

        VideoGrid {
            anchors.fill: parent
        }
    }
    SignalSpy {
        id: spy

        signalName: "streamStateChanged"
    }

    function init() {
        Translations.language = "en"
        apiClient.reset()
        apiClient.acceptLogin("operator", [])
        cameraFeed.list(20)
        grid = createTemporaryObject(gridComponent, testCase)
        grid.forceActiveFocus()
        waitForRendering(grid)
        mouseMove(testCase, 0, 0)
    }

    function cell(index) {
        return findChild(grid, "videoCell_" + index)
    }

    // The stream views that exist, parked ones included: camera id to view.
    function views() {
        const items = Array.from(findChild(grid, "streamLayer").children).filter(item => item.cameraId !== undefined)
        return Object.assign({}, ...items.map(item => ({ [item.cameraId]: item })))
    }

    function place(...cameraIds) {
        cameraIds.forEach((cameraId, index) => grid.assignSlot(index, cameraId))
        wait(0)
    }

    // Cells.

    // Chrome and video sit in the same place: the cell's units of the area less a pixel on each side.
    function test_geometry() {
        const area = findChild(grid, "streamLayer")
        const rounded = rect => rect.map(value => Math.round(value * 100) / 100)
        const rectOf = item => rounded([item.x, item.y, item.width, item.height])
        for (const [preset, cols, rows, slot, x, y, span] of [["8x8", 8, 8, 9, 1, 1, 1], ["1+7", 4, 3, 1, 2, 0, 1],
                ["2+8", 4, 4, 1, 2, 0, 2]]) {
            grid.currentLayout = preset
            grid.assignSlot(slot, "cam1")
            const [w, h] = [area.width / cols, area.height / rows]
            const expected = rounded([x * w + 1, y * h + 1, span * w - 2, span * h - 2])
            compare(rectOf(cell(slot)), expected, preset)
            tryVerify(() => "cam1" in views())
            tryVerify(() => String(rectOf(views().cam1)) === String(expected), undefined, preset)
            verify(grid.cells === 64 || !cell(grid.cells).visible, "a cell beyond the preset")
        }
    }

    function test_streams_end_with_the_session() {
        grid.assignSlot(0, "cam1")
        grid.assignSlot(1, "cam2")
        wait(0)
        grid.clearSlot(1)
        wait(0)
        compare(Object.keys(views()).sort(), ["cam1", "cam2"], "one of them parked")
        grid.maximizedSlot = 0
        apiClient.expire()
        cameraFeed.list(0)
        compare(grid.maximizedSlot, -1)
        compare(Object.keys(views()), [])
        grid.suspended = true
        wait(0)
        compare(Object.keys(views()), [], "nothing is watched without a session")
        grid.suspended = false
        grid.visible = false
        apiClient.acceptLogin("another", [])
        grid.visible = true
        wait(0)
        compare(Object.keys(views()), [], "nor before it is known what the next user may see")
        cameraFeed.list(20)
        tryVerify(() => "cam1" in views())
    }

    function test_arrows_and_the_focus() {
        keyClick(Qt.Key_7)
        grid.focusSlot(0, Qt.TabFocusReason)
        for (const [key, slot] of [[Qt.Key_Right, 1], [Qt.Key_Right, 1], [Qt.Key_Down, 2], [Qt.Key_Left, 0],
                [Qt.Key_Down, 3], [Qt.Key_Up, 0], [Qt.Key_End, 5]]) {
            keyClick(key)
            compare(grid.currentSlot, slot)
            verify(cell(slot).visualFocus)
        }
        grid.currentLayout = "2x2"
        compare(grid.currentSlot, 3, "the focus stays on a visible cell")
        verify(cell(3).visualFocus)
        grid.assignSlot(0, "cam1")
        grid.maximizedSlot = 0
        verify(cell(0).activeFocus)
    }

    function test_the_key_for_another_attempt() {
        place("cam1")
        grid.focusSlot(0, Qt.TabFocusReason)
        views().cam1.init(unreachableApiClient)
        tryCompare(cell(0), "streamState", "error")
        verify(cell(0).Accessible.name.includes(Translations.connectionError))
        spy.target = cell(0)
        spy.clear()
        keyClick(Qt.Key_R)
        verify(spy.count > 0, "at once, not when it would recover by itself")
    }

    function test_empty_list_prunes_nothing() {
        cameraFeed.list(0)
        grid = createTemporaryObject(gridComponent, testCase)
        grid.restore({ "2x2": ["cam1", "gone", "", "cam2"] }, "2x2")
        compare(grid.slots, ["cam1", "gone", "", "cam2"])
        compare([cell(0).known, cell(0).occupied], [false, false])
        wait(0)
        compare(Object.keys(views()), [], "no streams of who knows whose cameras")
        grid.maximizedSlot = 0
        mouseClick(findChild(cell(0), "cellRestoreButton"))
        compare(grid.maximizedSlot, -1)
        cameraFeed.list(5)
        compare(grid.slots, ["cam1", "", "", "cam2"])
        compare([cell(0).cameraName, cell(0).occupied, cell(3).hasSub], ["Camera 1", true, true])
        tryVerify(() => views().cam2?.hasSubStream)
    }

    // The picker.

    function openPicker(slot) {
        grid.openCameraPicker(slot)
        const picker = findChild(grid, "cameraPicker")
        tryCompare(picker, "opened", true)
        tryVerify(() => picker.closePolicy & Popup.CloseOnPressOutside)
        waitForRendering(picker.contentItem)
        return picker
    }

    function test_picker_filters_picks_and_marks() {
        grid.assignSlot(0, "cam20")
        const picker = openPicker(3)
        const rows = findChild(picker.contentItem, "cameraRows")
        const field = findChild(picker.contentItem, "cameraSearchField")
        verify(field.activeFocus)
        field.text = "zzz"
        verify(findChild(rows, "emptyLabel").visible)
        keyClick(Qt.Key_Return)
        verify(picker.opened)
        field.text = "2"
        compare(rows.count, 3)
        tryVerify(() => findChild(rows, "cameraRow_cam20")?.mark === "Cell 1")
        // Not beyond the ends.
        for (const key of [Qt.Key_Up, Qt.Key_PageDown, Qt.Key_Down])
            keyClick(key)
        cameraFeed.list(20)
        keyClick(Qt.Key_Return)
        compare(grid.slots, ["", "", "", "cam20"])
        tryCompare(picker, "visible", false)
        openPicker(1)
        compare(field.text, "")
        grid.restore({ "1x1": ["cam1"] }, "1x1")
        tryCompare(picker, "visible", false)
        keyClick(Qt.Key_Right)
        compare(grid.currentSlot, 0, "the cell that the picker was opened for is gone")
    }

    function test_picker_survives_a_double_click() {
        const popup = findChild(grid, "cameraPicker")
        mouseDoubleClickSequence(cell(3), 200, 200)
        verify(popup.visible)
        tryVerify(() => popup.closePolicy & Popup.CloseOnPressOutside)
        mouseClick(cell(3), 200, 200)
        tryCompare(popup, "visible", false)
        compare(grid.slots[3], "")
    }

    // Dragging.

    // Moves the pressed mouse to an item, in two steps, as the drag has to be seen there.
    function dragTo(item) {
        for (const at of [8, 10]) {
            const position = item.mapToItem(testCase, at, at)
            mouseMove(testCase, position.x, position.y)
        }
    }

    function drop(item) {
        const position = item.mapToItem(testCase, 10, 10)
        mouseRelease(testCase, position.x, position.y)
    }

    function test_cells_swap_by_dragging() {
        grid.assignSlot(0, "cam1")
        grid.assignSlot(3, "cam2")
        for (const swapped of [false, true]) {
            mousePress(cell(0), 50, 50)
            mouseMove(cell(0), 55, 55)
            verify(!grid.slotDragActive, "7 px are no drag")
            mouseMove(cell(0), 56, 56)
            verify(grid.slotDragActive)
            for (const [slot, sign] of [[1, false], [3, true]]) {
                dragTo(cell(slot))
                tryVerify(() => cell(slot).dropHovered)
                compare(findChild(cell(slot), "dropLabel").visible, sign, "the sign for a swap")
            }
            if (!swapped) {
                // A drag ends with its preset.
                keyClick("3")
                keyClick("2")
            }
            drop(cell(3))
            compare(grid.slots, swapped ? ["cam2", "", "", "cam1"] : ["cam1", "", "", "cam2"])
            compare([grid.slotDragActive, grid.dragSourceSlot, grid.maximizedSlot], [false, -1, -1])
        }
    }
}
