import QtQuick
import QtTest
import ZorvelClient

TestCase {
    id: testCase

    name: "SidebarNav"
    width: 400
    height: 600
    visible: true
    when: windowShown

    property var requested: []

    SidebarNav {
        id: sidebar

        height: parent.height
        onPageRequested: page => testCase.requested.push(page)
    }
    Item {
        id: elsewhere

        activeFocusOnTab: true
    }

    function init() {
        elsewhere.forceActiveFocus()
        apiClient.reset()
        Translations.language = "en"
        sidebar.activePage = "live"
        requested = []
    }

    function entry(name) {
        return findChild(sidebar, "nav_" + name)
    }

    function shown() {
        return ["live", "playback", "floorplans", "cameras", "vision", "admin", "audit", "incidents", "cluster",
                "newScreen", "settings"].filter(name => entry(name).visible)
    }

    function test_entries_follow_the_permissions() {
        compare(shown(), ["live", "playback", "newScreen", "settings"])
        for (const [permission, entryName] of [
                ["floor_plan_view", "floorplans"], ["manage_floor_plans", "floorplans"], ["manage_cameras", "cameras"],
                ["manage_vision", "vision"], ["manage_users", "admin"], ["view_audit", "audit"],
                ["respond_incidents", "incidents"], ["view_cluster", "cluster"]]) {
            apiClient.permissions = [permission, "unknown"]
            compare(shown(), ["live", "playback", entryName, "newScreen", "settings"])
        }
    }

    function test_arrows_move_and_return_opens() {
        entry("live").forceActiveFocus()
        keyClick(Qt.Key_Up)
        verify(entry("live").activeFocus)
        keyClick(Qt.Key_Down)
        verify(entry("playback").activeFocus)
        keyClick(Qt.Key_Return)
        keyClick(Qt.Key_End)
        verify(entry("settings").activeFocus)
        keyClick(Qt.Key_Space)
        compare(requested, ["playback", "settings"])
        keyClick(Qt.Key_Home)
        verify(entry("live").activeFocus)
    }

    function test_digits_open_what_is_shown() {
        apiClient.permissions = ["view_cluster"]
        keyClick(Qt.Key_3, Qt.ControlModifier)
        keyClick(Qt.Key_2, Qt.ControlModifier)
        keyClick(Qt.Key_9, Qt.ControlModifier)
        keyClick(Qt.Key_Comma, Qt.ControlModifier)
        compare(requested, ["cluster", "playback", "settings"])
    }
}
