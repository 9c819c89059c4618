import QtQuick
import QtQuick.Controls
import ZorvelClient

// The frame of a modal dialog: centred in its window, closed by Escape or a click beside it.
Dialog {
    id: root

    parent: Overlay.overlay
    anchors.centerIn: parent
    width: Math.min(400, parent ? parent.width - 2 * Theme.spacingLG : 400)
    padding: Theme.spacingLG
    modal: true
    focus: true

    header: StyledText {
        visible: text !== ""
        text: root.title
        font.pixelSize: Theme.fontLG
        font.weight: Font.DemiBold
        padding: Theme.spacingLG
        bottomPadding: 0
        Accessible.role: Accessible.Heading
    }
    background: Rectangle {
        color: Theme.surfaceDark
        radius: Theme.radiusLG
        border.width: 1
        border.color: Theme.border
    }
    Overlay.modal: Rectangle {
        color: Theme.overlayControl
    }
}
