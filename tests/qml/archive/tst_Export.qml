import QtQuick
import ZorvelClient

PageTestCase {
    name: "Export"

    function test_the_selection_begins_at_the_playhead_data() {
        return [
            { tag: "inside", playhead: latest - hour, bounds: [-hour, -hour + 60000] },
            { tag: "no playhead", playhead: 0, bounds: [-1000, 0] },
            { tag: "near the end", playhead: latest - 20000, bounds: [-20000, 0] },
            { tag: "at the end", playhead: latest - 500, bounds: [-1000, 0] },
            { tag: "before the recording", playhead: earliest - 30000,
                bounds: [earliest - latest, earliest - latest + 60000] }
        ]
    }

    function test_the_selection_begins_at_the_playhead(data) {
        playSingle("cam1")
        page.player.currentTime = data.playhead
        press("exportButton")
        compare([page.exportStart - latest, page.exportEnd - latest], data.bounds)
        compare(text("exportRange"), formatUtils.exportRangeText(page.exportStart, page.exportEnd))
        verify(timeline.selectionMode)
    }

    function test_only_one_camera_can_be_exported() {
        playSingle("cam1")
        page.toggleExportMode()
        tick("cam2")
        verify(!page.exportMode)
        verify(!findChild(page, "exportButton").visible)
        tick("cam2")
        verify(!page.exportMode)
    }

    function test_progress_and_cancel() {
        playSingle("cam1")
        page.toggleExportMode()
        exportModel.downloading = true
        verify(!findChild(page, "exportDownload").enabled)
        compare(text("exportProgress"), "0%")
        exportModel.progress = 0.416
        exportModel.downloadedBytes = 12
        compare(text("exportProgress"), "42% · 12 bytes")
        press("exportCancel")
        compare(exportModel.cancelled, 1)
        verify(findChild(page, "exportBar").visible, "until the download has ended")
        exportModel.downloading = false
        verify(!findChild(page, "exportBar").visible)

        page.toggleExportMode()
        findChild(page, "exportDownload").forceActiveFocus(Qt.TabFocusReason)
        exportModel.downloading = true
        exportModel.downloading = false
        keyClick(Qt.Key_Space)
        compare(page.player.state, "paused")
    }
}
