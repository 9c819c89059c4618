import QtQuick
import QtQuick.Controls
import ZorvelClient

// A switch for a setting that takes effect at once.
Switch {
    id: root

    implicitWidth: 40
    implicitHeight: 22
    padding: 0
    hoverEnabled: true
    Accessible.name: text

    Keys.onReturnPressed: event => activate(event)
    Keys.onEnterPressed: event => activate(event)

    function activate(event: var) {
        if (event.isAutoRepeat)
            return
        toggle()
        toggled()
        clicked()
    }

    HoverHandler {
        enabled: root.enabled
        cursorShape: Qt.PointingHandCursor
    }

    contentItem: null
    indicator: Rectangle {
        width: 40
        height: 22
        radius: height / 2
        color: root.checked ? (root.hovered ? Theme.accentHover : Theme.accent)
            : root.hovered ? Theme.textMuted : Theme.surfaceLight

        Rectangle {
            x: root.checked ? parent.width - width - 3 : 3
            y: 3
            width: 16
            height: 16
            radius: 8
            color: Theme.textOnAccent

            Behavior on x {
                NumberAnimation { duration: 100 }
            }
        }
        FocusRing {
            shown: root.visualFocus
            radius: height / 2
        }
    }
}
