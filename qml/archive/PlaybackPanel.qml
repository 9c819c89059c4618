import QtQuick
import ZorvelClient

// What stands below the video: the controls, the export, the ranges to choose and the timeline.
Rectangle {
    id: root

    required property var page
    property alias timeline: axis

    height: column.height
    color: Theme.surfaceDark

    Column {
        id: column

        width: parent.width

        PlaybackControls {
            x: Theme.spacingSM
            width: parent.width - 2 * x
            topPadding: Theme.spacingSM
            bottomPadding: Theme.spacingSM
            playing: root.page.gridMode ? root.page.gridPlaying : root.page.player?.playing ?? false
            paused: root.page.gridMode ? !root.page.gridPlaying : root.page.player?.state === "paused"
            speed: root.page.speedSteps[root.page.speedIndex]
            speedSteps: root.page.speedSteps
            currentTimeText: root.page.playheadTime > 0
                ? Qt.formatDateTime(new Date(root.page.playheadTime), "dd.MM.yyyy HH:mm:ss") : ""
            available: root.page.selectedCameras.length > 0
            exportAvailable: !root.page.gridMode && root.page.selectedCameraId !== "" && timelineModel.hasData
            exportActive: root.page.exportMode
            onPlayPauseClicked: root.page.playPause()
            onStepBackClicked: root.page.seekBy(-10000)
            onStepForwardClicked: root.page.seekBy(10000)
            onToEndClicked: root.page.jumpToLatest()
            onSpeedSelected: value => root.page.setSpeed(value)
            onLiveClicked: root.page.pageRequested("live")
            onExportClicked: root.page.toggleExportMode()
        }
        ExportBar {
            objectName: "exportBar"
            x: Theme.spacingSM
            width: parent.width - 2 * x
            bottomPadding: Theme.spacingSM
            visible: root.page.exportMode || downloading || hasOutcome
            rangeText: root.page.exportMode ? root.page.exportRangeText() : ""
            selectionEmpty: root.page.exportEnd <= root.page.exportStart
            onDownloadClicked: root.page.startExport()
            onCancelClicked: {
                exportModel.cancel()
                exportModel.dismiss()
                root.page.exportMode = false
            }
            onLeaveRequested: axis.forceActiveFocus(Qt.OtherFocusReason)
        }
        ArchiveTimeNav {
            objectName: "timeNav"
            x: Theme.spacingSM
            width: parent.width - 2 * x
            bottomPadding: Theme.spacingSM
            visible: root.page.selectedCameras.length > 0
            earliest: timelineModel.earliest
            latest: timelineModel.latest
            viewStart: axis.viewStart
            viewEnd: axis.viewEnd
            onRequestView: (fromMs, toMs) => root.page.setViewRange(fromMs, toMs)
            onZoomIn: axis.zoom(0.5)
            onZoomOut: axis.zoom(2.0)
        }
        PlaybackTimeline {
            id: axis

            objectName: "timeline"
            width: parent.width
            spans: timelineModel.index
            playheadTime: root.page.playheadTime
            earliest: timelineModel.earliest
            latest: timelineModel.latest
            selectionMode: root.page.exportMode
            selectionStart: root.page.exportStart
            selectionEnd: root.page.exportEnd
            onSeekRequested: timestampMs => root.page.playFrom(timestampMs)
            onViewRangeChanged: (fromMs, toMs) => timelineModel.loadRange(fromMs, toMs)
            onSelectionChanged: (startMs, endMs) => {
                root.page.exportStart = startMs
                root.page.exportEnd = endMs
            }
            Component.onCompleted: {
                viewEnd = Date.now()
                viewStart = viewEnd - 6 * 3600000
            }
        }
    }
    Connections {
        target: exportModel

        function onDownloadFinished() {
            if (!exportModel.partial)
                root.page.exportMode = false
        }
    }
    // The recording goes on while it is watched.
    Timer {
        objectName: "refreshTimer"
        interval: 15000
        repeat: true
        running: root.page.selectedCameras.length > 0
        onTriggered: timelineModel.refresh()
    }
    Rectangle {
        width: parent.width
        height: 1
        color: Theme.border
    }
}
