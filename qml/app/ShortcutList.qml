import QtQuick
import ZorvelClient

// The keys of one part of the client and what they do.
Column {
    id: root

    property string title: ""
    // A list of [keys, what they do].
    property var shortcuts: []

    spacing: Theme.spacingSM

    StyledText {
        width: parent.width
        text: root.title
        color: Theme.textSecondary
        font.weight: Font.DemiBold
    }
    Repeater {
        model: root.shortcuts

        Row {
            id: row

            required property var modelData

            width: parent.width
            spacing: Theme.spacingMD

            StyledText {
                width: 160
                text: row.modelData[0]
                color: Theme.textSecondary
            }
            StyledText {
                width: parent.width - 160 - parent.spacing
                text: row.modelData[1]
            }
        }
    }
}
