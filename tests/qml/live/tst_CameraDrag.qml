import QtQuick
import QtTest
import ZorvelClient

TestCase {
    id: testCase

    name: "CameraDrag"
    when: windowShown
    visible: true
    width: 840
    height: 520

    property string clicked: ""

    // A camera list beside a grid, wired as a window with both does it.
    CameraList {
        id: list

        height: parent.height
        width: 200
        onCameraClicked: cameraId => testCase.clicked = cameraId
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

        anchors.fill: parent
    }

    function init() {
        cameraFeed.list(20)
        waitForRendering(list)
    }

    // Drags a row to an item, in two steps, as the drag has to be seen there; returns where it can be dropped.
    function drag(cameraId, item) {
        const row = findChild(list, "cameraRow_" + cameraId)
        mousePress(row, 30, 10)
        mouseMove(row, 60, 10)
        // It is the list of a server that may send it anew at any time.
        cameraFeed.list(20)
        mouseMove(item, 8, 8)
        mouseMove(item, 10, 10)
        verify(grid.anyDragActive)
        return item.mapToItem(testCase, 10, 10)
    }

    function test_drops() {
        for (const [end, key, slot] of [["videoCell_3", 0, 3], ["videoCell_0", 0, 0], ["presetButton_1x1", 0, 0],
                ["videoCell_1", Qt.Key_Escape, 0]]) {
            const place = drag("cam5", findChild(grid, end))
            if (key)
                keyClick(key)
            else if (end.startsWith("videoCell"))
                tryVerify(() => findChild(grid, end).dropHovered)
            mouseRelease(testCase, place.x, place.y)
            compare(grid.slots.indexOf("cam5"), slot, end)
            compare(grid.slots.filter(id => id === "cam5").length, 1)
            verify(!grid.anyDragActive)
        }
        const place = drag("cam6", findChild(grid, "videoCell_2"))
        list.enabled = false
        mouseRelease(testCase, place.x, place.y)
        list.enabled = true
        compare(grid.slots.indexOf("cam6"), -1, "taken from the pointer")
        compare(clicked, "", "a drag is no click")
        const row = findChild(list, "cameraRow_cam5")
        mousePress(row, 30, 10)
        mouseMove(row, 34, 13)
        mouseRelease(row, 34, 13)
        compare(clicked, "cam5", "a short move is none")
    }
}
