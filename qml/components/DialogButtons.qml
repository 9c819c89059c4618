import QtQuick
import ZorvelClient

// The buttons of a dialog, in a row at its lower right.
FocusScope {
    default property alias buttons: row.data

    focus: true
    implicitHeight: row.height + Theme.spacingLG

    Row {
        id: row

        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingLG
        spacing: Theme.spacingSM
    }
}
