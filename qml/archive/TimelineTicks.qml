import QtQuick
import ZorvelClient

// The ticks below the bars, aligned with the local time. There are always as many items as the densest view needs;
// building them anew with every change of the view would cost more than moving them.
Item {
    id: root

    required property var timeline

    readonly property var level: timeline.computeTickLevel(timeline.range)
    readonly property int _mostMinor: 96
    readonly property int _mostMajor: 16
    // Zooming ends at 90 days, but an archive may be longer and leaves ticks out.
    readonly property real _minor: level.minor * Math.max(
        1, Math.ceil(timeline.range / level.minor / (_mostMinor - 1)))
    readonly property real _major: level.major * Math.max(
        1, Math.ceil(timeline.range / level.major / (_mostMajor - 1)))
    readonly property real _firstMinor: firstTick(_minor)
    readonly property real _firstMajor: firstTick(_major)
    readonly property real _offsetMs: offsetAt(timeline.viewStart)
    // Labels that would run into each other leave some out.
    readonly property int _labelStride: Math.ceil(
        (metrics.width + Theme.spacingSM) / Math.max(1, width * _major / timeline.range))

    function firstTick(step: real) : real {
        return Math.ceil((timeline.viewStart + _offsetMs) / step) * step - _offsetMs
    }

    function offsetAt(timeMs: real) : real {
        return -new Date(timeMs).getTimezoneOffset() * 60000
    }

    // After the clocks were changed within the view, ticks farther apart than an hour would stand beside the local one.
    function tickTime(alignedMs: real, step: real) : real {
        return step <= 3600000 ? alignedMs : alignedMs + _offsetMs - offsetAt(alignedMs)
    }

    visible: timeline.range > 0

    TextMetrics {
        id: metrics

        font.pixelSize: Theme.fontXS
        text: root.timeline.formatTickLabel(0, root.timeline.range)
    }
    Repeater {
        model: root._mostMinor

        Rectangle {
            required property int index
            readonly property real time: root.tickTime(root._firstMinor + index * root._minor, root._minor)

            x: Math.round(root.timeline.timeToX(time))
            width: 1
            height: 4
            visible: time <= root.timeline.viewEnd
            color: Theme.textMuted
        }
    }
    Repeater {
        model: root._mostMajor

        Rectangle {
            id: tick

            required property int index
            readonly property real aligned: root._firstMajor + index * root._major
            readonly property real time: root.tickTime(aligned, root._major)

            x: Math.round(root.timeline.timeToX(time))
            width: 1
            height: 8
            visible: time <= root.timeline.viewEnd
            color: Theme.textSecondary

            Text {
                anchors.horizontalCenter: parent.horizontalCenter
                y: 20 - baselineOffset
                // One that is cut off by the edge could be misread.
                visible: tick.x >= width / 2 && tick.x <= root.width - width / 2
                    && Math.round((tick.aligned + root._offsetMs) / root._major) % root._labelStride === 0
                text: tick.visible ? root.timeline.formatTickLabel(tick.time, root.timeline.range) : ""
                color: Theme.textSecondary
                font.pixelSize: Theme.fontXS
            }
        }
    }
}
