import QtQuick
import ZorvelClient

// The line that marks the moment being shown, with a triangle on top.
Item {
    width: 10

    Rectangle {
        anchors.horizontalCenter: parent.horizontalCenter
        width: 2
        height: parent.height
        color: Theme.statusError
    }
    Canvas {
        width: 10
        height: 8
        onPaint: {
            const context = getContext("2d")
            context.fillStyle = Theme.statusError
            context.moveTo(0, 0)
            context.lineTo(width, 0)
            context.lineTo(width / 2, height)
            context.fill()
        }
    }
}
