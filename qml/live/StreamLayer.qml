import QtQuick
import ZorvelClient

// The video behind the cells: one stream view per camera of the pool. A view follows its camera from cell to cell, so
// that no change of the grid reconnects a stream. Streams end with the session they were opened in, so that the next
// user gets no picture that the server did not give to them.
Item {
    id: root

    // The cells may name cameras of an earlier session, until the user's list of cameras tells which remain.
    property bool _awaitsCameras: true

    signal streamStateChanged(string cameraId, string state)

    // Places the cameras that the grid shows: a list of {cameraId, x, y, w, h, visible, preferMain, suspended, hasSub,
    // z}. The streams of all others are parked.
    function sync(placements: var) {
        if (!apiClient.authenticated || (_awaitsCameras && cameraModel.count === 0))
            return
        _awaitsCameras = false
        pool.sync(placements)
    }

    function displayStateFor(cameraId: string) : string {
        return pool.displayStateFor(cameraId)
    }

    function retry(cameraId: string) {
        for (let i = 0; i < views.count; ++i) {
            const view = views.itemAt(i)
            if (view.cameraId === cameraId)
                view.retry()
        }
    }

    StreamPoolModel {
        id: pool

        onStreamStateChanged: (cameraId, state) => root.streamStateChanged(cameraId, state)
    }

    Connections {
        target: apiClient

        function onAuthChanged() {
            if (apiClient.authenticated)
                return
            pool.clear()
            root._awaitsCameras = true
        }
    }

    // x, y, width, height, visible and z would find the view's own properties: the roles are read through `model`.
    Repeater {
        id: views

        model: pool

        CameraStreamView {
            id: view

            required property var model

            cameraId: model.cameraId
            x: model.x
            y: model.y
            width: model.w
            height: model.h
            visible: model.visible
            preferMain: model.preferMain
            suspended: model.suspended
            hasSubStream: model.hasSub
            z: model.z
            stretch: AppSettings.stretchVideo
            onDisplayStateChanged: pool.reportDisplayState(cameraId, displayState)
            Component.onCompleted: init(apiClient)
        }
    }
}
