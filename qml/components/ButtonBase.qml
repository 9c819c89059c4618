import QtQuick
import QtQuick.Controls
import ZorvelClient

// What everything clickable has in common: a pointing hand, Return and Enter beside Space, and a focus ring for
// whoever came by keyboard, or with a dialog that chose the button.
// A look is added by setting `background` and `contentItem`.
AbstractButton {
    id: root

    property alias focusRing: ring

    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    Accessible.role: Accessible.Button
    Accessible.name: text

    Keys.onReturnPressed: event => activate(event)
    Keys.onEnterPressed: event => activate(event)

    function activate(event: var) {
        if (!event.isAutoRepeat)
            clicked()
    }

    HoverHandler {
        enabled: root.enabled
        cursorShape: Qt.PointingHandCursor
    }

    FocusRing {
        id: ring

        shown: root.visualFocus || (root.activeFocus && root.focusReason === Qt.PopupFocusReason)
    }
}
