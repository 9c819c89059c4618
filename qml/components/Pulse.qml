pragma Singleton
import QtQuick
import ZorvelClient

// One slow wave for everything that pulses. A tick of it redraws the windows that show a pulse, so all of them share
// the tick; while video is drawn they move with its frames and no window is redrawn for them at all.
Item {
    id: root

    // 0 to 1 and back, 800 ms each way, in-out quadratic.
    readonly property real wave: _rising < 0.5 ? 2 * _rising * _rising : 1 - 2 * (1 - _rising) * (1 - _rising)
    // How many items pulse now; each adds itself and takes itself away.
    property int users: 0

    property real _startMs: 0
    property real _lastMs: 0
    property real _rising: 0

    function advance() {
        _lastMs = Date.now()
        const phase = (_lastMs - _startMs) % 1600 / 800
        _rising = phase < 1 ? phase : 2 - phase
    }

    visible: false

    RedrawClock {
        onRedrawing: {
            if (root.users > 0)
                root.advance()
        }
    }
    Timer {
        interval: 100
        repeat: true
        running: root.users > 0
        onRunningChanged: {
            root._startMs = Date.now()
            root._rising = 0
        }
        onTriggered: {
            // A coarse timer may be early.
            if (Date.now() - root._lastMs >= 0.9 * interval)
                root.advance()
        }
    }
}
