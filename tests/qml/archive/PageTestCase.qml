import QtQuick
import QtTest
import ZorvelClient

// The archive page with six cameras, and what its tests do with it.
TestCase {
    id: testCase

    when: windowShown
    visible: true
    width: 1200
    height: 700

    readonly property real hour: 3600000
    readonly property real latest: Date.now() - hour
    readonly property real earliest: latest - 100 * hour
    property PlaybackView page: null
    property Item timeline: null

    Component {
        id: pageComponent

        PlaybackView {
            anchors.fill: parent
            focus: true
        }
    }

    function init() {
        Translations.language = "en"
        apiClient.reset()
        apiClient.acceptLogin("operator", [])
        cameraFeed.list(6)
        exportModel.reset()
        page = createTemporaryObject(pageComponent, testCase)
        page.forceActiveFocus()
        timeline = findChild(page, "timeline")
        mouseMove(testCase, 0, 0)
    }

    // Clicks where the layout has put it.
    function press(name) {
        waitForRendering(page)
        mouseClick(findChild(page, name))
    }

    // fuzzyCompare() works in single precision, too coarse for instants.
    function compareNear(actual, expected, tolerance, hint) {
        verify(Math.abs(actual - expected) <= tolerance, (hint ?? "") + " " + actual + " != " + expected)
    }

    function text(name) {
        const found = findChild(page, name)
        return found.visible ? found.text : ""
    }

    function tick(...cameraIds) {
        cameraIds.forEach(cameraId => page.toggleCamera(cameraId))
    }

    // One camera that plays.
    function playSingle(cameraId) {
        tick(cameraId)
        archiveFeed.giveRange(cameraId, earliest, latest)
        findChild(page, "singleVideo").firstFrameRendered()
        page.player.state = "playing"
    }

    // Several cameras with the same footage.
    function playGrid(...cameraIds) {
        tick(...cameraIds)
        const spans = [{ start: latest - 2 * hour, end: latest }]
        const perCamera = {}
        page.selectedCameras.forEach(cameraId => perCamera[cameraId] = spans)
        archiveFeed.giveBatch(perCamera, spans)
    }

    function calls(player, name) {
        return player.calls.filter(call => call[0] === name)
    }
}
