pragma Singleton
import QtQuick

// One slow wave for everything that pulses. Each tick of it redraws the windows that show a pulse, so all of them
// share the tick, and it is much slower than the display's refresh.
Item {
    id: root

    // 0 to 1 and back, 800 ms each way, in-out quadratic.
    readonly property real wave: _rising < 0.5 ? 2 * _rising * _rising : 1 - 2 * (1 - _rising) * (1 - _rising)
    // How many items pulse now; each adds itself and takes itself away.
    property int users: 0

    property real _startMs: 0
    property real _rising: 0

    visible: false

    Timer {
        interval: 66
        repeat: true
        running: root.users > 0
        onRunningChanged: {
            root._startMs = Date.now()
            root._rising = 0
        }
        onTriggered: {
            const phase = (Date.now() - root._startMs) % 1600 / 800
            root._rising = phase < 1 ? phase : 2 - phase
        }
    }
}
