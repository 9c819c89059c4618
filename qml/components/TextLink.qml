import QtQuick
import ZorvelClient

// A button that looks like a link in running text.
ButtonBase {
    id: root

    property color textColor: Theme.accent

    implicitWidth: implicitContentWidth
    implicitHeight: implicitContentHeight
    focusRing.anchors.margins: -Theme.spacingXS
    Accessible.role: Accessible.Link

    contentItem: Text {
        text: root.text
        color: root.hovered ? Theme.textPrimary : root.textColor
        font.pixelSize: Theme.fontSM
        font.underline: root.hovered
        elide: Text.ElideRight
    }
}
