import QtQuick
import QtQuick.Controls
import ZorvelClient

// A clipped, scrolling list that can say that it is empty.
ListView {
    id: root

    // Shown while there are no rows; leave it empty while it is not yet known whether there will be any.
    property string emptyText: ""

    clip: true
    spacing: Theme.spacingXS
    boundsBehavior: Flickable.StopAtBounds
    Accessible.role: Accessible.List

    ScrollBar.vertical: ScrollBar { }

    Text {
        objectName: "emptyLabel"
        anchors.centerIn: parent
        width: Math.min(implicitWidth, parent.width - 2 * Theme.spacingSM)
        visible: root.count === 0 && text !== ""
        text: root.emptyText
        color: Theme.textMuted
        font.pixelSize: Theme.fontSM
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
