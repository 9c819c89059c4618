import QtQuick
import ZorvelClient

// A search field over the list of cameras. The field keeps the keyboard: Up, Down, Page Up and Page Down move the
// current row, Return picks it. Typing makes the first match the current row.
FocusScope {
    id: root

    property alias searchText: search.text
    property alias count: list.count
    property alias currentIndex: list.currentIndex
    property int rowHeight: Theme.rowHeight
    property bool dragEnabled: false
    // The cameras that bear a tick; null where none ever does.
    property var ticked: null
    // The cameras that are shown already: a Map of camera id to slot index.
    property var slotOf: new Map()
    property alias mouseEnabled: pointer.enabled
    // Whether the camera that is being picked was clicked.
    property bool pickedByMouse: false
    // A list that nobody sees follows no camera.
    property bool active: visible
    // The camera of the current row.
    property string _currentCamera: ""

    signal cameraPicked(string cameraId)
    signal cameraDragStarted(string cameraId, real globalX, real globalY)
    signal cameraDragMoved(real globalX, real globalY)
    signal cameraDragEnded()
    signal cameraDragCanceled()

    function pick(index: int) {
        if (index >= 0 && index < list.count)
            cameraPicked(cameras.cameraIdAt(index))
    }

    function handleKey(event: var) {
        if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter) {
            event.accepted = true
            if (!event.isAutoRepeat)
                pick(Math.max(0, list.currentIndex))
            return
        }
        const page = Math.max(1, Math.floor(list.height / rowHeight) - 1)
        const steps = {
            [Qt.Key_Up]: -1, [Qt.Key_Down]: 1, [Qt.Key_PageUp]: -page, [Qt.Key_PageDown]: page
        }
        event.accepted = event.key in steps
        if (event.accepted && list.count > 0)
            select(Math.max(0, Math.min(list.count - 1, list.currentIndex + steps[event.key])))
    }

    function reset() {
        search.clear()
        selectFirst()
    }

    function select(index: int) {
        list.currentIndex = index
        _currentCamera = cameras.cameraIdAt(index)
    }

    function selectFirst() {
        select(list.count > 0 ? 0 : -1)
        list.positionViewAtBeginning()
    }

    // A list that was fetched anew may have its cameras in other rows.
    function followCurrent() {
        for (let index = 0; index < list.count; ++index) {
            if (cameras.cameraIdAt(index) === _currentCamera) {
                list.currentIndex = index
                list.positionViewAtIndex(index, ListView.Contain)
                return
            }
        }
        selectFirst()
    }

    CameraFilterModel {
        id: cameras

        sourceModel: root.active ? cameraModel : null
        filterText: search.text.trim()
        onFilterTextChanged: root.selectFirst()
        onModelReset: root.followCurrent()
    }

    StyledTextField {
        id: search

        objectName: "cameraSearchField"
        width: parent.width
        focus: true
        placeholderText: Translations.searchPlaceholder
        Keys.onPressed: event => root.handleKey(event)
    }
    StyledListView {
        id: list

        objectName: "cameraRows"
        Accessible.name: Translations.camerasHeader
        anchors.top: search.bottom
        anchors.topMargin: Theme.spacingSM
        anchors.bottom: parent.bottom
        width: parent.width
        spacing: 0
        model: cameras
        reuseItems: true
        cacheBuffer: 0
        highlightMoveDuration: 0
        emptyText: search.text === "" ? Translations.adminEmptyCameras : Translations.noCameraFound

        onCountChanged: {
            if (currentIndex < 0)
                root.selectFirst()
        }

        delegate: CameraRow {
            required property int index
            required property var model

            objectName: "cameraRow_" + cameraId
            width: ListView.view.width
            height: root.rowHeight
            cameraId: model.cameraId
            cameraName: model.cameraName
            cameraState: model.state
            mark: root.slotOf.has(cameraId) ? Translations.cellNumber.arg(root.slotOf.get(cameraId) + 1) : ""
            checkable: root.ticked !== null
            checked: root.ticked?.includes(cameraId) ?? false
            hovered: pointer.hoveredIndex === index
            current: search.activeFocus && ListView.isCurrentItem
            onPressed: root.pick(index)
        }

        // One for all rows, so that a drag outlives a row that goes while the list is fetched anew.
        MouseArea {
            id: pointer

            readonly property int hoveredIndex: containsMouse ? rowAt(mouseY, list.contentY) : -1
            property point pressedAt
            property string pressedCamera: ""
            property bool dragging: false

            function rowAt(y: real, contentY: real) : int {
                return list.indexAt(1, y + contentY)
            }

            function cameraAt(y: real) : string {
                return cameras.cameraIdAt(rowAt(y, list.contentY))
            }

            function follow(event: var) {
                const position = mapToGlobal(event.x, event.y)
                const dx = event.x - pressedAt.x
                const dy = event.y - pressedAt.y
                if (dragging) {
                    root.cameraDragMoved(position.x, position.y)
                } else if (pressedCamera !== "" && dx * dx + dy * dy > Theme.dragThresholdSq) {
                    dragging = true
                    root.cameraDragStarted(pressedCamera, position.x, position.y)
                }
            }

            parent: list
            anchors.fill: parent
            anchors.rightMargin: list.contentHeight > list.height ? list.scrollBarWidth : 0
            hoverEnabled: true
            preventStealing: root.dragEnabled
            cursorShape: hoveredIndex >= 0 ? Qt.PointingHandCursor : Qt.ArrowCursor
            onPressed: event => {
                pressedAt = Qt.point(event.x, event.y)
                pressedCamera = cameraAt(event.y)
                dragging = false
            }
            onPositionChanged: event => {
                if (pressed && root.dragEnabled)
                    follow(event)
            }
            onClicked: event => {
                if (dragging || cameraAt(event.y) !== pressedCamera)
                    return
                root.pickedByMouse = true
                root.pick(rowAt(event.y, list.contentY))
                root.pickedByMouse = false
            }
            onReleased: {
                if (dragging)
                    root.cameraDragEnded()
            }
            onCanceled: {
                if (dragging)
                    root.cameraDragCanceled()
            }
        }
    }
}
