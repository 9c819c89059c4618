import QtQuick
import ZorvelClient

// The live page: the sidebar and the camera grid.
FocusScope {
    id: root

    property bool suspended: false

    signal pageRequested(string page)

    SidebarNav {
        height: parent.height
        focus: true
        activePage: "live"
        onPageRequested: page => root.pageRequested(page)
    }
}
