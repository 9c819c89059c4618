import QtQuick
import ZorvelClient

// A row of pills of which one is current. A click only asks; the owner decides and sets `current`.
Row {
    id: root

    // A list of {key, label}.
    property var tabs: []
    property string current: ""

    signal selected(string key)

    function moveFocus(from: int, step: int) {
        pills.itemAt(from + step)?.forceActiveFocus(Qt.TabFocusReason)
    }

    spacing: Theme.spacingSM
    Accessible.role: Accessible.PageTabList

    Repeater {
        id: pills

        model: root.tabs

        ButtonBase {
            id: pill

            required property int index
            required property var modelData
            readonly property bool current: modelData.key === root.current

            objectName: "tab_" + modelData.key
            width: implicitContentWidth + 28
            height: Theme.controlHeight
            text: modelData.label
            Accessible.role: Accessible.PageTab
            Accessible.selected: current
            Keys.onLeftPressed: root.moveFocus(index, -1)
            Keys.onRightPressed: root.moveFocus(index, 1)
            onClicked: root.selected(modelData.key)

            contentItem: Text {
                text: pill.text
                color: pill.current ? Theme.textOnAccent : Theme.textSecondary
                font.pixelSize: Theme.fontSM
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
            }
            background: Rectangle {
                radius: Theme.radius
                color: pill.current ? Theme.accent : pill.hovered ? Theme.surfaceMedium : Theme.surfaceLight
            }
        }
    }
}
