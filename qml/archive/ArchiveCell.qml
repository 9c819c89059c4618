import QtQuick
import ZorvelClient

// One camera of the grid that plays in step: it shows what the shared clock's moment holds.
Rectangle {
    id: root

    property string cameraId: ""
    property string cameraName: ""
    // The clock, in ms since the epoch, and whether and how fast it runs.
    property real targetTime: 0
    property bool isPlaying: false
    property real playbackSpeed: 1
    property bool loadStalled: false

    // Whether the player was told what the timeline knows.
    property bool _charted: false
    property real _followedTime: 0
    readonly property string _shownState: archive.state !== "loading" ? archive.state
        : loadStalled ? "no_footage" : "loading"
    readonly property string _text: cameraId === "" ? Translations.clickCameraToAssign : ({
        loading: Translations.loading,
        no_footage: Translations.noFootageHere,
        ended: Translations.noFootageHere,
        error: Translations.playbackError
    })[_shownState] ?? ""

    signal closeRequested()

    function sync() {
        if (cameraId === "")
            archive.stop()
        else if (targetTime <= 0)
            return
        else if (archive.loadedCameraId() !== cameraId)
            archive.startFrom(cameraId, targetTime)
        else
            archive.showAt(targetTime)
    }

    // Whether the timeline knows what was recorded at the moment.
    function isCharted() : bool {
        return targetTime >= timelineModel.loadedFrom && targetTime < timelineModel.loadedTo
    }

    // A player that found nothing asks again when it is given its coverage: after a jump there may be footage.
    function followClock() {
        const jumped = Math.abs(targetTime - _followedTime) > 2000
        _followedTime = targetTime
        if (jumped || isCharted() !== _charted)
            refreshCoverage()
        else
            sync()
    }

    function refreshCoverage() {
        _charted = isCharted()
        if (_charted)
            timelineModel.handCoverage(archive, cameraId)
        else
            archive.setCoverage([])
        sync()
    }

    function followPlaying() {
        if (isPlaying)
            archive.resume()
        else
            archive.pause()
    }

    color: Theme.videoSurface
    Accessible.role: Accessible.Pane
    Accessible.name: [cameraName, _text].filter(Boolean).join(", ")

    onTargetTimeChanged: followClock()
    onCameraIdChanged: refreshCoverage()
    onIsPlayingChanged: followPlaying()
    onPlaybackSpeedChanged: archive.setSpeed(playbackSpeed)
    Component.onCompleted: {
        archive.init(apiClient)
        archive.setPlayer(video)
        archive.setSynchronized(true)
        archive.setSpeed(playbackSpeed)
        refreshCoverage()
    }
    Component.onDestruction: {
        archive.stop()
        archive.setPlayer(null)
    }

    Connections {
        target: timelineModel

        function onSpansChanged() {
            root.refreshCoverage()
        }

        // Where nothing was there may be footage now.
        function onRangeChanged() {
            if (!root._charted)
                root.refreshCoverage()
        }
    }
    ArchivePlayer {
        id: archive

        objectName: "cellPlayer"
        onStateChanged: {
            if (state === "loading") {
                stallTimer.restart()
            } else {
                stallTimer.stop()
                root.loadStalled = false
            }
            if (state === "playing" && !root.isPlaying)
                pause()
        }
    }
    Timer {
        id: stallTimer

        objectName: "cellStallTimer"
        interval: 4000
        onTriggered: root.loadStalled = true
    }
    MpvObject {
        id: video

        anchors.fill: parent
        onFirstFrameRendered: {
            stallTimer.stop()
            root.loadStalled = false
        }
    }
    VideoMessage {
        objectName: "cellMessage"
        anchors.fill: parent
        veiled: true
        text: root._text
    }
    Rectangle {
        width: parent.width
        height: 34
        visible: root.cameraId !== ""
        gradient: Gradient {
            GradientStop {
                position: 0
                color: Theme.overlayShade
            }
            GradientStop {
                position: 1
                color: "transparent"
            }
        }

        StyledText {
            anchors.left: parent.left
            anchors.right: closeButton.left
            anchors.margins: Theme.spacingSM
            anchors.verticalCenter: parent.verticalCenter
            text: root.cameraName
            color: Theme.overlayText
            wrapMode: Text.NoWrap
            elide: Text.ElideRight
        }
        ControlButton {
            id: closeButton

            objectName: "cellCloseButton"
            anchors.right: parent.right
            anchors.margins: Theme.spacingXS
            anchors.verticalCenter: parent.verticalCenter
            implicitWidth: 26
            implicitHeight: 26
            text: Translations.removeFromCell
            sign: "✕"
            Accessible.name: text + ", " + root.cameraName
            onClicked: root.closeRequested()
        }
    }
}
