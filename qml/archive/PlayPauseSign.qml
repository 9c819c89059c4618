import QtQuick
import ZorvelClient

// Two bars while playing, else a triangle.
Item {
    id: root

    property bool playing: false

    implicitWidth: 12
    implicitHeight: 12

    Row {
        anchors.centerIn: parent
        spacing: 4
        visible: root.playing

        Repeater {
            model: 2

            Rectangle {
                width: 4
                height: 12
                color: Theme.textOnAccent
            }
        }
    }
    Canvas {
        anchors.centerIn: parent
        width: 12
        height: 14
        visible: !root.playing
        onPaint: {
            const context = getContext("2d")
            context.fillStyle = Theme.textOnAccent
            context.moveTo(0, 0)
            context.lineTo(width, height / 2)
            context.lineTo(0, height)
            context.fill()
        }
    }
}
