import QtQuick
import QtQuick.Templates as T
import ZorvelClient
import "grid.js" as Grid

// What one slot of a grid shows over its video, and what the mouse does there. The video is not part of it: a cell
// with a camera is transparent. There are always as many cells as the largest preset has, so all that is seen only at
// times is loaded only then. It is a button to the keyboard and to screen readers; the mouse has more to do with it.
T.AbstractButton {
    id: root

    required property int index
    // The VideoGrid.
    required property var grid
    required property StreamLayer streams

    property string cameraId: ""
    property string cameraName: ""
    property string cameraState: ""
    property string streamState: ""
    property bool hasSub: false
    // The camera is in the list of cameras.
    property bool known: false

    readonly property bool occupied: cameraId !== "" && known
    readonly property bool maximized: grid.maximizedSlot === index
    readonly property bool dropHovered: dropArea.containsDrag && grid.dragSourceSlot !== index
    readonly property bool controlsShown: hover.hovered && occupied && !grid.anyDragActive
    readonly property bool recording: occupied && cameraState === "recording" && streamState === "playing"
    // Small cells show less rather than cut it off.
    readonly property bool compact: width < 200 || height < 120

    readonly property var _geometry: grid.cellGeometry(index)
    readonly property string _stateText: !occupied ? Translations.cellEmpty
        : streamState === "loading" ? Translations.connecting
        : streamState === "error" ? Translations.connectionError
        : recording ? Translations.stateRecording : ""

    // Shows a camera, or reads everything about the one it shows anew.
    function show(camera: string) {
        cameraId = camera
        known = cameraId !== "" && cameraModel.hasCameraById(cameraId)
        cameraName = known ? cameraModel.cameraNameById(cameraId) : ""
        cameraState = known ? cameraModel.cameraStateById(cameraId) : ""
        hasSub = known && cameraModel.cameraHasSubStreamById(cameraId)
        streamState = cameraId === "" ? "" : streams.displayStateFor(cameraId)
    }

    objectName: "videoCell_" + index
    x: _geometry.x
    y: _geometry.y
    z: maximized ? 100 : 0
    width: _geometry.w
    height: _geometry.h
    visible: index < grid.cells && (grid.maximizedSlot === -1 || maximized)
    focus: index === 0
    focusPolicy: index === grid.currentSlot || activeFocus ? Qt.TabFocus : Qt.NoFocus
    Accessible.role: Accessible.Button
    Accessible.name: Grid.sentence([Translations.cellNumber.arg(index + 1), cameraName, _stateText])
    Accessible.focusable: true
    Accessible.onPressAction: grid.activateSlot(index)
    onClicked: grid.activateSlot(index)

    background: Rectangle {
        visible: !root.occupied
        color: Theme.videoSurface
    }

    // The line between cells: a surface behind all of them would be drawn anew with every picture.
    Rectangle {
        anchors.fill: parent
        anchors.margins: -1
        visible: !root.maximized
        color: "transparent"
        border.color: Theme.surfaceMedium
    }
    HoverHandler {
        id: hover

        cursorShape: Qt.PointingHandCursor
    }
    MouseArea {
        property point pressedAt
        property bool mayDrag: false

        anchors.fill: parent
        onPressed: event => {
            pressedAt = Qt.point(event.x, event.y)
            mayDrag = root.occupied && !root.maximized
            root.grid.focusSlot(root.index, Qt.MouseFocusReason)
        }
        onPositionChanged: event => {
            const position = mapToGlobal(event.x, event.y)
            const dx = event.x - pressedAt.x
            const dy = event.y - pressedAt.y
            if (root.grid.dragSourceSlot === root.index) {
                root.grid.moveSlotDrag(position.x, position.y)
            } else if (mayDrag && dx * dx + dy * dy > Theme.dragThresholdSq) {
                mayDrag = false
                root.grid.startSlotDrag(root.index, position.x, position.y)
            }
        }
        onReleased: root.grid.endSlotDrag()
        onCanceled: root.grid.cancelSlotDrag()
        onClicked: {
            if (!root.occupied)
                root.grid.openCameraPicker(root.index)
        }
        onDoubleClicked: {
            // The cell moves under the pressed button, which is no drag.
            mayDrag = false
            if (root.occupied)
                root.grid.toggleMaximized(root.index)
        }
    }
    DropArea {
        id: dropArea

        anchors.fill: parent
        keys: [Grid.cameraDragKey, Grid.slotDragKey]
        onDropped: drop => {
            if (drop.keys.includes(Grid.slotDragKey))
                root.grid.swapSlots(drop.source.slotIndex, root.index)
            else
                root.grid.assignSlotExclusive(root.index, drop.source.cameraId)
            drop.accept()
        }
    }

    LazyLoader {
        anchors.fill: parent
        shown: root.visible && !root.occupied
        sourceComponent: CellHint {
            dragActive: root.grid.anyDragActive
            highlighted: hover.hovered || root.dropHovered
        }
    }
    Loader {
        anchors.fill: parent
        active: root.occupied && (root.streamState === "loading" || root.streamState === "error")
        sourceComponent: CellVeil {
            failed: root.streamState === "error"
            onRetryRequested: root.streams.retry(root.cameraId)
        }
    }
    LazyLoader {
        width: parent.width
        shown: root.occupied || root.maximized
        sourceComponent: CellHeader {
            cell: root
        }
    }
    Loader {
        anchors.fill: parent
        active: root.grid.anyDragActive && root.visible
        sourceComponent: CellDragMark {
            cell: root
        }
    }
    FocusRing {
        anchors.margins: 0
        shown: root.visualFocus
        radius: 0
    }
}
