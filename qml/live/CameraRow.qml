import QtQuick
import ZorvelClient
import "grid.js" as Grid

// One camera of a list: its status, its name and, at the end, its tick or where it is shown already.
Item {
    id: root

    property string cameraId: ""
    property string cameraName: ""
    property string cameraState: ""
    property string mark: ""
    property bool checkable: false
    property bool checked: false
    property bool hovered: false
    property bool current: false

    signal pressed()

    Accessible.role: Accessible.ListItem
    Accessible.name: Grid.sentence([cameraName, Translations.cameraStateLabel(cameraState), mark])
    Accessible.selected: current
    Accessible.checkable: checkable
    Accessible.checked: checked
    Accessible.onPressAction: pressed()

    Rectangle {
        anchors.fill: parent
        visible: root.current || root.hovered
        color: Theme.surfaceMedium
        radius: Theme.radius
        border.width: root.current ? 1 : 0
        border.color: Theme.focusRing
    }
    StatusDot {
        id: dot

        x: Theme.spacingSM
        anchors.verticalCenter: parent.verticalCenter
        cameraState: root.cameraState
    }
    Text {
        anchors.left: dot.right
        anchors.right: markLabel.left
        anchors.margins: Theme.spacingSM
        anchors.verticalCenter: parent.verticalCenter
        text: root.cameraName
        textFormat: Text.PlainText
        color: Theme.textPrimary
        font.pixelSize: Theme.fontSM
        elide: Text.ElideRight
        maximumLineCount: 1
    }
    Text {
        id: markLabel

        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingSM
        anchors.verticalCenter: parent.verticalCenter
        text: root.checked ? "✓" : root.mark
        textFormat: Text.PlainText
        color: root.checked ? Theme.accent : Theme.textMuted
        font.pixelSize: Theme.fontXS
    }
}
