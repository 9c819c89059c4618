import QtQuick

// The clock that all cells of the grid follow. It runs at the page's speed and never past the present.
Timer {
    id: root

    required property var page

    property real _lastTick: 0

    // Brings the page's moment up to the present. Also to be called before the moment or the speed is changed, so that
    // the time until then is not counted to what follows.
    function tick() {
        const now = Date.now()
        if (_lastTick <= 0)
            return
        if (page.gridPlayheadTime > 0)
            page.gridPlayheadTime = Math.min(page.gridPlayheadTime + (now - _lastTick) * page.gridSpeed, now)
        _lastTick = now
    }

    interval: 200
    repeat: true
    running: page.gridMode && page.gridPlaying
    onRunningChanged: {
        tick()
        _lastTick = running ? Date.now() : 0
    }
    onTriggered: tick()
}
