pragma Singleton
import QtQuick
import Qt.labs.settings

// What one workstation remembers about the look of its client.
Item {
    id: root

    // Live video fills its whole cell instead of keeping the picture's proportions.
    property bool stretchVideo: false

    visible: false

    Settings {
        category: "ui"

        property alias stretchVideo: root.stretchVideo
    }
}
