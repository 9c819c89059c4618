import QtQuick
import ZorvelClient

// One camera's recording, played on its own.
Rectangle {
    id: root

    property string cameraId: ""
    // Another camera was chosen and its first frame has not come; the old picture stays behind the message.
    property bool switching: false
    property alias player: archive
    property bool loadStalled: false

    readonly property bool _loading: archive.state === "loading"
    readonly property bool _stalled: _loading && loadStalled
    readonly property string _hint: cameraId === "" ? Translations.selectCamerasForArchive
        : timelineModel.hasData || archive.state !== "idle" ? "" : timelineModel.loading ? Translations.loading : Translations.noRecordings

    // The first frame is there, or none will come.
    signal settled()

    color: Theme.videoSurface

    Component.onCompleted: {
        archive.init(apiClient)
        archive.setPlayer(video)
    }
    Component.onDestruction: {
        archive.stop()
        archive.setPlayer(null)
    }

    ArchivePlayer {
        id: archive

        objectName: "singlePlayer"
        onStateChanged: {
            if (state === "ended" || state === "error")
                root.settled()
            if (state === "loading" && !root.switching) {
                stallTimer.restart()
            } else {
                stallTimer.stop()
                root.loadStalled = false
            }
        }
        // Another moment was picked.
        onCurrentTimeChanged: {
            if (root._loading && !root.switching) {
                root.loadStalled = false
                stallTimer.restart()
            }
        }
    }
    Timer {
        id: stallTimer

        objectName: "singleStallTimer"
        interval: 6000
        onTriggered: root.loadStalled = true
    }
    MpvObject {
        id: video

        objectName: "singleVideo"
        anchors.fill: parent
        onFirstFrameRendered: {
            stallTimer.stop()
            root.loadStalled = false
            root.settled()
        }
    }
    VideoMessage {
        objectName: "singleMessage"
        anchors.fill: parent
        busy: root.cameraId !== "" && (root.switching || (root._loading && !root.loadStalled))
        veiled: root.cameraId !== ""
        text: busy ? Translations.loadingSegment
            : root.cameraId === "" ? root._hint
            : root._stalled ? Translations.archiveNoFootageHere
            : archive.state === "ended" ? Translations.archiveEndReached
            : archive.state === "error" ? Translations.playbackError : root._hint
        detail: !busy && (root._stalled || archive.state === "ended") ? Translations.archivePickAnotherTime : ""
    }
}
