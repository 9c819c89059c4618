import QtQuick
import QtTest
import ZorvelClient

TestCase {
    id: testCase

    name: "Export"
    when: windowShown
    visible: true
    width: 1200
    height: 700

    readonly property real latest: Date.now() - 3600000
    readonly property real hour: 3600000
    property PlaybackView page: null

    Component {
        id: pageComponent

        PlaybackView {
            anchors.fill: parent
        }
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

    function init() {
        Translations.language = "en"
        apiClient.reset()
        apiClient.acceptLogin("operator", [])
        cameraFeed.list(3)
        const idle = { downloading: false, downloadedBytes: 0, progress: 0, partial: false, error: "", savedPath: "",
            cancelled: 0 }
        for (const [name, value] of Object.entries(idle))
            exportModel[name] = value
        page = createTemporaryObject(pageComponent, testCase)
        page.toggleCamera("cam1")
        archiveFeed.giveRange("cam1", latest - 10 * hour, latest)
        page.player.state = "playing"
    }

    function text(name) {
        const found = findChild(page, name)
        return found.visible ? found.text : ""
    }

    function test_the_selection_begins_at_the_playhead_data() {
        return [
            { tag: "inside", playhead: latest - hour, bounds: [-hour, -hour + 60000] },
            { tag: "no playhead", playhead: 0, bounds: [-1000, 0] },
            { tag: "near the end", playhead: latest - 20000, bounds: [-20000, 0] },
            { tag: "at the end", playhead: latest - 500, bounds: [-1000, 0] },
            { tag: "before the recording", playhead: latest - 10 * hour - 30000,
                bounds: [-10 * hour, -10 * hour + 60000] }
        ]
    }

    function test_the_selection_begins_at_the_playhead(data) {
        page.player.currentTime = data.playhead
        press("exportButton")
        verify(page.exportMode)
        compare([page.exportStart - latest, page.exportEnd - latest], data.bounds)
        compare(text("exportRange"), formatUtils.exportRangeText(page.exportStart, page.exportEnd))
        verify(findChild(page, "timeline").selectionMode)
        page.toggleExportMode()
        verify(!findChild(page, "exportBar").visible)
    }

    function test_only_one_camera_can_be_exported() {
        page.toggleExportMode()
        page.toggleCamera("cam2")
        verify(!page.exportMode)
        verify(!findChild(page, "exportButton").visible)
        page.toggleCamera("cam2")
        verify(!page.exportMode)
    }

    function test_progress_and_cancel() {
        page.toggleExportMode()
        const download = findChild(page, "exportDownload")
        verify(download.enabled)
        exportModel.downloading = true
        verify(!download.enabled)
        compare(text("exportProgress"), "0%")
        exportModel.progress = 0.416
        exportModel.downloadedBytes = 12
        compare(text("exportProgress"), "42% · 12 bytes")
        press("exportCancel")
        compare(exportModel.cancelled, 1)
        verify(!page.exportMode)
        verify(findChild(page, "exportBar").visible)
        exportModel.downloading = false
        verify(!findChild(page, "exportBar").visible)
    }

    function test_a_complete_download_ends_the_export_and_a_partial_one_warns() {
        page.toggleExportMode()
        exportModel.partial = true
        exportModel.savedPath = "/videos/clip.mp4"
        exportModel.downloadFinished("/videos/clip.mp4")
        verify(page.exportMode)
        page.toggleExportMode()
        compare(text("exportPartial"), "Some footage was unavailable — the file has gaps")
        page.toggleExportMode()
        exportModel.partial = false
        exportModel.downloadFinished("/videos/clip.mp4")
        verify(!page.exportMode)
        compare(text("exportSaved"), "Saved: /videos/clip.mp4")
        compare(text("exportPartial"), "")
        press("exportCancel")
        verify(!findChild(page, "exportBar").visible)
    }

    function test_dragging_a_bound_changes_the_clip() {
        page.player.currentTime = latest - 3 * hour
        page.toggleExportMode()
        const timeline = findChild(page, "timeline")
        const x = timeline.timeToX(page.exportEnd)
        mousePress(timeline, x + 6, 40)
        mouseMove(timeline, x + 106, 40)
        mouseRelease(timeline, x + 106, 40)
        compareNear(page.exportEnd, timeline.xToTime(x + 106), 60000)
        compare(page.exportStart, latest - 3 * hour)
        compare(page.player.calls.filter(call => call[0] === "startFrom").length, 1)
    }
}
