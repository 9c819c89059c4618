import QtQuick
import QtQuick.Controls
import ZorvelClient

// A clipped, scrolling list that can say that it is empty.
ListView {
    id: root

    // Shown while there are no rows; leave it empty while it is not yet known whether there will be any.
    property string emptyText: ""
    readonly property real scrollBarWidth: ScrollBar.vertical.width

    clip: true
    spacing: Theme.spacingXS
    boundsBehavior: Flickable.StopAtBounds
    Accessible.role: Accessible.List

    ScrollBar.vertical: ScrollBar { }

    StyledText {
        objectName: "emptyLabel"
        anchors.centerIn: parent
        width: Math.min(implicitWidth, parent.width - 2 * Theme.spacingSM)
        visible: root.count === 0 && text !== ""
        text: root.emptyText
        color: Theme.textMuted
        horizontalAlignment: Text.AlignHCenter
    }
}
