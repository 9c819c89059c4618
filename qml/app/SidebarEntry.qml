import QtQuick
import ZorvelClient

// One line of the sidebar. `page` is where it leads; an entry without a page acts on its own.
ButtonBase {
    id: root

    // Whether the signed-in user may go there; unlike `visible` it holds on a page that is hidden itself.
    property bool allowed: true
    property string page: ""
    property string activePage: ""
    readonly property bool current: page !== "" && page === activePage

    visible: allowed
    implicitHeight: Theme.rowHeight
    leftPadding: 10
    Accessible.role: Accessible.PageTab
    Accessible.selected: current

    contentItem: Text {
        text: root.text
        color: root.current || root.hovered ? Theme.textPrimary : Theme.textSecondary
        font.pixelSize: Theme.fontSM
        font.weight: root.current ? Font.DemiBold : Font.Normal
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: Theme.fontXS
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        radius: Theme.radius
        color: root.current || root.hovered ? Theme.surfaceMedium : "transparent"

        Rectangle {
            x: Theme.spacingXS
            width: 3
            height: parent.height - 2 * Theme.spacingSM
            anchors.verticalCenter: parent.verticalCenter
            radius: width / 2
            visible: root.current
            color: Theme.accent
        }
    }
}
