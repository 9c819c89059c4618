import QtQuick
import ZorvelClient

// A camera's state as a small dot that pulses while the camera records.
Rectangle {
    id: root

    property string cameraState: ""

    readonly property bool _pulsing: visible && cameraState === "recording"

    implicitWidth: 8
    implicitHeight: 8
    radius: 4
    color: cameraState === "recording" ? Theme.statusOk
        : cameraState === "error" ? Theme.statusError : Theme.textMuted
    opacity: _pulsing ? 1 - 0.6 * Pulse.wave : 1

    on_PulsingChanged: Pulse.users += _pulsing ? 1 : -1
    Component.onDestruction: {
        if (_pulsing)
            Pulse.users -= 1
    }
}
