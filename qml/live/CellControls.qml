import QtQuick
import ZorvelClient

// The controls of a cell with a camera, shown while the mouse is over it.
Row {
    id: root

    // The VideoCell.
    required property var cell
    required property int size

    spacing: cell.compact ? 1 : Theme.spacingXS

    CellButton {
        objectName: "cellChangeButton"
        glyph: "⇆"
        text: Translations.changeCamera
        shortcut: "C"
        size: root.size
        onClicked: root.cell.grid.openCameraPicker(root.cell.index)
    }
    CellButton {
        objectName: "cellClearButton"
        glyph: "✕"
        text: Translations.removeFromCell
        shortcut: "Delete"
        hoverColor: Theme.statusError
        size: root.size
        onClicked: root.cell.grid.clearSlot(root.cell.index)
    }
}
