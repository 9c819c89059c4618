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

    readonly property real latest: Date.now() - 3600000
    readonly property real hour: 3600000
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
        cameraFeed.list(6)
        const idle = { downloading: false, partial: false, error: "", savedPath: "", cancelled: 0 }
        for (const [name, value] of Object.entries(idle))
            exportModel[name] = value
        page = createTemporaryObject(pageComponent, testCase)
        page.forceActiveFocus()
        timeline = findChild(page, "timeline")
        mouseMove(testCase, 0, 0)
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
        giveBatch()
    }

    function giveBatch() {
        const spans = [{ start: latest - 2 * hour, end: latest }]
        const perCamera = {}
        page.selectedCameras.forEach(cameraId => perCamera[cameraId] = spans)
        archiveFeed.giveBatch(perCamera, spans)
    }

    function cell(cameraId) {
        return findChild(page, "archiveCell_" + cameraId)
    }

    function calls(player, name) {
        return player.calls.filter(call => call[0] === name)
    }

    function view() {
        return [timeline.viewStart, timeline.viewEnd]
    }

    function message(name) {
        const found = findChild(page, name)
        return found.visible ? found.text : ""
    }

    // Selection.

    function test_ticking_with_the_mouse_and_the_limit() {
        for (let i = 1; i <= 5; ++i)
            press("cameraRow_cam" + i)
        compare(page.selectedCameras, ["cam1", "cam2", "cam3", "cam4"])
        verify(page.gridMode)
        compare(page.activeCameraIds(), page.selectedCameras)
        compare(findChild(page, "selectionCounter").text, "Selected: 4 of 4")
        press("cameraRow_cam2")
        compare(page.selectedCameras, ["cam1", "cam3", "cam4"])
        tick("cam1", "cam3", "cam4")
        compare(page.activeCameraIds(), [])
        compare(message("singleMessage"), "Select one to four cameras")
        verify(!findChild(page, "timeNav").visible)
    }

    function test_single_camera_autoplays() {
        compare(message("singleMessage"), "Select one to four cameras")
        tick("cam2")
        compare(timelineModel.cameraId, "cam2")
        compare(message("singleMessage"), "Loading footage...")
        archiveFeed.giveRange("cam1", earliest, latest)
        compare(calls(page.player, "startFrom").length, 0)
        archiveFeed.giveRange("cam2", earliest, latest)
        compare(calls(page.player, "startFrom"), [["startFrom", "cam2", latest - hour]])
        compareNear(timeline.viewStart, latest - 6 * hour, 1)
        compareNear(timeline.viewEnd, latest, 1)
        findChild(page, "singleVideo").firstFrameRendered()
        page.player.state = "playing"
        compare(message("singleMessage"), "")
        archiveFeed.giveRange("cam2", earliest, latest + hour)
        compare(calls(page.player, "startFrom").length, 1)
    }

    function test_without_footage_nothing_plays() {
        tick("cam1")
        archiveFeed.giveRange("cam1", 0, 0)
        compare(calls(page.player, "startFrom").length, 0)
        compare(message("singleMessage"), "No recordings")
        tick("cam1", "cam2")
        archiveFeed.failRange("cam2")
        compare(message("singleMessage"), "No recordings")
    }

    function test_opening_a_moment() {
        page.openAt("", latest)
        compare(page.selectedCameras, [])
        page.openAt("cam3", latest - 5 * hour)
        compare(page.selectedCameras, ["cam3"])
        archiveFeed.giveRange("cam3", earliest, latest)
        compare(calls(page.player, "startFrom"), [["startFrom", "cam3", latest - 5 * hour]])
        compare(page.pendingSeekMs, 0)
        page.openAt("cam3", latest - 7 * hour)
        compare(calls(page.player, "seek"), [["seek", latest - 7 * hour]])
        page.openAt("cam4", latest - hour)
        page.openAt("cam4", latest - 2 * hour)
        archiveFeed.giveRange("cam4", earliest, latest)
        compare(page.player.currentTime, latest - 2 * hour)
        playGrid("cam1")
        page.openAt("cam3", latest - 8 * hour)
        archiveFeed.giveRange("cam3", earliest, latest)
        compare(calls(page.player, "startFrom"), [["startFrom", "cam3", latest - 8 * hour]])
        compareNear(timeline.viewStart, latest - 11 * hour, 1)
    }

    function test_the_same_camera_again_after_the_page_was_left() {
        playSingle("cam1")
        page.destroy()
        wait(0)
        init()
        tick("cam1")
        archiveFeed.giveRange("cam1", earliest, latest)
        compare(calls(page.player, "startFrom").length, 1)
    }

    function test_stall_and_end_of_the_archive() {
        playSingle("cam1")
        page.player.state = "loading"
        compare(message("singleMessage"), "Loading footage...")
        findChild(page, "singleStallTimer").triggered()
        compare(message("singleMessage"), "No footage at this moment")
        page.player.state = "playing"
        compare(message("singleMessage"), "")
        for (const [state, text] of [["ended", "End of the archive reached"], ["error", "Playback error"]]) {
            page.player.state = state
            compare(message("singleMessage"), text)
        }
    }

    // Controls.

    function test_controls_of_a_single_camera() {
        page.seekBy(10000)
        compare(calls(page.player, "seek").length, 0)
        playSingle("cam1")
        const now = page.player.currentTime
        compare(findChild(page, "playheadText").text, Qt.formatDateTime(new Date(now), "dd.MM.yyyy HH:mm:ss"))
        const actions = [
            [() => press("playPauseButton"), () => compare(page.player.state, "paused")],
            [() => keyClick(Qt.Key_Space), () => compare(page.player.state, "playing")],
            [() => keyClick(Qt.Key_Left), () => compare(page.player.currentTime, now - 10000)],
            [() => press("stepForwardButton"), () => compare(page.player.currentTime, now)],
            [() => keyClick(Qt.Key_Right), () => compare(page.player.currentTime, now + 10000)],
            [() => press("stepBackButton"), () => compare(page.player.currentTime, now)],
            [() => keyClick(Qt.Key_End), () => compare(page.player.currentTime, latest)]
        ]
        timeline.forceActiveFocus()
        for (const [act, check] of actions) {
            act()
            check()
        }
    }

    function test_speeds() {
        playSingle("cam1")
        const button = findChild(page, "speedButton")
        compare(button.sign, "1x ▾")
        mouseClick(button)
        const entries = [0, 1, 2, 3].map(index => findChild(button, "speedMenu").itemAt(index))
        compare(entries.map(entry => entry.text), ["0.5x", "1x  ✓", "2x", "4x"])
        entries[3].triggered()
        compare(page.player.speed, 4)
        compare(button.sign, "4x ▾")
        playGrid("cam2")
        compare(cell("cam1").playbackSpeed, 4)
        page.setSpeed(0.5)
        compare(page.gridSpeed, 0.5)
        tick("cam2")
        compare(page.player.speed, 0.5)
    }

    // The grid.

    function test_grid_starts_where_the_single_camera_was() {
        playSingle("cam1")
        page.player.currentTime = latest - 4 * hour
        tick("cam2")
        compare(page.gridPlayheadTime, latest - 4 * hour)
        verify(page.gridPlaying)
        page.gridPlayheadTime = latest - 5 * hour
        tick("cam1")
        archiveFeed.giveRange("cam2", earliest, latest)
        compare(calls(page.player, "startFrom"), [["startFrom", "cam2", latest - 5 * hour]])
        verify(!page.gridPlaying)
    }

    function test_grid_without_a_moment_starts_near_the_end() {
        playGrid("cam1", "cam2")
        compare(page.gridPlayheadTime, latest - hour)
        verify(page.gridPlaying)
        const player = findChild(cell("cam2"), "cellPlayer")
        compare(calls(player, "startFrom"), [["startFrom", "cam2", latest - hour]])
        compare(calls(player, "setSynchronized"), [["setSynchronized", true]])
        page.gridPlayheadTime += 100
        compare(calls(player, "showAt").pop(), ["showAt", latest - hour + 100])
    }

    function test_cells_that_stay_are_not_made_anew() {
        playGrid("cam1", "cam2", "cam3")
        const first = cell("cam1")
        const third = cell("cam3")
        compare([first.width, first.height], [third.width, third.height])
        mouseClick(findChild(cell("cam2"), "cellCloseButton"))
        compare(page.selectedCameras, ["cam1", "cam3"])
        compare(cell("cam1"), first)
        compare(cell("cam3"), third)
        verify(!cell("cam2"))
        waitForRendering(page)
        verify(third.x > first.x && third.y === first.y)
    }

    function test_clock() {
        playGrid("cam1", "cam2")
        page.setSpeed(4)
        const start = page.gridPlayheadTime
        const began = Date.now()
        tryVerify(() => page.gridPlayheadTime > start + 1200)
        verify(page.gridPlayheadTime - start <= (Date.now() - began + 250) * 4)
        press("playPauseButton")
        const stopped = page.gridPlayheadTime
        wait(300)
        compare(page.gridPlayheadTime, stopped)
        page.gridPlayheadTime = Date.now() - 100
        page.playPause()
        for (let i = 0; i < 10; ++i) {
            wait(50)
            verify(page.gridPlayheadTime <= Date.now())
        }
        page.playFrom(Date.now() + hour)
        verify(page.gridPlayheadTime <= Date.now())
        page.seekBy(hour)
        verify(page.gridPlayheadTime <= Date.now())
    }

    function test_cell_messages_and_pausing() {
        playGrid("cam1", "cam2")
        const shown = cell("cam1")
        const player = findChild(shown, "cellPlayer")
        const text = () => {
            const found = findChild(shown, "cellMessage")
            return found.visible ? found.text : ""
        }
        player.state = "loading"
        compare(text(), "Loading...")
        findChild(shown, "cellStallTimer").triggered()
        compare(text(), "No footage")
        for (const [state, expected] of [["playing", ""], ["no_footage", "No footage"], ["loading", "Loading..."],
            ["ended", "No footage"], ["error", "Playback error"], ["loading", "Loading..."], ["playing", ""]]) {
            player.state = state
            compare(text(), expected)
        }
        page.gridPlaying = false
        compare(player.state, "paused")
        page.gridPlaying = true
        compare(player.state, "playing")
        page.gridPlaying = false
        player.state = "loading"
        player.state = "playing"
        compare(player.state, "paused")
    }

    function test_coverage_follows_the_timeline() {
        playGrid("cam1", "cam2")
        const player = findChild(cell("cam1"), "cellPlayer")
        const coverage = () => calls(player, "setCoverage").pop()[1]
        compare(coverage(), [{ start: latest - 2 * hour, end: latest }])
        archiveFeed.giveBatch({ cam1: [], cam2: [] }, [])
        verify(coverage().length > 0 && coverage().every(span => span.end < page.gridPlayheadTime))
        page.playFrom(latest - 20 * hour)
        compare(coverage(), [])
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
            compareNear(timeline.viewStart, from, 2, name)
            compareNear(timeline.viewEnd, to, 2, name)
        }
        page.setViewRange(latest, latest)
        compareNear(timeline.viewStart, latest - hour, 2)
    }

    function test_every_text_fits_in_both_languages_data() {
        return [{ tag: "ru" }, { tag: "en" }]
    }

    function test_every_text_fits_in_both_languages(data) {
        Translations.language = data.tag
        playSingle("cam1")
        page.toggleExportMode()
        for (const [width, height] of [[800, 600], [1200, 700]]) {
            page.anchors.fill = null
            page.width = width
            page.height = height
            wait(0)
            const panel = timeline.parent
            for (const row of Array.from(panel.children)) {
                for (const item of row.visible ? Array.from(row.children) : []) {
                    if (item.visible && item.width > 0)
                        verify(item.x + item.width <= row.width, item.objectName)
                }
            }
            verify(findChild(page, "singleVideo").height > 150)
        }
    }
}
