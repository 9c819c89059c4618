import QtQuick
import QtQuick.Templates as T
import ZorvelClient

// The time axis: what was recorded, the playhead and, while a clip is chosen, its bounds. The wheel zooms, a drag
// pans, a click asks for a moment; with the keyboard "+" and "-" zoom, Shift with Left and Right pans and Return asks
// for the moment in the middle. The owner sets the view; every change made here is told by viewRangeChanged.
T.Control {
    id: root

    // Recorded spans: a list of {start, end}, or the index of the timeline model. All times are in ms since the epoch.
    property var spans: []
    property real viewStart: 0
    property real viewEnd: 0
    property real playheadTime: 0
    // What is recorded altogether.
    property real earliest: 0
    property real latest: 0
    property bool selectionMode: false
    property real selectionStart: 0
    property real selectionEnd: 0

    readonly property real range: viewEnd - viewStart
    readonly property real shortestRange: 30000
    readonly property real longestRange: 90 * 24 * 3600000
    readonly property real shortestSelection: 30000

    readonly property var _tickLevels: [
        [5000, 1000], [15000, 5000], [30000, 10000], [60000, 15000], [300000, 60000], [900000, 300000],
        [1800000, 600000], [3600000, 900000], [10800000, 3600000], [21600000, 3600000], [43200000, 10800000],
        [86400000, 21600000], [604800000, 86400000]
    ]

    signal seekRequested(real timestampMs)
    signal viewRangeChanged(real fromMs, real toMs)
    signal selectionChanged(real startMs, real endMs)

    function timeToX(timeMs: real) : real {
        return range > 0 ? (timeMs - viewStart) / range * width : 0
    }

    function xToTime(x: real) : real {
        return width > 0 ? viewStart + x / width * range : viewStart
    }

    function zoom(factor: real) {
        zoomAround(factor, 0.5)
    }

    // The time at `fraction` of the width stays where it is.
    function zoomAround(factor: real, fraction: real) {
        const length = Math.max(shortestRange, Math.min(longestRange, range * factor))
        const from = viewStart + fraction * (range - length)
        showRange(from, from + length)
    }

    function panBy(ms: real) {
        showRange(viewStart + ms, viewEnd + ms)
    }

    function showRange(fromMs: real, toMs: real) {
        viewStart = Math.round(fromMs)
        viewEnd = Math.round(toMs)
        viewRangeChanged(viewStart, viewEnd)
    }

    // Moves the view to a moment that it does not show.
    function reveal(timeMs: real) {
        if (timeMs < viewStart || timeMs > viewEnd)
            panBy(timeMs - (viewStart + viewEnd) / 2)
    }

    // The distances of the labelled and of the small ticks that suit a view of so many ms.
    function computeTickLevel(rangeMs: real) : var {
        const level = _tickLevels.find(each => each[0] >= rangeMs / 8) ?? _tickLevels[_tickLevels.length - 1]
        return { major: level[0], minor: level[1] }
    }

    function formatTickLabel(timestampMs: real, rangeMs: real) : string {
        const format = rangeMs > 86400000 ? "dd.MM" : rangeMs > 3600000 ? "HH:mm" : "HH:mm:ss"
        return Qt.formatDateTime(new Date(timestampMs), format)
    }

    // Moves one bound of the selection as far as the recording and the other bound let it.
    function moveBound(isStart: bool, timeMs: real) {
        const recorded = latest > earliest
        let bound = recorded ? Math.max(earliest, Math.min(latest, timeMs)) : timeMs
        bound = Math.round(isStart ? Math.min(bound, selectionEnd - shortestSelection)
            : Math.max(bound, selectionStart + shortestSelection))
        if (recorded && (bound < earliest || bound > latest))
            return
        if (isStart)
            selectionChanged(bound, selectionEnd)
        else
            selectionChanged(selectionStart, bound)
    }

    function _seekMiddle(isRepeat: bool) {
        if (!isRepeat)
            seekRequested(Math.round((viewStart + viewEnd) / 2))
    }

    function handleKey(event: var) {
        const shifted = event.modifiers & Qt.ShiftModifier
        event.accepted = true
        if (event.key === Qt.Key_Plus || event.key === Qt.Key_Equal)
            zoom(0.5)
        else if (event.key === Qt.Key_Minus)
            zoom(2)
        else if (shifted && (event.key === Qt.Key_Left || event.key === Qt.Key_Right))
            panBy((event.key === Qt.Key_Left ? -0.1 : 0.1) * range)
        else if (activeFocus && (event.key === Qt.Key_Return || event.key === Qt.Key_Enter))
            _seekMiddle(event.isAutoRepeat)
        else
            event.accepted = false
    }

    implicitHeight: 80
    focusPolicy: Qt.StrongFocus
    wheelEnabled: false
    Accessible.role: Accessible.Slider
    Accessible.name: Translations.timeline + (playheadTime > 0
        ? ", " + Qt.formatDateTime(new Date(playheadTime), "dd.MM.yyyy HH:mm:ss") : "")
    Accessible.focusable: true
    Keys.onPressed: event => handleKey(event)

    Rectangle {
        anchors.fill: parent
        color: Theme.surfaceDark
    }
    Item {
        anchors.fill: parent
        clip: true

        TimelineBars {
            objectName: "timelineBars"
            y: 30
            width: parent.width
            height: 24
            spans: root.spans
            viewStart: root.viewStart
            viewEnd: root.viewEnd
            color: Theme.accent
            opacity: 0.6
        }
        Loader {
            anchors.fill: parent
            active: root.selectionMode
            sourceComponent: TimelineSelection {
                timeline: root
            }
        }
        TimelineTicks {
            y: 54
            width: parent.width
            timeline: root
        }
        TimelinePlayhead {
            objectName: "playhead"

            readonly property int column: Math.round(root.timeToX(root.playheadTime))

            x: column - width / 2
            height: parent.height
            visible: root.playheadTime > 0 && column >= 0 && column <= root.width
        }
    }
    Rectangle {
        width: parent.width
        height: 1
        color: Theme.border
    }
    TimelineMouse {
        objectName: "timelineMouse"
        anchors.fill: parent
        timeline: root
    }
    FocusRing {
        anchors.margins: 0
        shown: root.visualFocus
        radius: 0
    }
}
