import QtQuick
import ZorvelClient

// What one workstation chooses for itself, the language and the look of the live grid, and the keys to work with.
PageScaffold {
    activePage: "settings"

    ScrollArea {
        objectName: "scroller"
        anchors.fill: parent
        contentHeight: column.height + 2 * column.y

        Column {
            id: column

            x: 24
            y: 24
            width: Math.min(parent.width - 2 * x, 640)
            spacing: Theme.spacingLG

            StyledText {
                width: parent.width
                text: Translations.settingsTitle
                font.pixelSize: Theme.fontXL
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
            }

            SettingsCard {
                width: parent.width
                title: Translations.languageLabel

                StyledText {
                    text: Translations.languageLabel
                    font.pixelSize: Theme.fontBase
                }
                LanguageChoice { }
            }

            SettingsCard {
                width: parent.width
                title: Translations.stretchVideoLabel

                Item {
                    width: parent.width
                    height: Math.max(stretchTexts.height, stretchSwitch.height)

                    Column {
                        id: stretchTexts

                        width: parent.width - stretchSwitch.width - Theme.spacingLG
                        spacing: Theme.spacingXS

                        StyledText {
                            width: parent.width
                            text: Translations.stretchVideoLabel
                            font.pixelSize: Theme.fontBase
                        }
                        StyledText {
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

            SettingsCard {
                width: parent.width
                title: Translations.shortcutsTitle

                StyledText {
                    text: Translations.shortcutsTitle
                    font.pixelSize: Theme.fontBase
                }
                ShortcutList {
                    width: parent.width
                    title: Translations.shortcutsEverywhere
                    shortcuts: [
                        ["Ctrl+1 … Ctrl+9", Translations.shortcutSection],
                        ["Ctrl+,", Translations.shortcutSettings],
                        ["↑ ↓", Translations.shortcutSidebar],
                        ["Tab, Shift+Tab", Translations.shortcutFocus],
                        ["Page Up, Page Down", Translations.shortcutScroll],
                        ["Enter, " + Translations.keySpace, Translations.shortcutActivate],
                        ["Esc", Translations.shortcutEscape]
                    ]
                }
                ShortcutList {
                    width: parent.width
                    title: Translations.navLiveView
                    shortcuts: [
                        ["1 … 9", Translations.shortcutPreset],
                        ["← ↑ ↓ →", Translations.shortcutCell],
                        ["Ctrl+← ↑ ↓ →", Translations.shortcutMoveCamera],
                        ["Enter", Translations.shortcutOpenCell],
                        ["C", Translations.changeCamera],
                        ["Delete", Translations.removeFromCell],
                        ["R", Translations.shortcutRetry],
                        ["Esc", Translations.shortcutBackToGrid]
                    ]
                }
                ShortcutList {
                    width: parent.width
                    title: Translations.navArchive
                    shortcuts: [
                        [Translations.keySpace, Translations.shortcutPlayPause],
                        ["← →", Translations.shortcutStep],
                        ["End", Translations.shortcutToEnd],
                        ["+ −", Translations.shortcutZoom],
                        ["Shift+← →", Translations.shortcutPan],
                        ["Enter", Translations.shortcutSeekMiddle],
                        ["← →, Shift+← →", Translations.shortcutClip],
                        ["Esc", Translations.shortcutLeaveCameras]
                    ]
                }
            }
        }
    }
}
