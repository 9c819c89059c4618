import QtQuick
import QtTest
import ZorvelClient

TestCase {
    id: testCase

    name: "Main"
    when: windowShown

    property var main: null

    Component {
        id: mainComponent

        Main { }
    }

    function init() {
        apiClient.reset()
        Translations.language = "en"
        inspector.forget("login")
        main = createTemporaryObject(mainComponent, null)
        main.requestActivate()
        tryCompare(main, "active", true)
    }

    function login() {
        return findChild(main, "loginLoader").item
    }

    function field(name) {
        return findChild(login(), name)
    }

    function page() {
        return findChild(main, "pageLoader").item
    }

    function signIn(...permissions) {
        apiClient.acceptLogin("operator", permissions)
        compare(main.currentPage, "live")
    }

    // Sign-in.

    function test_one_question_at_a_time_and_none_without_its_fields() {
        field("serverField").text = "  "
        keyClick(Qt.Key_Return)
        compare(apiClient.calls, [], "no server yet")
        field("serverField").text = "http://h:1"
        keyClick(Qt.Key_Return)
        keyClick(Qt.Key_Return)
        compare(apiClient.calls, [["checkStatus", "http://h:1"]])
        apiClient.answerStatus(true)
        field("loginField").text = "root"
        keyClick(Qt.Key_Return)
        keyClick(Qt.Key_Return)
        compare(apiClient.calls.length, 1, "no password yet")
        field("passwordField").text = "secret"
        keyClick(Qt.Key_Return)
        keyClick(Qt.Key_Return)
        compare(apiClient.calls.slice(1), [["doSetup", "http://h:1", "root", "secret"]])
        apiClient.refuseLogin("no")
        verify(field("passwordField").activeFocus)
        waitForRendering(main.contentItem)
        mouseClick(field("changeServerLink"))
        compare([login().step, field("passwordField").text], ["server", ""])
        verify(field("serverField").activeFocus)
    }

    function test_what_is_remembered() {
        field("serverField").text = " http://user:pa@ss@h:1/ "
        apiClient.answerStatus(false)
        compare(field("chosenServer").text, "http://h:1/")
        field("loginField").text = "operator"
        signIn()
        tryVerify(() => inspector.stored("login/lastLogin") === "operator")
        compare(inspector.stored("login/lastServer"), "http://h:1/")
        apiClient.expire()
        compare([login().step, field("hint").text], ["server", Translations.sessionExpired])
    }

    // Navigation.

    function test_entries_follow_the_permissions() {
        signIn()
        const shown = () => ["floorplans", "cameras", "vision", "admin", "audit", "incidents", "cluster"]
            .filter(name => findChild(main, "nav_" + name).visible)
        for (const [permission, entry] of [
                ["floor_plan_view", "floorplans"], ["manage_floor_plans", "floorplans"], ["manage_cameras", "cameras"],
                ["manage_vision", "vision"], ["manage_users", "admin"], ["view_audit", "audit"],
                ["respond_incidents", "incidents"], ["view_cluster", "cluster"]]) {
            apiClient.permissions = [permission, "unknown"]
            compare(shown(), [entry])
        }
    }

    function test_keys_open_pages() {
        signIn("view_cluster")
        for (const [key, opened] of [[Qt.Key_3, "cluster"], [Qt.Key_2, "playback"], [Qt.Key_9, "playback"],
                [Qt.Key_Comma, "settings"]]) {
            keyClick(key, Qt.ControlModifier)
            compare(main.currentPage, opened)
        }
        verify(findChild(page(), "nav_settings").activeFocus)
        keyClick(Qt.Key_Up)
        keyClick(Qt.Key_Home)
        keyClick(Qt.Key_Down)
        keyClick(Qt.Key_Return)
        compare(main.currentPage, "playback")
        findChild(page(), "cameraSearchField").forceActiveFocus(Qt.MouseFocusReason)
        keyClick(Qt.Key_1, Qt.ControlModifier)
        verify(main.activeFocusItem.visualFocus)
    }

    function test_settings_by_keyboard() {
        signIn()
        keyClick(Qt.Key_Comma, Qt.ControlModifier)
        for (const name of ["nav_settings", "logoutLink", "tab_en", "tab_ru"]) {
            verify(findChild(page(), name).activeFocus, name)
            keyClick(Qt.Key_Tab)
        }
        keyClick(Qt.Key_Space)
        tryVerify(() => String(inspector.stored("ui/stretchVideo")) === "true")
        keyClick(Qt.Key_Space)
        compare(AppSettings.stretchVideo, false)
    }

    function test_moments_open_in_the_archive() {
        cameraFeed.list(2)
        signIn()
        main.navigateToMoment("", 5)
        compare(main.currentPage, "live")
        for (const camera of ["cam1", "cam2"]) {
            main.navigateToMoment(camera, 1700000000000)
            compare([page().selectedCameras, page().pendingSeekMs], [[camera], 1700000000000])
        }
        main.showPage("live")
        main.showPage("playback")
        compare(page().selectedCameras, [])
    }
}
