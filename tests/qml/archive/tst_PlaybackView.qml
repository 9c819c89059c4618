import QtQuick
import ZorvelClient

PageTestCase {
    name: "PlaybackView"

    function cell(cameraId) {
        return findChild(page, "archiveCell_" + cameraId)
    }

    function test_single_camera_autoplays_once() {
        tick("cam2")
        compare(text("singleMessage"), "Loading footage...")
        archiveFeed.giveRange("cam1", earliest, latest)
        compare(calls(page.player, "startFrom").length, 0)
        archiveFeed.giveRange("cam2", earliest, latest)
        compare(calls(page.player, "startFrom"), [["startFrom", "cam2", latest - hour]])
        compareNear(timeline.viewStart, latest - 6 * hour, 1)
        compareNear(timeline.viewEnd, latest, 1)
        archiveFeed.giveRange("cam2", earliest, latest + hour)
        compare(calls(page.player, "startFrom").length, 1)
    }

    function test_without_footage_nothing_plays() {
        tick("cam1")
        archiveFeed.giveRange("cam1", 0, 0)
        compare(calls(page.player, "startFrom").length, 0)
        compare(text("singleMessage"), "No recordings")
        tick("cam1", "cam2")
        archiveFeed.failRange("cam2")
        compare(text("singleMessage"), "No recordings")
    }

    function test_opening_a_moment() {
        page.openAt("", latest)
        compare(page.selectedCameras, [])
        page.openAt("cam3", latest - 5 * hour)
        archiveFeed.giveRange("cam3", earliest, latest)
        compare(calls(page.player, "startFrom"), [["startFrom", "cam3", latest - 5 * hour]])
        page.openAt("cam3", latest - 7 * hour)
        compare(calls(page.player, "seek"), [["seek", latest - 7 * hour]])
        page.openAt("cam4", latest - hour)
        page.openAt("cam4", latest - 2 * hour)
        archiveFeed.giveRange("cam4", earliest, latest)
        compare(page.player.currentTime, latest - 2 * hour)
        findChild(page, "singleVideo").firstFrameRendered()
        findChild(page, "singleStallTimer").triggered()
        compare(text("singleMessage"), Translations.archiveNoFootageHere)
        page.playFrom(latest - 4 * hour)
        compare(text("singleMessage"), Translations.loadingSegment)
        page.openAt("cam5", latest)
        page.playFrom(latest - 3 * hour)
        archiveFeed.giveRange("cam5", earliest, latest)
        compare(page.player.currentTime, latest - 3 * hour)
        playGrid("cam1")
        page.openAt("cam3", latest - 8 * hour)
        archiveFeed.giveRange("cam3", earliest, latest)
        compare(calls(page.player, "startFrom"), [["startFrom", "cam3", latest - 8 * hour]])
        compareNear(timeline.viewStart, latest - 11 * hour, 1)
    }

    function test_speed_is_kept_between_one_camera_and_several() {
        playSingle("cam1")
        const button = findChild(page, "speedButton")
        mouseClick(button)
        const entries = [0, 1, 2, 3].map(index => findChild(button, "speedMenu").itemAt(index))
        compare(entries.map(entry => entry.text), ["0.5x", "1x  ✓", "2x", "4x"])
        entries[3].triggered()
        keyClick(Qt.Key_Escape)
        keyClick(Qt.Key_Space)
        compare(page.player.state, "paused")
        compare([page.player.speed, button.sign], [4, "4x ▾"])
        playGrid("cam2")
        compare(cell("cam1").playbackSpeed, 4)
        page.setSpeed(0.5)
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
        const player = findChild(cell("cam2"), "cellPlayer")
        compare(calls(player, "startFrom"), [["startFrom", "cam2", latest - hour]])
        compare(calls(player, "setSynchronized"), [["setSynchronized", true]])
        page.gridPlayheadTime += 100
        compare(calls(player, "showAt").pop(), ["showAt", latest - hour + 100])
    }

    function test_cells_that_stay_are_not_made_anew() {
        playGrid("cam1", "cam2", "cam3")
        const [first, third] = [cell("cam1"), cell("cam3")]
        mouseClick(findChild(cell("cam2"), "cellCloseButton"))
        compare(page.selectedCameras, ["cam1", "cam3"])
        compare([cell("cam1"), cell("cam2"), cell("cam3")], [first, null, third])
        waitForRendering(page)
        verify(third.x > first.x && third.y === first.y)
    }

    function test_what_ran_before_a_jump_is_not_added_to_what_follows() {
        playGrid("cam1", "cam2")
        const start = page.gridPlayheadTime
        tryVerify(() => page.gridPlayheadTime !== start)
        wait(150)
        page.setSpeed(4)
        page.playFrom(start)
        const jumped = Date.now()
        tryVerify(() => page.gridPlayheadTime > start)
        verify(page.gridPlayheadTime - start <= (Date.now() - jumped + 20) * 4)
    }

    function test_cell_messages_and_pausing() {
        playGrid("cam1", "cam2")
        const player = findChild(cell("cam1"), "cellPlayer")
        const message = findChild(cell("cam1"), "cellMessage")
        player.state = "loading"
        compare(message.text, "Loading...")
        findChild(cell("cam1"), "cellStallTimer").triggered()
        compare(message.text, "No footage")
        for (const [state, expected] of [["playing", ""], ["no_footage", "No footage"], ["loading", "Loading..."],
            ["ended", "No footage"], ["error", "Playback error"], ["loading", "Loading..."], ["playing", ""]]) {
            player.state = state
            compare(message.visible ? message.text : "", expected)
        }
        page.gridPlaying = false
        compare(player.state, "paused")
        page.gridPlaying = true
        compare(player.state, "playing")
        page.gridPlaying = false
        player.state = "loading"
        player.state = "playing"
        compare(player.state, "paused", "one that comes late")
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
        page.anchors.fill = null
        page.width = 800
        page.height = 600
        wait(0)
        for (const row of Array.from(timeline.parent.children)) {
            for (const item of row.visible ? Array.from(row.children) : []) {
                if (item.visible && item.width > 0)
                    verify(item.x + item.width <= row.width, item.objectName)
            }
        }
        verify(findChild(page, "singleVideo").height > 150)
    }
}
