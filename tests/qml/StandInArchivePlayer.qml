import QtQml

// Stands in for ArchivePlayer: it remembers what it was asked, and a test says what state it is in.
QtObject {
    property string state: "idle"
    readonly property bool playing: state === "playing"
    property real currentTime: 0
    property real speed: 1
    property var calls: []
    property string _cameraId: ""

    function init(client) { }
    function setPlayer(player) { }

    function loadedCameraId() {
        return _cameraId
    }

    function setSynchronized(on) { }

    function setCoverage(spans) {
        calls.push(["setCoverage", spans.length])
    }

    function startFrom(cameraId, ms) {
        calls.push(["startFrom", cameraId, ms])
        _cameraId = cameraId
        currentTime = ms
        state = "loading"
    }

    function showAt(ms) {
        calls.push(["showAt", ms])
    }

    function pause() {
        if (state === "playing")
            state = "paused"
    }

    function resume() {
        if (state === "paused")
            state = "playing"
    }

    function stop() {
        _cameraId = ""
        currentTime = 0
        state = "idle"
    }

    function setSpeed(rate) {
        speed = rate
    }
}
