import QtQuick
import ZorvelClient

// Covers a cell whose picture is not there yet or is lost. A cell too small for the text shows the bare button.
Rectangle {
    id: root

    property bool failed: false
    readonly property bool roomy: width >= label.implicitWidth + 2 * Theme.spacingSM && height >= 96

    signal retryRequested()

    objectName: "cellVeil"
    color: Theme.veil

    Column {
        anchors.centerIn: parent
        spacing: Theme.spacingSM

        Text {
            id: label

            anchors.horizontalCenter: parent.horizontalCenter
            visible: root.roomy
            text: root.failed ? Translations.connectionError : Translations.connecting
            color: root.failed ? Theme.statusError : Theme.textSecondary
            font.pixelSize: root.width < 220 ? Theme.fontXS : Theme.fontSM
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            visible: !root.roomy && !root.failed
            text: "…"
            color: Theme.textSecondary
            font.pixelSize: Theme.fontXL
        }
        Loader {
            anchors.horizontalCenter: parent.horizontalCenter
            active: root.failed
            sourceComponent: CellButton {
                objectName: "cellRetryButton"
                glyph: root.roomy ? "" : "↻"
                text: Translations.retry
                shortcut: "R"
                baseColor: Theme.surfaceLight
                size: root.roomy ? 28 : 24
                onClicked: root.retryRequested()
            }
        }
    }
}
