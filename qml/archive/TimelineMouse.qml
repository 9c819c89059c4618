import QtQuick
import ZorvelClient

// The mouse on the timeline. A bound of the selection near the press is taken first; a press that moves pans, one
// that does not asks for its moment.
MouseArea {
    id: root

    required property var timeline

    readonly property int panThreshold: 4
    readonly property int grabDistance: 10

    // "", "start" or "end": the bound being dragged.
    property string _bound: ""
    property real _pressedX: 0
    property real _pressedViewStart: 0
    property bool _panning: false

    function boundAt(x: real) : string {
        if (!timeline.selectionMode)
            return ""
        const toStart = Math.abs(x - timeline.timeToX(timeline.selectionStart))
        const toEnd = Math.abs(x - timeline.timeToX(timeline.selectionEnd))
        if (Math.min(toStart, toEnd) > grabDistance)
            return ""
        return toStart <= toEnd ? "start" : "end"
    }

    hoverEnabled: true
    cursorShape: _panning ? Qt.ClosedHandCursor
        : _bound !== "" || (containsMouse && boundAt(mouseX) !== "") ? Qt.SizeHorCursor : Qt.PointingHandCursor

    onPressed: event => {
        timeline.forceActiveFocus(Qt.MouseFocusReason)
        _bound = boundAt(event.x)
        _pressedX = event.x
        _pressedViewStart = timeline.viewStart
        _panning = false
    }
    onPositionChanged: event => {
        if (!pressed)
            return
        const moved = event.x - _pressedX
        if (_bound !== "") {
            timeline.moveBound(_bound === "start", timeline.xToTime(event.x))
        } else if (_panning || Math.abs(moved) > panThreshold) {
            _panning = true
            const from = _pressedViewStart - moved / width * timeline.range
            timeline.showRange(from, from + timeline.range)
        }
    }
    onReleased: event => {
        if (_bound === "" && !_panning)
            timeline.seekRequested(Math.round(timeline.xToTime(event.x)))
        _bound = ""
        _panning = false
    }
    onCanceled: {
        _bound = ""
        _panning = false
    }
    onWheel: event => {
        if (event.angleDelta.y !== 0)
            timeline.zoomAround(Math.pow(0.8, event.angleDelta.y / 120), event.x / width)
        else
            timeline.panBy(-event.angleDelta.x / 120 * 0.1 * timeline.range)
    }

    Rectangle {
        objectName: "hoverTime"
        x: Math.max(0, Math.min(root.width - width, root.mouseX - width / 2))
        y: 3
        width: label.implicitWidth + 2 * Theme.spacingXS
        height: label.implicitHeight + 2
        visible: root.containsMouse && !root._panning && root._bound === ""
        color: Theme.surfaceLight
        radius: Theme.radius

        StyledText {
            id: label

            anchors.centerIn: parent
            text: Qt.formatDateTime(new Date(root.timeline.xToTime(root.mouseX)), "HH:mm:ss")
            font.pixelSize: Theme.fontXS
        }
    }
}
