import QtQuick
import QtQuick.Controls
import ZorvelClient

// Content that may be taller than its place: it scrolls by wheel, bar, Page Up and Page Down, and follows the focus.
Flickable {
    id: root

    readonly property Item focusItem: Window.activeFocusItem

    function scrollBy(distance: real) {
        contentY = Math.max(0, Math.min(contentHeight - height, contentY + distance))
    }

    // Brings an item of the content into sight; does nothing for any other.
    function reveal(item: Item) {
        let ancestor = item
        while (ancestor && ancestor !== contentItem)
            ancestor = ancestor.parent
        if (!ancestor)
            return
        const margin = Theme.spacingSM
        const top = item.mapToItem(contentItem, 0, 0).y - margin
        const bottom = top + item.height + 2 * margin
        if (top < contentY)
            scrollBy(top - contentY)
        else if (bottom > contentY + height)
            scrollBy(bottom - contentY - height)
    }

    boundsBehavior: Flickable.StopAtBounds
    clip: true
    ScrollBar.vertical: ScrollBar { }

    onFocusItemChanged: reveal(focusItem)

    Shortcut {
        enabled: root.visible && root.contentHeight > root.height
        sequence: "PgDown"
        onActivated: root.scrollBy(root.height * 0.9)
    }
    Shortcut {
        enabled: root.visible && root.contentHeight > root.height
        sequence: "PgUp"
        onActivated: root.scrollBy(-root.height * 0.9)
    }
}
