import QtQuick
import ZorvelClient

// The languages as a quiet line of links, for whoever cannot read the page they are on.
Row {
    spacing: Theme.spacingLG
    Accessible.role: Accessible.Grouping
    Accessible.name: Translations.languageLabel

    Repeater {
        model: Translations.availableLanguages

        TextLink {
            required property var modelData

            objectName: "language_" + modelData.code
            text: modelData.name
            textColor: modelData.code === Translations.language ? Theme.textPrimary : Theme.textSecondary
            onClicked: Translations.choose(modelData.code)
        }
    }
}
