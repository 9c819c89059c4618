import QtQuick
import QtQuick.Controls
import ZorvelClient

// The settings of this workstation: the language and the look of the live grid, and the keys that work everywhere.
PageScaffold {
    id: root

    // [what to press, what it does]
    readonly property var shortcuts: [
        ["Ctrl+1 … Ctrl+9", Translations.shortcutSection],
        ["Ctrl+,", Translations.shortcutSettings],
        ["↑ ↓", Translations.shortcutSidebar],
        ["Tab, Shift+Tab", Translations.shortcutFocus],
        ["Enter, " + Translations.keySpace, Translations.shortcutActivate],
        ["Esc", Translations.shortcutEscape],
        ["1 … 9", Translations.shortcutPreset]
    ]

    component Card: Rectangle {
        default property alias content: cardContent.data
        property string title: ""

        width: parent.width
        height: cardContent.height + 2 * Theme.spacingLG
        color: Theme.surfaceDark
        radius: Theme.radiusLG
        border.width: 1
        border.color: Theme.border
        Accessible.role: Accessible.Grouping
        Accessible.name: title

        Column {
            id: cardContent

            x: Theme.spacingLG
            y: Theme.spacingLG
            width: parent.width - 2 * Theme.spacingLG
            spacing: Theme.spacingMD
        }
    }
    component Label: Text {
        color: Theme.textPrimary
        font.pixelSize: Theme.fontSM
        wrapMode: Text.Wrap
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }

    activePage: "settings"

    Flickable {
        anchors.fill: parent
        contentHeight: column.height + 2 * column.y
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        ScrollBar.vertical: ScrollBar { }

        Column {
            id: column

            x: 24
            y: 24
            width: Math.min(parent.width - 2 * x, 640)
            spacing: Theme.spacingLG

            Label {
                text: Translations.settingsTitle
                font.pixelSize: Theme.fontXL
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
            }

            Card {
                title: Translations.languageLabel

                Label {
                    text: Translations.languageLabel
                    font.pixelSize: Theme.fontBase
                }
                LanguageChoice { }
            }

            Card {
                title: Translations.stretchVideoLabel

                Item {
                    width: parent.width
                    height: Math.max(stretchTexts.height, stretchSwitch.height)

                    Column {
                        id: stretchTexts

                        width: parent.width - stretchSwitch.width - Theme.spacingLG
                        spacing: Theme.spacingXS

                        Label {
                            width: parent.width
                            text: Translations.stretchVideoLabel
                            font.pixelSize: Theme.fontBase
                        }
                        Label {
                            width: parent.width
                            text: Translations.stretchVideoHint
                            color: Theme.textSecondary
                        }
                    }
                    ToggleSwitch {
                        id: stretchSwitch

                        objectName: "stretchSwitch"
                        anchors.right: parent.right
                        anchors.verticalCenter: parent.verticalCenter
                        text: Translations.stretchVideoLabel
                        checked: AppSettings.stretchVideo
                        onToggled: AppSettings.stretchVideo = checked
                    }
                }
            }

            Card {
                title: Translations.shortcutsTitle

                Label {
                    text: Translations.shortcutsTitle
                    font.pixelSize: Theme.fontBase
                }
                Repeater {
                    model: root.shortcuts

                    Row {
                        required property var modelData

                        width: parent.width
                        spacing: Theme.spacingMD

                        Label {
                            width: 160
                            text: parent.modelData[0]
                            color: Theme.textSecondary
                        }
                        Label {
                            width: parent.width - 160 - Theme.spacingMD
                            text: parent.modelData[1]
                        }
                    }
                }
            }
        }
    }
}
