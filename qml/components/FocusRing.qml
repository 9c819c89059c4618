import QtQuick
import ZorvelClient

// Shows which control has the keyboard: an outline around its parent.
Rectangle {
    id: root

    property bool shown: false

    anchors.fill: parent
    anchors.margins: -Theme.focusRingWidth
    visible: shown
    color: "transparent"
    radius: Theme.radius + Theme.focusRingWidth
    border.width: Theme.focusRingWidth
    border.color: Theme.focusRing
}
