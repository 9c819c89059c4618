import QtQuick
import ZorvelClient

// The live page: the sidebar and the camera grid.
FocusScope {
    id: root

    property bool suspended: false
    property alias grid: videoGrid

    signal pageRequested(string page)

    SidebarNav {
        id: sidebar

        height: parent.height
        activePage: "live"
        onPageRequested: page => root.pageRequested(page)
    }
    VideoGrid {
        id: videoGrid

        objectName: "liveGrid"
        anchors.left: sidebar.right
        anchors.right: parent.right
        height: parent.height
        focus: true
        suspended: root.suspended
    }
}
