import QtQuick
import ZorvelClient

// The languages to choose from, each under its own name.
TabRow {
    objectName: "languageChoice"
    tabs: Translations.availableLanguages.map(language => ({ key: language.code, label: language.name }))
    current: Translations.language
    Accessible.name: Translations.languageLabel
    onSelected: key => Translations.choose(key)
}
