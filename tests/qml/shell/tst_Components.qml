import QtQuick
import QtTest
import ZorvelClient

TestCase {
    id: testCase

    name: "Components"
    width: 600
    height: 400
    visible: true
    when: windowShown

    SignalSpy {
        id: spy
    }

    function make(text, signalName) {
        const made = createTemporaryQmlObject("import ZorvelClient; " + text, testCase)
        spy.target = null
        spy.signalName = signalName
        spy.target = made
        spy.clear()
        return made
    }

    function test_every_button_works_by_mouse_and_key_data() {
        return [
            { tag: 'ActionButton { text: "Do it" }' },
            { tag: 'ToolButtonChip { label: "Chip" }' },
            { tag: 'ToggleSwitch { text: "Switch" }' }
        ]
    }

    function test_every_button_works_by_mouse_and_key(data) {
        const button = make(data.tag, "clicked")
        mouseClick(button)
        compare(spy.count, 1)
        button.focus = false
        button.forceActiveFocus(Qt.TabFocusReason)
        verify(button.visualFocus)
        for (const key of [Qt.Key_Space, Qt.Key_Return, Qt.Key_Enter])
            keyClick(key)
        compare(spy.count, 4)
        button.enabled = false
        mouseClick(button)
        compare(spy.count, 4)
    }

    function test_delete_dialog_waits_for_its_owner() {
        const dialog = make('DeleteConfirmDialog { label: "camera-1" }', "confirmed")
        // Whoever answers without looking deletes nothing.
        dialog.open()
        tryCompare(dialog, "opened", true)
        keyClick(Qt.Key_Return)
        tryCompare(dialog, "visible", false)
        compare(spy.count, 0)
        dialog.open()
        tryCompare(dialog, "opened", true)
        mouseClick(findChild(dialog.footer, "confirmDeleteButton"))
        compare(spy.count, 1)
        verify(dialog.opened)
    }

    function test_password_is_masked_until_revealed() {
        const field = make('PasswordField { width: 200; text: "secret" }', "textChanged")
        compare(field.echoMode, TextInput.Password)
        mouseClick(findChild(field, "revealButton"))
        compare(field.echoMode, TextInput.Normal)
        field.clear()
        compare(field.echoMode, TextInput.Password)
    }
}
