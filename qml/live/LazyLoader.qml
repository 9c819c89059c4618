import QtQuick

// Loads what it shows when it is first shown, and then keeps it.
Loader {
    property bool shown: false

    active: false
    visible: shown
    onShownChanged: {
        if (shown)
            active = true
    }
}
