import QtQuick
import QtTest
import ZorvelClient

TestCase {
    name: "Translations"

    readonly property var cyrillic: /[А-Яа-яЁё]/

    function cleanup() {
        Translations.language = "en"
    }

    function test_every_text_speaks_its_language() {
        const names = inspector.textsOf(Translations)
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

    function test_language_at_start_data() {
        return [
            { tag: "Russia", locale: "ru_RU", saved: "", language: "ru" },
            { tag: "Russian elsewhere", locale: "ru_KZ", saved: "", language: "ru" },
            { tag: "Ukrainian", locale: "uk_UA", saved: "", language: "en" },
            { tag: "no locale", locale: "C", saved: "", language: "en" },
            { tag: "English chosen", locale: "ru_RU", saved: "en", language: "en" },
            { tag: "Russian chosen", locale: "en_US", saved: "ru", language: "ru" }
        ]
    }

    function test_language_at_start(row) {
        inspector.forget("i18n")
        if (row.saved !== "")
            inspector.store("i18n/savedLanguage", row.saved)
        compare(inspector.languageUnder(row.locale), row.language)
        // A start alone is no choice: the operating system may speak another language next time.
        compare(inspector.stored("i18n/savedLanguage") ?? "", row.saved)
    }
}
