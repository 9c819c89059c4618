import QtQuick
import ZorvelClient

// The clip to export: a band between two bounds. The mouse drags the bounds on the timeline; with the keyboard Left
// and Right move the focused one by a second, with Shift by ten.
Item {
    id: root

    required property var timeline

    readonly property real startX: timeline.timeToX(timeline.selectionStart)
    readonly property real endX: timeline.timeToX(timeline.selectionEnd)

    Rectangle {
        x: root.startX
        width: Math.max(0, root.endX - root.startX)
        height: parent.height
        color: Theme.statusWarn
        opacity: 0.18
    }

    component Bound: Item {
        id: bound

        required property bool isStart
        readonly property real time: isStart ? root.timeline.selectionStart : root.timeline.selectionEnd

        x: Math.round(isStart ? root.startX : root.endX) - width / 2
        width: 8
        height: root.height
        activeFocusOnTab: true
        Accessible.role: Accessible.Slider
        Accessible.name: (isStart ? Translations.clipStart : Translations.clipEnd) + ", "
            + Qt.formatDateTime(new Date(time), "HH:mm:ss")
        Accessible.focusable: true
        Keys.onPressed: event => {
            const steps = { [Qt.Key_Left]: -1000, [Qt.Key_Right]: 1000 }
            event.accepted = event.key in steps
            const factor = event.modifiers & Qt.ShiftModifier ? 10 : 1
            if (event.accepted) {
                root.timeline.moveBound(isStart, time + factor * steps[event.key])
                root.timeline.reveal(time)
            }
        }
        onActiveFocusChanged: {
            if (activeFocus)
                root.timeline.reveal(time)
        }

        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 2
            height: parent.height
            color: Theme.statusWarn
        }
        Rectangle {
            y: 35
            width: 8
            height: 14
            radius: 2
            color: Theme.statusWarn

            FocusRing {
                shown: bound.activeFocus
            }
        }
    }

    Bound {
        objectName: "clipStart"
        isStart: true
    }
    Bound {
        objectName: "clipEnd"
        isStart: false
    }
}
