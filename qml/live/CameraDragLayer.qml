import QtQuick
import ZorvelClient
import "grid.js" as Grid

// Carries a camera from a list to a grid. The owner lays it over both and passes the list's drag on.
Item {
    id: root

    readonly property bool active: handle.active

    function start(cameraId: string, globalX: real, globalY: real) {
        handle.cameraId = cameraId
        handle.label = cameraModel.cameraNameById(cameraId)
        handle.begin(globalX, globalY)
    }

    function move(globalX: real, globalY: real) {
        handle.moveTo(globalX, globalY)
    }

    function end() {
        handle.drop()
    }

    function cancel() {
        handle.cancel()
    }

    DragHandle {
        id: handle

        property string cameraId: ""

        objectName: "cameraDragHandle"
        key: Grid.cameraDragKey
    }
}
