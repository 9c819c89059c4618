import QtQuick
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
            focus: true
        }
    }

    Component {
        id: spyComponent

        SignalSpy { }
    }

    function init() {
        Translations.language = "en"
        apiClient.reset()
        apiClient.acceptLogin("operator", [])
        cameraFeed.list(20)
        grid = createTemporaryObject(gridComponent, testCase)
        grid.forceActiveFocus()
        mouseMove(testCase, 0, 0)
    }

    function cell(index) {
        return findChild(grid, "videoCell_" + index)
    }

    function picker() {
        return findChild(grid, "cameraPicker")
    }

    function streams() {
        return findChild(grid, "streamLayer")
    }

    // The stream views that exist, parked ones included: camera id to view.
    function views() {
        const result = {}
        for (const item of Array.from(streams().children)) {
            if (item.cameraId !== undefined)
                result[item.cameraId] = item
        }
        return result
    }

    function place(...cameraIds) {
        cameraIds.forEach((cameraId, index) => grid.assignSlot(index, cameraId))
        wait(0)
    }

    // Placement.

    function test_geometry_data() {
        return [
            { tag: "1x1", slot: 0, units: [0, 0, 1, 1], cols: 1, rows: 1, last: [0, 0, 1, 1] },
            { tag: "8x8", slot: 9, units: [1, 1, 1, 1], cols: 8, rows: 8, last: [7, 7, 1, 1] },
            { tag: "1+5", slot: 0, units: [0, 0, 2, 2], cols: 3, rows: 3, last: [2, 2, 1, 1] },
            { tag: "1+7", slot: 1, units: [2, 0, 1, 1], cols: 4, rows: 3, last: [2, 2, 2, 1] },
            { tag: "2+8", slot: 1, units: [2, 0, 2, 2], cols: 4, rows: 4, last: [3, 3, 1, 1] }
        ]
    }

    // Chrome and video sit in the same place: the cell's units of the area less a pixel on each side.
    function test_geometry(data) {
        grid.currentLayout = data.tag
        grid.assignSlot(data.slot, "cam1")
        const [w, h] = [streams().width / data.cols, streams().height / data.rows]
        const rounded = rect => rect.map(value => Math.round(value * 100) / 100)
        const rectOf = item => rounded([item.x, item.y, item.width, item.height])
        const expected = ([x, y, cols, rows]) => rounded([x * w + 1, y * h + 1, cols * w - 2, rows * h - 2])
        compare(rectOf(cell(data.slot)), expected(data.units))
        compare(rectOf(cell(grid.cells - 1)), expected(data.last))
        tryVerify(() => "cam1" in views())
        compare(rectOf(views().cam1), expected(data.units))
        verify(grid.cells === 64 || !cell(grid.cells).visible, "a cell beyond the preset")
    }

    function test_streams_end_with_the_session() {
        place("cam1", "cam2")
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

    // Maximising.

    // Keyboard.

    function test_arrows_move_and_swap() {
        keyClick(Qt.Key_7)
        place("cam1")
        grid.focusSlot(0, Qt.TabFocusReason)
        const walk = [
            [Qt.Key_Right, 1], [Qt.Key_Right, 1], [Qt.Key_Down, 2], [Qt.Key_Left, 0], [Qt.Key_Down, 3],
            [Qt.Key_Up, 0], [Qt.Key_End, 5], [Qt.Key_Home, 0]
        ]
        for (const [key, slot] of walk) {
            keyClick(key)
            compare(grid.currentSlot, slot)
            verify(cell(slot).visualFocus)
        }
        keyClick(Qt.Key_Right, Qt.ControlModifier)
        compare(grid.slots[1], "cam1")
        compare([grid.slots[0], grid.currentSlot], ["", 1])
    }

    function test_focus_stays_on_a_visible_cell() {
        grid.currentLayout = "3x3"
        grid.assignSlot(0, "cam1")
        grid.focusSlot(8, Qt.TabFocusReason)
        grid.currentLayout = "2x2"
        compare(grid.currentSlot, 3)
        verify(cell(3).visualFocus)
        grid.maximizedSlot = 0
        verify(cell(0).activeFocus)
    }

    // What a cell shows.

    function test_the_key_for_another_attempt() {
        place("cam1")
        grid.focusSlot(0, Qt.TabFocusReason)
        views().cam1.init(unreachableApiClient)
        tryCompare(cell(0), "streamState", "error")
        verify(cell(0).Accessible.name.includes(Translations.connectionError))
        const spy = createTemporaryObject(spyComponent, testCase, { target: cell(0), signalName: "streamStateChanged" })
        keyClick(Qt.Key_R)
        verify(spy.count > 0, "at once, not when it would recover by itself")
    }

    // Stale slots.

    function test_empty_list_prunes_nothing() {
        cameraFeed.list(0)
        grid.restore({ "2x2": ["cam1", "gone", "", "cam2"], "1x1": ["gone"] }, "2x2")
        compare(grid.slots, ["cam1", "gone", "", "cam2"])
        compare([cell(0).known, cell(0).occupied], [false, false])
        grid.maximizedSlot = 0
        mouseClick(findChild(cell(0), "cellRestoreButton"))
        compare(grid.maximizedSlot, -1)
        cameraFeed.list(5)
        compare(grid.slots, ["cam1", "", "", "cam2"])
        compare(grid.layoutSlots["1x1"], [""])
        compare([cell(0).cameraName, cell(0).occupied, cell(3).hasSub], ["Camera 1", true, true])
        tryVerify(() => views().cam2?.hasSubStream)
        grid.restore({ "2x2": ["gone"] }, "2x2")
        compare(grid.slots, ["", "", "", ""])
    }
}
