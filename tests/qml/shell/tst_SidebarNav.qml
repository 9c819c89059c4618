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

        Rectangle {
            id: extra

            anchors.fill: parent
        }
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

    function test_entries_follow_the_permissions_data() {
        return [
            { tag: "none", permissions: [], adds: [] },
            { tag: "view plans", permissions: ["floor_plan_view"], adds: ["floorplans"] },
            { tag: "draw plans", permissions: ["manage_floor_plans"], adds: ["floorplans"] },
            { tag: "cameras", permissions: ["manage_cameras"], adds: ["cameras"] },
            { tag: "vision", permissions: ["manage_vision"], adds: ["vision"] },
            { tag: "users", permissions: ["manage_users"], adds: ["admin"] },
            { tag: "audit", permissions: ["view_audit"], adds: ["audit"] },
            { tag: "incidents", permissions: ["respond_incidents"], adds: ["incidents"] },
            { tag: "cluster", permissions: ["view_cluster", "unknown"], adds: ["cluster"] }
        ]
    }

    function test_entries_follow_the_permissions(row) {
        compare(shown(), ["live", "playback", "newScreen", "settings"])
        apiClient.setPermissions(row.permissions)
        compare(shown(), ["live", "playback", ...row.adds, "newScreen", "settings"])
    }

    function test_entries_ask_for_their_page() {
        apiClient.setPermissions(["manage_floor_plans", "manage_cameras", "manage_vision", "manage_users", "view_audit",
                                  "respond_incidents", "view_cluster"])
        const pages = shown().filter(name => name !== "newScreen")
        waitForRendering(sidebar)
        pages.forEach(name => mouseClick(entry(name)))
        compare(requested, pages)
        pages.forEach(page => {
            sidebar.activePage = page
            compare(pages.filter(name => entry(name).current), [page])
        })
    }

    function test_two_entries_stay_russian() {
        apiClient.setPermissions(["manage_vision", "respond_incidents"])
        compare(entry("vision").text, "Vision-анализатор")
        compare(entry("incidents").text, "Инциденты")
        compare(entry("newScreen").text, "+ New Screen")
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
        keyClick(Qt.Key_Up)
        verify(entry("newScreen").activeFocus)
        keyClick(Qt.Key_Home)
        verify(entry("live").activeFocus)
    }

    function test_tab_passes_the_list_in_one_step() {
        elsewhere.forceActiveFocus()
        keyClick(Qt.Key_Tab)
        verify(entry("live").activeFocus)
        keyClick(Qt.Key_Tab)
        verify(findChild(sidebar, "logoutLink").activeFocus)
        sidebar.activePage = "settings"
        elsewhere.forceActiveFocus()
        keyClick(Qt.Key_Tab)
        verify(entry("settings").activeFocus)
    }

    function test_digits_open_what_is_shown() {
        apiClient.setPermissions(["view_cluster"])
        keyClick(Qt.Key_3, Qt.ControlModifier)
        keyClick(Qt.Key_2, Qt.ControlModifier)
        keyClick(Qt.Key_9, Qt.ControlModifier)
        keyClick(Qt.Key_Comma, Qt.ControlModifier)
        compare(requested, ["cluster", "playback", "settings"])
    }

    function test_new_screen_answers() {
        mouseClick(entry("newScreen"))
        const notice = findChild(sidebar, "newScreenNotice")
        tryCompare(notice, "opened", true)
        keyClick(Qt.Key_Escape)
        tryCompare(notice, "visible", false)
        verify(entry("newScreen").activeFocus)
    }

    function test_session_row() {
        apiClient.acceptLogin("operator", [])
        compare(findChild(sidebar, "signedInLogin").text, "operator")
        const dot = findChild(sidebar, "connectionDot")
        wsClient.connected = false
        compare(dot.color, Theme.statusError)
        wsClient.connected = true
        compare(dot.color, Theme.statusOk)
        mouseClick(findChild(sidebar, "logoutLink"))
        compare(apiClient.calls, [["doLogout"]])
    }

    function test_extras_lie_between_the_entries_and_the_settings() {
        const top = extra.mapToItem(sidebar, 0, 0).y
        verify(top > entry("newScreen").mapToItem(sidebar, 0, 0).y)
        verify(top + extra.height < entry("settings").mapToItem(sidebar, 0, 0).y)
        verify(extra.height > 100)
    }
}
