import QtQuick
import ZorvelClient

// The frame of a page: the sidebar on the left, the page's content on the rest.
FocusScope {
    id: root

    property alias activePage: sidebar.activePage
    default property alias content: contentArea.data

    signal pageRequested(string page)

    SidebarNav {
        id: sidebar

        height: parent.height
        focus: true
        onPageRequested: page => root.pageRequested(page)
    }

    FocusScope {
        id: contentArea

        anchors.left: sidebar.right
        anchors.right: parent.right
        height: parent.height
    }
}
