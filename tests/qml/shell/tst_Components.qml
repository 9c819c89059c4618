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

    Component {
        id: buttonComponent

        ActionButton { text: "Do it"; hoverColor: Theme.statusError }
    }
    Component {
        id: chipComponent

        ToolButtonChip { label: "Chip" }
    }
    Component {
        id: switchComponent

        ToggleSwitch { text: "Switch" }
    }
    Component {
        id: tabsComponent

        TabRow { tabs: [{ key: "a", label: "First" }, { key: "b", label: "Second" }]; current: "a" }
    }
    Component {
        id: dialogComponent

        DeleteConfirmDialog { label: "camera-1" }
    }
    Component {
        id: dotComponent

        StatusDot { }
    }
    Component {
        id: passwordComponent

        PasswordField { width: 200 }
    }
    SignalSpy {
        id: spy
    }

    function watch(target, signalName) {
        spy.target = null
        spy.signalName = signalName
        spy.target = target
        spy.clear()
    }

    function test_every_button_works_by_mouse_and_key_data() {
        return [
            { tag: "ActionButton", component: buttonComponent },
            { tag: "ToolButtonChip", component: chipComponent },
            { tag: "ToggleSwitch", component: switchComponent }
        ]
    }

    function test_every_button_works_by_mouse_and_key(row) {
        const button = createTemporaryObject(row.component, testCase)
        watch(button, "clicked")
        mouseClick(button)
        compare(spy.count, 1)
        for (const key of [Qt.Key_Space, Qt.Key_Return, Qt.Key_Enter]) {
            button.forceActiveFocus()
            keyClick(key)
        }
        compare(spy.count, 4)
        button.enabled = false
        mouseClick(button)
        compare(spy.count, 4)
        button.enabled = true
        button.focus = false
        button.forceActiveFocus(Qt.TabFocusReason)
        verify(button.visualFocus)
        verify(button.Accessible.name !== "")
    }

    function test_tabs_ask_and_the_owner_decides() {
        const tabs = createTemporaryObject(tabsComponent, testCase)
        watch(tabs, "selected")
        const [first, second] = [findChild(tabs, "tab_a"), findChild(tabs, "tab_b")]
        mouseClick(second)
        compare(spy.signalArguments[0][0], "b")
        verify(first.current && !second.current)
        first.forceActiveFocus()
        keyClick(Qt.Key_Right)
        verify(second.activeFocus)
        keyClick(Qt.Key_Return)
        compare(spy.count, 2)
        keyClick(Qt.Key_Left)
        verify(first.activeFocus)
        tabs.current = "b"
        compare(second.background.color, Theme.accent)
    }

    function test_delete_dialog_waits_for_its_owner() {
        const dialog = createTemporaryObject(dialogComponent, testCase)
        watch(dialog, "confirmed")
        dialog.open()
        tryCompare(dialog, "opened", true)
        mouseClick(findChild(dialog.footer, "confirmDeleteButton"))
        compare(spy.count, 1)
        verify(dialog.opened)
        mouseClick(findChild(dialog.footer, "cancelDeleteButton"))
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
        const dots = [1, 2].map(() => createTemporaryObject(dotComponent, testCase, { cameraState: "recording" }))
        compare(Pulse.users, 2)
        dots[0].visible = false
        compare(Pulse.users, 1)
        dots[1].destroy()
        tryCompare(Pulse, "users", 0)
    }

    function test_password_is_masked_until_revealed() {
        const field = createTemporaryObject(passwordComponent, testCase)
        field.text = "secret"
        compare(field.echoMode, TextInput.Password)
        mouseClick(findChild(field, "revealButton"))
        compare(field.echoMode, TextInput.Normal)
        field.clear()
        compare(field.echoMode, TextInput.Password)
    }
}
