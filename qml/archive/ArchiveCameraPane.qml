import QtQuick
import ZorvelClient

// The cameras to tick, and how many are.
FocusScope {
    id: root

    property var selected: []
    property int most: 4

    signal cameraToggled(string cameraId)
    // The keyboard wants on to what the cameras show.
    signal leaveRequested(int reason)

    width: Window.width >= 1100 ? Theme.cameraListWidth : 168
    Keys.onEscapePressed: leaveRequested(Qt.TabFocusReason)

    Connections {
        target: cameraModel

        // What is ticked but does not exist any more could not be unticked. An empty list may not have arrived yet.
        function onModelReset() {
            if (cameraModel.count > 0)
                root.selected.filter(id => !cameraModel.hasCameraById(id)).forEach(id => root.cameraToggled(id))
        }
    }
    CameraList {
        id: list

        width: parent.width
        anchors.top: parent.top
        anchors.bottom: counter.top
        focus: true
        dragEnabled: false
        ticked: root.selected
        onCameraClicked: cameraId => {
            root.cameraToggled(cameraId)
            // What was ticked with the mouse is then played with the keys of the page.
            if (list.pickedByMouse)
                root.leaveRequested(Qt.MouseFocusReason)
        }
    }
    Rectangle {
        id: counter

        anchors.bottom: parent.bottom
        width: parent.width
        height: Theme.controlHeight
        color: Theme.surfaceDark

        StyledText {
            objectName: "selectionCounter"
            x: Theme.spacingMD
            anchors.verticalCenter: parent.verticalCenter
            text: Translations.selectionCounter.arg(root.selected.length).arg(root.most)
            color: Theme.textSecondary
            font.pixelSize: Theme.fontXS
        }
    }
    Rectangle {
        anchors.right: parent.right
        width: 1
        height: parent.height
        color: Theme.border
    }
}
