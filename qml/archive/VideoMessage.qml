import QtQuick
import QtQuick.Controls
import ZorvelClient

// What is said over a video that shows nothing, or nothing new: up to two lines, with a turning mark while it loads.
Item {
    id: root

    property string text: ""
    property string detail: ""
    property bool busy: false
    // Darkens the picture behind, so that the text can be read on it.
    property bool veiled: false

    visible: text !== ""
    Accessible.role: Accessible.AlertMessage
    Accessible.name: detail === "" ? text : text + ". " + detail

    Rectangle {
        anchors.fill: parent
        visible: root.veiled
        color: Theme.veil
    }
    Column {
        anchors.centerIn: parent
        width: parent.width - 2 * Theme.spacingMD
        spacing: Theme.spacingSM

        BusyIndicator {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 36
            height: 36
            visible: root.busy
            running: root.visible && root.busy
            palette.dark: Theme.textPrimary
        }
        StyledText {
            objectName: "videoMessage"
            width: parent.width
            text: root.text
            font.pixelSize: Theme.fontBase
            horizontalAlignment: Text.AlignHCenter
        }
        StyledText {
            width: parent.width
            visible: text !== ""
            text: root.detail
            color: Theme.textSecondary
            horizontalAlignment: Text.AlignHCenter
        }
    }
}
