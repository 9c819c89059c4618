import QtQuick
import ZorvelClient

// The controls of a cell with a camera, shown while the mouse is over it.
Row {
    id: root

    // The VideoCell.
    required property var cell
    required property int size
    // The camera's name where the cell has no room for it.
    property string hint: ""

    spacing: cell.compact ? 1 : Theme.spacingXS

    CellButton {
        id: changeButton

        objectName: "cellChangeButton"
        glyph: "⇆"
        text: Translations.changeCamera
        shortcut: "C"
        size: root.size
        onClicked: root.cell.grid.openCameraPicker(root.cell.index)
    }
    CellButton {
        id: clearButton

        objectName: "cellClearButton"
        glyph: "✕"
        text: Translations.removeFromCell
        shortcut: "Delete"
        hoverColor: Theme.statusError
        size: root.size
        onClicked: root.cell.grid.clearSlot(root.cell.index)
    }

    StyledToolTip {
        visible: root.hint !== "" && !changeButton.hovered && !clearButton.hovered
        text: root.hint
    }
}
