import QtQuick

// What happens once per selection when the recording range of the cameras is known: the start of the playback, and
// the first view of the timeline.
Connections {
    id: root

    required property var page

    function onRangeChanged() {
        autoPlaySingle()
        if (timelineModel.hasData && !page._viewInitialized) {
            page._viewInitialized = true
            autoPlayGrid()
            initializeView()
        }
    }

    // Nothing of the last hours is recorded: what the view shows may still be.
    function onSpansChanged() {
        if (page.gridMode && !timelineModel.hasData && page.gridPlayheadTime > 0
                && timelineModel.loadedTo > timelineModel.loadedFrom)
            timelineModel.loadRange(page.timeline.viewStart, page.timeline.viewEnd)
    }

    function autoPlaySingle() {
        if (!page._autoPlayPending || page.gridMode)
            return
        if (timelineModel.cameraId !== page.selectedCameraId) {
            console.info(playbackLog, "[archive-ui] autoplay skipped: range cam=" + timelineModel.cameraId
                + " != selected=" + page.selectedCameraId)
            return
        }
        page._autoPlayPending = false
        if (!timelineModel.hasData || !page.player) {
            console.info(playbackLog, "[archive-ui] autoplay skipped: hasData=" + timelineModel.hasData
                + " player=" + (page.player ? "ok" : "null"))
            page._switching = false
            page.pendingSeekMs = 0
            return
        }
        const start = page.pendingSeekMs > 0 ? page.pendingSeekMs : timelineModel.computeStartTime()
        page.pendingSeekMs = 0
        console.info(playbackLog, "[archive-ui] autoplay cam=" + page.selectedCameraId + " at " + start
            + " (latest=" + timelineModel.latest + " earliest=" + timelineModel.earliest + ")")
        page.player.startFrom(page.selectedCameraId, start)
    }

    function autoPlayGrid() {
        if (page.gridMode && page.gridPlayheadTime <= 0)
            page.playFrom(timelineModel.computeStartTime())
    }

    // The last six hours, which the timeline asks for by itself; farther back when it starts there.
    function initializeView() {
        const { earliest, latest } = timelineModel
        page.timeline.viewStart = Math.max(earliest, latest - 6 * 3600000)
        page.timeline.viewEnd = latest
        if (page.playheadTime > 0)
            page.timeline.reveal(page.playheadTime)
    }

    target: timelineModel

    readonly property LoggingCategory playbackLog: LoggingCategory {
        name: "zorvel.playback"
    }
}
