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
    onBusyChanged: patience.over = false
    Accessible.role: Accessible.AlertMessage
    Accessible.name: detail === "" ? text : text + ". " + detail

    // Most loads are over before anybody could see the mark turn, and drawing its turns would only delay them.
    Timer {
        id: patience

        property bool over: false

        interval: 300
        running: root.visible && root.busy
        onTriggered: over = true
    }
    Rectangle {
        anchors.fill: parent
        visible: root.veiled
        color: Theme.veil
    }
    Column {
        anchors.centerIn: parent
        width: parent.width - 2 * Theme.spacingMD
        spacing: Theme.spacingSM

        Item {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 36
            height: 36
            visible: root.busy

            BusyIndicator {
                anchors.fill: parent
                visible: patience.over
                palette.dark: Theme.textPrimary
            }
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
