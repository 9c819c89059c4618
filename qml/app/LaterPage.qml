import QtQuick
import ZorvelClient

// Stands where a later version brings a section, so that every entry of the sidebar leads somewhere.
PageScaffold {
    id: root

    property string title: ""

    Column {
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.spacingLG, 480)
        spacing: Theme.spacingSM

        StyledText {
            width: parent.width
            text: root.title
            font.pixelSize: Theme.fontXL
            horizontalAlignment: Text.AlignHCenter
            Accessible.role: Accessible.Heading
        }
        StyledText {
            objectName: "laterText"
            width: parent.width
            text: Translations.laterText
            color: Theme.textSecondary
            font.pixelSize: Theme.fontBase
            horizontalAlignment: Text.AlignHCenter
        }
    }
}
