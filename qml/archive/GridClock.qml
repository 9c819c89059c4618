import QtQuick

// The clock that all cells of the grid follow. It runs at the page's speed and never past the present.
Timer {
    id: root

    required property var page

    property real _lastTick: 0

    interval: 200
    repeat: true
    running: page.gridMode && page.gridPlaying
    onRunningChanged: _lastTick = running ? Date.now() : 0
    onTriggered: {
        const now = Date.now()
        if (_lastTick > 0 && page.gridPlayheadTime > 0) {
            const next = page.gridPlayheadTime + (now - _lastTick) * page.gridSpeed
            page.gridPlayheadTime = Math.min(next, now)
        }
        _lastTick = now
    }
}
