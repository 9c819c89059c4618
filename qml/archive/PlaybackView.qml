import QtQuick
import ZorvelClient

// The archive page: one to four ticked cameras, alone with export or in step on one clock, above the timeline.
// Space plays and pauses, Left and Right step by ten seconds, End goes to the newest footage.
FocusScope {
    id: root

    property var selectedCameras: []
    property bool gridMode: false
    property string selectedCameraId: ""
    // The next autoplay begins here when it is above 0.
    property real pendingSeekMs: 0
    readonly property var speedSteps: [0.5, 1, 2, 4]
    property int speedIndex: 1
    property bool exportMode: false
    property real exportStart: 0
    property real exportEnd: 0
    property bool gridPlaying: false
    property real gridSpeed: 1.0
    property real gridPlayheadTime: 0

    readonly property var player: stage.player
    readonly property PlaybackTimeline timeline: panel.timeline
    readonly property real playheadTime: gridMode ? gridPlayheadTime : player ? player.currentTime : 0
    readonly property int mostCameras: 4

    property bool _autoPlayPending: false
    property bool _switching: false
    property bool _viewInitialized: false

    signal pageRequested(string page)

    function toggleCamera(cameraId: string) {
        if (selectedCameras.includes(cameraId))
            selectedCameras = selectedCameras.filter(id => id !== cameraId)
        else if (selectedCameras.length < mostCameras)
            selectedCameras = selectedCameras.concat([cameraId])
        else
            return
        applySelection()
    }

    // Between one camera and several the moment stays.
    function applySelection() {
        const moment = playheadTime
        const wasGrid = gridMode
        exportMode = false
        gridMode = selectedCameras.length > 1
        if (gridMode) {
            const start = wasGrid ? 0 : pendingSeekMs > 0 ? pendingSeekMs : moment
            pendingSeekMs = 0
            _applyGrid(start)
            return
        }
        if (wasGrid && pendingSeekMs <= 0)
            pendingSeekMs = moment
        _applySingle(selectedCameras[0] ?? "")
    }

    // Opens the archive of one camera at a moment.
    function openAt(cameraId: string, timeMs: real) {
        if (cameraId === "")
            return
        if (gridMode || cameraId !== selectedCameraId || _autoPlayPending) {
            pendingSeekMs = timeMs
            selectedCameras = [cameraId]
            applySelection()
        } else {
            if (player.loadedCameraId() === cameraId)
                player.seek(timeMs)
            else
                playFrom(timeMs)
            timeline.reveal(timeMs)
        }
        timeline.forceActiveFocus(Qt.OtherFocusReason)
    }

    function activeCameraIds() : var {
        return gridMode ? selectedCameras : selectedCameraId === "" ? [] : [selectedCameraId]
    }

    function playPause() {
        if (gridMode)
            gridPlaying = !gridPlaying
        else if (player.state === "paused")
            player.resume()
        else
            player.pause()
    }

    function seekBy(offsetMs: real) {
        if (playheadTime <= 0)
            return
        clock.tick()
        if (gridMode)
            gridPlayheadTime = Math.min(gridPlayheadTime + offsetMs, Date.now())
        else
            player.seek(playheadTime + offsetMs)
    }

    function playFrom(timeMs: real) {
        clock.tick()
        if (gridMode) {
            gridPlayheadTime = Math.min(timeMs, Date.now())
            gridPlaying = true
        } else if (selectedCameraId !== "") {
            _autoPlayPending = false
            pendingSeekMs = 0
            player.startFrom(selectedCameraId, timeMs)
        }
    }

    function jumpToLatest() {
        if (timelineModel.latest > 0)
            playFrom(timelineModel.latest)
    }

    function setSpeed(value: real) {
        speedIndex = Math.max(0, speedSteps.indexOf(value))
        clock.tick()
        if (gridMode)
            gridSpeed = value
        else
            player.setSpeed(value)
    }

    function setViewRange(fromMs: real, toMs: real) {
        if (toMs > fromMs)
            timeline.showRange(fromMs, toMs)
    }

    function toggleExportMode() {
        exportMode = !exportMode && !gridMode && selectedCameraId !== ""
        if (!exportMode)
            return
        const start = Math.max(playheadTime > 0 ? playheadTime : timelineModel.latest, timelineModel.earliest)
        exportEnd = Math.min(start + 60000, timelineModel.latest)
        exportStart = Math.min(start, exportEnd - 1000)
        timeline.reveal(exportStart)
    }

    function exportRangeText() : string {
        return formatUtils.exportRangeText(exportStart, exportEnd)
    }

    function startExport() {
        exporter.ask(selectedCameraId, cameraModel.cameraNameById(selectedCameraId), exportStart, exportEnd)
    }

    function _applySingle(cameraId: string) {
        if (cameraId === selectedCameraId)
            return
        console.info(playbackLog, "[archive-ui] single camera: " + cameraId)
        player.stop()
        selectedCameraId = cameraId
        _switching = cameraId !== ""
        if (cameraId === "") {
            pendingSeekMs = 0
            timelineModel.clear()
            return
        }
        _autoPlayPending = true
        _viewInitialized = false
        timelineModel.loadTimeline(cameraId)
    }

    function _applyGrid(moment: real) {
        console.info(playbackLog, "[archive-ui] grid cameras: " + selectedCameras.join(","))
        selectedCameraId = ""
        gridSpeed = speedSteps[speedIndex]
        _autoPlayPending = false
        _switching = false
        _viewInitialized = false
        if (moment > 0)
            playFrom(moment)
        timelineModel.loadBatchTimeline(selectedCameras)
    }

    onGridModeChanged: {
        exportMode = false
        if (!gridMode) {
            gridPlaying = false
            gridPlayheadTime = 0
        }
    }
    Keys.onPressed: event => keys.handle(event)
    Component.onCompleted: timelineModel.clear()

    LoggingCategory {
        id: playbackLog

        name: "zorvel.playback"
    }
    GridClock {
        id: clock

        objectName: "gridClock"
        page: root
    }
    PlaybackKeys {
        id: keys

        page: root
    }
    ExportDialog {
        id: exporter
    }
    PlaybackStart {
        page: root
    }

    SidebarNav {
        id: sidebar

        height: parent.height
        activePage: "playback"
        onPageRequested: page => root.pageRequested(page)
    }
    ArchiveCameraPane {
        id: cameras

        anchors.left: sidebar.right
        height: parent.height
        focus: true
        selected: root.selectedCameras
        most: root.mostCameras
        onCameraToggled: cameraId => root.toggleCamera(cameraId)
        onLeaveRequested: reason => timeline.forceActiveFocus(reason)
    }
    PlaybackStage {
        id: stage

        anchors.left: cameras.right
        anchors.right: parent.right
        anchors.bottom: panel.top
        height: parent.height - panel.height
        page: root
    }
    PlaybackPanel {
        id: panel

        anchors.left: cameras.right
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        page: root
    }
}
