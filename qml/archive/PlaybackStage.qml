import QtQuick
import ZorvelClient

// Where the video is: one player, or the grid.
Item {
    id: root

    required property var page
    readonly property ArchivePlayer player: (single.item as SinglePlayer)?.player ?? null

    Loader {
        id: single

        anchors.fill: parent
        active: !root.page.gridMode
        sourceComponent: SinglePlayer {
            cameraId: root.page.selectedCameraId
            switching: root.page._switching
            onSettled: root.page._switching = false
            Component.onCompleted: player.setSpeed(root.page.speedSteps[root.page.speedIndex])
        }
    }
    Loader {
        anchors.fill: parent
        active: root.page.gridMode
        sourceComponent: ArchiveGrid {
            objectName: "archiveGrid"
            cameraIds: root.page.selectedCameras
            targetTime: root.page.gridPlayheadTime
            isPlaying: root.page.gridPlaying
            playbackSpeed: root.page.gridSpeed
            onCloseRequested: cameraId => root.page.toggleCamera(cameraId)
        }
    }
}
