import QtQuick
import QtTest
import ZorvelClient

TestCase {
    name: "Translations"

    // The object, which unlike the singleton's name can be enumerated.
    readonly property QtObject object: Translations
    readonly property var cyrillic: /[А-Яа-яЁё]/

    function cleanup() {
        Translations.language = "en"
    }

    function test_every_text_speaks_its_language() {
        const names = Object.keys(object).filter(name => typeof object[name] === "string"
            && !["objectName", "state", "language"].includes(name))
        const texts = {}
        for (const language of ["ru", "en"]) {
            Translations.language = language
            texts[language] = names.map(name => Translations[name])
            tryVerify(() => inspector.stored("i18n/savedLanguage") === language)
        }
        verify(names.length >= 209)
        names.forEach((name, i) => {
            verify(cyrillic.test(texts.ru[i]), name + " in Russian: " + texts.ru[i])
            verify(texts.en[i] !== "" && !cyrillic.test(texts.en[i]), name + " in English: " + texts.en[i])
            compare(texts.ru[i].match(/%\d/g), texts.en[i].match(/%\d/g), name)
        })
    }
}
