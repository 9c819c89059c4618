import QtQuick
import ZorvelClient

// Marks a cell during a drag: where the drag comes from, where it may end, and what dropping it here would do.
Rectangle {
    id: root

    // The VideoCell.
    required property var cell
    readonly property bool _isSource: cell.grid.dragSourceSlot === cell.index
    readonly property bool _isTarget: cell.dropHovered

    color: _isSource ? Theme.dragSourceShade : "transparent"
    border.width: 2
    border.color: _isSource || _isTarget ? Theme.accent : Theme.dropTargetBorder

    Rectangle {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Math.min(Theme.spacingLG, (parent.height - height) / 2)
        visible: root._isTarget && root.cell.occupied
        width: label.width + 2 * Theme.spacingSM
        height: label.implicitHeight + 2 * Theme.spacingXS
        radius: Theme.radius
        color: Theme.overlayBadge

        Text {
            id: label

            objectName: "dropLabel"
            anchors.centerIn: parent
            width: Math.min(implicitWidth, root.width - 2 * Theme.spacingMD)
            text: root.cell.grid.slotDragActive ? "⇄ " + Translations.swapCells : Translations.replaceCamera
            color: Theme.textPrimary
            font.pixelSize: root.cell.compact ? Theme.fontXS : Theme.fontSM
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            maximumLineCount: 2
            elide: Text.ElideRight
        }
    }
}
