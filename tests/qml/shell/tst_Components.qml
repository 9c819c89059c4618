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

    function make(text) {
        return createTemporaryQmlObject("import ZorvelClient; " + text, testCase)
    }

    function watch(target, signalName) {
        spy.target = null
        spy.signalName = signalName
        spy.target = target
        spy.clear()
    }

    function test_every_button_works_by_mouse_and_key_data() {
        return [
            { tag: 'ActionButton { text: "Do it" }' },
            { tag: 'ToolButtonChip { label: "Chip" }' },
            { tag: 'ToggleSwitch { text: "Switch" }' }
        ]
    }

    function test_every_button_works_by_mouse_and_key(data) {
        const button = make(data.tag)
        watch(button, "clicked")
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
        verify(button.Accessible.name !== "")
    }

    function test_delete_dialog_waits_for_its_owner() {
        const dialog = make('DeleteConfirmDialog { label: "camera-1" }')
        watch(dialog, "confirmed")
        dialog.open()
        tryCompare(dialog, "opened", true)
        mouseClick(findChild(dialog.footer, "confirmDeleteButton"))
        compare(spy.count, 1)
        verify(dialog.opened)
        dialog.close()
        tryCompare(dialog, "visible", false)
        // Whoever answers without looking deletes nothing.
        dialog.open()
        tryCompare(dialog, "opened", true)
        keyClick(Qt.Key_Return)
        tryCompare(dialog, "visible", false)
        compare(spy.count, 1)
    }

    function test_pulse_rests_when_nobody_pulses() {
        compare(Pulse.users, 0)
        const dots = [1, 2].map(() => make('StatusDot { cameraState: "recording" }'))
        compare(Pulse.users, 2)
        dots[0].visible = false
        compare(Pulse.users, 1)
        dots[1].destroy()
        tryCompare(Pulse, "users", 0)
    }

    function test_password_is_masked_until_revealed() {
        const field = make('PasswordField { width: 200; text: "secret" }')
        compare(field.echoMode, TextInput.Password)
        mouseClick(findChild(field, "revealButton"))
        compare(field.echoMode, TextInput.Normal)
        field.clear()
        compare(field.echoMode, TextInput.Password)
    }
}
