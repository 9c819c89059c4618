import QtQuick
import ZorvelClient

// The camera list beside a grid: a click or a drag brings a camera into it.
FocusScope {
    id: root

    property bool dragEnabled: true
    // The cameras that bear a tick; null where none ever does.
    property var ticked: null
    readonly property alias pickedByMouse: list.pickedByMouse

    signal cameraClicked(string cameraId)
    signal cameraDragStarted(string cameraId, real globalX, real globalY)
    signal cameraDragMoved(real globalX, real globalY)
    // Released; or taken from the pointer, which drops nothing.
    signal cameraDragEnded()
    signal cameraDragCanceled()

    implicitWidth: Theme.cameraListWidth
    Accessible.role: Accessible.Pane
    Accessible.name: header.text

    Rectangle {
        anchors.fill: parent
        color: Theme.surfaceDark
    }
    Text {
        id: header

        x: Theme.spacingMD
        y: Theme.spacingMD
        text: Translations.camerasHeader
        color: Theme.textPrimary
        font.pixelSize: Theme.fontSM
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    CameraSearchList {
        id: list

        anchors.top: header.bottom
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.spacingSM
        focus: true
        dragEnabled: root.dragEnabled
        ticked: root.ticked
        onCameraPicked: cameraId => root.cameraClicked(cameraId)
        onCameraDragStarted: (cameraId, globalX, globalY) => root.cameraDragStarted(cameraId, globalX, globalY)
        onCameraDragMoved: (globalX, globalY) => root.cameraDragMoved(globalX, globalY)
        onCameraDragEnded: root.cameraDragEnded()
        onCameraDragCanceled: root.cameraDragCanceled()
    }
}
