import QtQuick
import QtTest
import ZorvelClient

TestCase {
    id: testCase

    name: "PlaybackView"
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
    function compareNear(actual, expected, hint) {
        verify(Math.abs(actual - expected) <= 2, (hint ?? "") + " " + actual + " != " + expected)
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
        archiveFeed.giveBatch(Object.assign({}, ...page.selectedCameras.map(id => ({ [id]: spans }))), spans)
    }

    function cell(cameraId) {
        return findChild(page, "archiveCell_" + cameraId)
    }

    // Where a player was started, as [camera, moment], in the order of the starts.
    function starts(player) {
        return player.calls.filter(call => call[0] === "startFrom").map(call => call.slice(1))
    }

    // One camera.

    function test_single_camera_autoplays_once() {
        tick("cam2")
        const message = findChild(page, "singleMessage")
        compare(message.text, "Loading footage...")
        archiveFeed.giveRange("cam1", earliest, latest)
        compare(starts(page.player), [])
        archiveFeed.giveRange("cam2", earliest, latest)
        archiveFeed.giveRange("cam2", earliest, latest + hour)
        compare(starts(page.player), [["cam2", latest - hour]])
        compareNear(timeline.viewStart, latest - 6 * hour)
        compareNear(timeline.viewEnd, latest)
        tick("cam2", "cam1")
        archiveFeed.giveRange("cam1", 0, 0)
        compare(message.text, "No recordings")
        compare(starts(page.player).length, 1)
        page.playFrom(latest)
        page.player.state = "playing"
        verify(!message.visible, "over the picture of a moment that was picked nevertheless")
    }

    function test_opening_a_moment() {
        page.openAt("cam4", latest - hour)
        page.openAt("cam4", latest - 2 * hour)
        archiveFeed.giveRange("cam4", earliest, latest)
        compare(starts(page.player), [["cam4", latest - 2 * hour]], "the last of two while it loads")
        findChild(page, "singleVideo").firstFrameRendered()
        findChild(page, "singleStallTimer").triggered()
        compare(findChild(page, "singleMessage").text, Translations.archiveNoFootageHere)
        page.playFrom(latest - 4 * hour)
        compare(findChild(page, "singleMessage").text, Translations.loadingSegment)
        page.openAt("cam5", latest)
        page.playFrom(latest - 3 * hour)
        archiveFeed.giveRange("cam5", earliest, latest)
        compare(page.player.currentTime, latest - 3 * hour)
        playGrid("cam1")
        page.openAt("cam3", latest - 8 * hour)
        archiveFeed.giveRange("cam3", earliest, latest)
        compare(starts(page.player).pop(), ["cam3", latest - 8 * hour], "alone again")
        compareNear(timeline.viewStart, latest - 11 * hour)
    }

    function test_clip_to_export_data() {
        return [
            { tag: "inside", playhead: latest - hour, bounds: [-hour, -hour + 60000] },
            { tag: "no playhead", playhead: 0, bounds: [-1000, 0] },
            { tag: "near the end", playhead: latest - 20000, bounds: [-20000, 0] },
            { tag: "before the recording", playhead: earliest - 30000,
                bounds: [earliest - latest, earliest - latest + 60000] }
        ]
    }

    function test_clip_to_export(data) {
        playSingle("cam1")
        page.player.currentTime = data.playhead
        press("exportButton")
        compare([page.exportStart - latest, page.exportEnd - latest], data.bounds)
        verify(timeline.selectionMode)
        verify(page.exportStart >= timeline.viewStart && page.exportStart <= timeline.viewEnd)
        tick("cam2")
        page.toggleExportMode()
        verify(!page.exportMode, "of one camera only")
        verify(!findChild(page, "exportButton").visible)
        tick("cam2")
        verify(!page.exportMode)
    }

    function test_space_plays_and_pauses_after_the_mouse_was_elsewhere() {
        playSingle("cam1")
        keyClick(Qt.Key_Escape)
        press("speedButton")
        const menu = findChild(findChild(page, "speedButton"), "speedMenu")
        tryCompare(menu, "opened", true)
        for (const key of [Qt.Key_Down, Qt.Key_Down, Qt.Key_Return])
            keyClick(key)
        tryCompare(menu, "visible", false)
        keyClick(Qt.Key_Space)
        compare([page.player.state, page.player.speed], ["paused", 4])

        page.toggleExportMode()
        const download = findChild(page, "exportDownload")
        download.forceActiveFocus(Qt.TabFocusReason)
        download.enabled = false
        download.enabled = true
        keyClick(Qt.Key_Space)
        compare(page.player.state, "playing")
    }

    // The grid.

    function test_moment_and_speed_are_kept_between_one_camera_and_several() {
        playSingle("cam1")
        page.setSpeed(4)
        page.player.currentTime = latest - 4 * hour
        playGrid("cam2")
        compare(page.gridPlayheadTime, latest - 4 * hour)
        compare(cell("cam1").playbackSpeed, 4)
        verify(page.gridPlaying)
        page.setSpeed(0.5)
        page.gridPlayheadTime = latest - 5 * hour
        tick("cam1")
        archiveFeed.giveRange("cam2", earliest, latest)
        compare(starts(page.player).pop(), ["cam2", latest - 5 * hour])
        compare(page.player.speed, 0.5)
        verify(!page.gridPlaying)
    }

    function test_grid_without_a_moment_starts_near_the_end() {
        playGrid("cam1", "cam2", "cam3")
        const third = findChild(cell("cam3"), "cellPlayer")
        compare(starts(third), [["cam3", latest - hour]])
        page.gridPlayheadTime += 100
        compare(third.calls.pop(), ["showAt", latest - hour + 100])
        page.gridPlayheadTime = earliest
        third.calls = []
        page.gridPlayheadTime += 2000
        page.gridPlayheadTime -= 2001
        compare(third.calls, [["showAt", earliest + 2000], ["setCoverage", 0], ["showAt", earliest - 1]],
            "after a jump it may ask again where it found nothing")
        cameraFeed.list(6, "Door")
        compare(cell("cam3").cameraName, "Door 3")
        mouseClick(findChild(cell("cam2"), "cellCloseButton"))
        compare(page.selectedCameras, ["cam1", "cam3"])
        compare(cell("cam2"), null)
        compare(findChild(cell("cam3"), "cellPlayer"), third, "cells that stay are not made anew")
        cameraFeed.list(0)
        compare(page.selectedCameras.length, 2)
        cameraFeed.list(2)
        compare(page.selectedCameras, ["cam1"], "a camera that is gone")
    }

    function test_cell_messages_and_pausing() {
        playGrid("cam1", "cam2")
        const player = findChild(cell("cam1"), "cellPlayer")
        const message = findChild(cell("cam1"), "cellMessage")
        player.state = "loading"
        compare(message.text, "Loading...")
        findChild(cell("cam1"), "cellStallTimer").triggered()
        compare(message.text, "No footage")
        for (const [state, expected] of [["playing", ""], ["ended", "No footage"], ["loading", "Loading..."],
                ["error", "Playback error"], ["playing", ""]]) {
            player.state = state
            compare(message.visible ? message.text : "", expected)
        }
        page.gridPlaying = false
        compare(player.state, "paused")
        player.state = "loading"
        player.state = "playing"
        compare(player.state, "paused", "one that comes late")
        page.gridPlaying = true
        compare(player.state, "playing")
    }

    // Time navigation.

    function test_ranges_to_choose() {
        playSingle("cam1")
        const day = new Date(latest)
        day.setHours(0, 0, 0, 0)
        const rows = [
            ["navAll", earliest, latest],
            ["navToday", day.getTime(), day.getTime() + 24 * hour],
            ["navYesterday", day.getTime() - 24 * hour, day.getTime()],
            ["navLast24h", latest - 24 * hour, latest],
            ["navLastHour", latest - hour, latest],
            ["navPrevDay", latest - 25 * hour, latest - 24 * hour],
            ["navNextDay", latest - hour, latest],
            ["navZoomIn", latest - 0.75 * hour, latest - 0.25 * hour],
            ["navZoomOut", latest - hour, latest]
        ]
        for (const [name, from, to] of rows) {
            press(name)
            compareNear(timeline.viewStart, from, name)
            compareNear(timeline.viewEnd, to, name)
        }
    }

    function test_every_text_fits_in_both_languages() {
        playSingle("cam1")
        page.toggleExportMode()
        page.anchors.fill = null
        page.width = 800
        page.height = 600
        for (const language of ["ru", "en"]) {
            Translations.language = language
            wait(0)
            for (const row of Array.from(timeline.parent.children)) {
                for (const item of row.visible ? Array.from(row.children) : []) {
                    if (item.visible && item.width > 0)
                        verify(item.x + item.width <= row.width, language + " " + item.objectName)
                }
            }
        }
        verify(findChild(page, "singleVideo").height > 150)
    }
}
