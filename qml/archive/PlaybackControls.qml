import QtQuick
import ZorvelClient

// Play, steps, speed and the moment being shown. It only asks; the page acts.
Flow {
    id: root

    property bool playing: false
    property bool paused: false
    property real speed: 1
    property string currentTimeText: ""
    property var speedSteps: [0.5, 1, 2, 4]
    // There is a camera to play.
    property bool available: true
    // A clip can be chosen; it is being chosen.
    property bool exportAvailable: false
    property bool exportActive: false

    signal playPauseClicked()
    signal stepBackClicked()
    signal stepForwardClicked()
    signal toEndClicked()
    signal speedSelected(real value)
    signal liveClicked()
    signal exportClicked()

    spacing: Theme.spacingXS
    Accessible.role: Accessible.ToolBar
    Accessible.name: Translations.playbackControls

    ControlButton {
        objectName: "stepBackButton"
        enabled: root.available
        text: Translations.stepBack
        sign: "−10"
        shortcut: "←"
        onClicked: root.stepBackClicked()
    }
    ControlButton {
        objectName: "playPauseButton"
        enabled: root.available
        text: root.playing ? Translations.pause : Translations.play
        shortcut: Translations.keySpace
        primary: true
        onClicked: root.playPauseClicked()

        contentItem: PlayPauseSign {
            playing: root.playing
        }
    }
    ControlButton {
        objectName: "stepForwardButton"
        enabled: root.available
        text: Translations.stepForward
        sign: "+10"
        shortcut: "→"
        onClicked: root.stepForwardClicked()
    }
    ControlButton {
        objectName: "toEndButton"
        enabled: root.available
        text: Translations.navToEnd
        sign: "▶|"
        shortcut: "End"
        onClicked: root.toEndClicked()
    }
    SpeedButton {
        objectName: "speedButton"
        speed: root.speed
        speedSteps: root.speedSteps
        onSpeedSelected: value => root.speedSelected(value)
    }
    ControlButton {
        objectName: "liveButton"
        text: Translations.live
        sign: Translations.live
        onClicked: root.liveClicked()
    }
    ControlButton {
        objectName: "exportButton"
        visible: root.exportAvailable
        text: Translations.exportClip
        sign: Translations.exportClip
        primary: root.exportActive
        onClicked: root.exportClicked()
    }
    StyledText {
        objectName: "playheadText"
        height: Theme.controlHeight
        leftPadding: Theme.spacingXS
        verticalAlignment: Text.AlignVCenter
        visible: text !== ""
        text: root.currentTimeText
    }
}
