import QtQuick
import ZorvelClient

// The invisible end of a drag inside the window, with the name chip beside it. Positions are global, so that whoever
// follows the pointer needs to know nothing of the layer the drag runs in. Escape cancels.
Item {
    id: root

    property string key: ""
    property alias label: ghost.text
    readonly property bool active: Drag.active

    function begin(globalX: real, globalY: real) {
        moveTo(globalX, globalY)
        Drag.active = true
    }

    function moveTo(globalX: real, globalY: real) {
        const position = parent.mapFromGlobal(globalX, globalY)
        x = position.x
        y = position.y
    }

    function drop() {
        if (active)
            Drag.drop()
    }

    function cancel() {
        if (active)
            Drag.cancel()
    }

    width: 1
    height: 1
    Drag.keys: [key]

    DragGhost {
        id: ghost

        objectName: "dragGhost"
        x: root.x + Theme.spacingMD + width > root.parent.width ? -Theme.spacingMD - width : Theme.spacingMD
        y: Theme.spacingMD
        visible: root.active
    }

    Shortcut {
        sequence: "Escape"
        enabled: root.active
        onActivated: root.cancel()
    }
}
