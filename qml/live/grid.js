.pragma library

// The keys that tell what is being dragged: a camera out of a list, or the content of a cell.
var cameraDragKey = "application/x-zorvel-camera"
var slotDragKey = "application/x-zorvel-slot"

// The rectangle of a cell in pixels, one pixel inside its grid units on every side. `unit` has row, col, rowSpan
// and colSpan.
function cellRect(unit, cellW, cellH) {
    return {
        x: unit.col * cellW + 1,
        y: unit.row * cellH + 1,
        w: Math.max(0, unit.colSpan * cellW - 2),
        h: Math.max(0, unit.rowSpan * cellH - 2)
    }
}

// The index of the cell beside cell `index` in the direction of one unit vector; `index` itself at the edge.
function neighbour(units, index, dCol, dRow) {
    const from = units[index]
    const col = dCol > 0 ? from.col + from.colSpan : from.col + dCol
    const row = dRow > 0 ? from.row + from.rowSpan : from.row + dRow
    const found = units.findIndex(unit => unit.row <= row && row < unit.row + unit.rowSpan
        && unit.col <= col && col < unit.col + unit.colSpan)
    return found < 0 ? index : found
}

// The first slot of each camera: camera id to slot index.
function slotByCamera(slots) {
    const result = new Map()
    for (let index = 0; index < slots.length; ++index) {
        if (slots[index] !== "" && !result.has(slots[index]))
            result.set(slots[index], index)
    }
    return result
}

// The parts that are not empty, as one text for a screen reader.
function sentence(parts) {
    return parts.filter(part => part !== "").join(", ")
}
