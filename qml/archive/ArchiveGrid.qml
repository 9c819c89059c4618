import QtQuick
import ZorvelClient

// Two to four cameras side by side, on one clock.
Grid {
    id: root

    property var cameraIds: []
    property real targetTime: 0
    property bool isPlaying: false
    property real playbackSpeed: 1

    readonly property int _rows: Math.max(1, Math.ceil(cameraIds.length / columns))

    signal closeRequested(string cameraId)

    columns: cameraIds.length > 1 ? 2 : 1
    spacing: 2

    function _follow() {
        for (let i = cells.count - 1; i >= 0; --i) {
            if (!cameraIds.includes(cells.get(i).cameraId))
                cells.remove(i)
        }
        for (const cameraId of cameraIds.slice(cells.count))
            cells.append({ cameraId: cameraId })
    }

    onCameraIdsChanged: _follow()
    Component.onCompleted: _follow()

    // By id, so that the cells of the cameras that stay keep playing when another comes or goes.
    ListModel {
        id: cells
    }

    Repeater {
        model: cells

        ArchiveCell {
            required property var model

            objectName: "archiveCell_" + cameraId
            width: (root.width - (root.columns - 1) * root.spacing) / root.columns
            height: (root.height - (root._rows - 1) * root.spacing) / root._rows
            cameraId: model.cameraId
            cameraName: cameraModel.count > 0 ? cameraModel.cameraNameById(model.cameraId) : ""
            targetTime: root.targetTime
            isPlaying: root.isPlaying
            playbackSpeed: root.playbackSpeed
            onCloseRequested: root.closeRequested(model.cameraId)
        }
    }
}
