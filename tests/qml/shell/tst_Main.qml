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
    Component {
        id: archiveStandIn

        Item {
            property var opened: []

            signal pageRequested(string page)

            function openAt(cameraId, timeMs) {
                opened = [...opened, [cameraId, timeMs]]
            }
        }
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

    function signIn() {
        apiClient.acceptLogin("operator", [])
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
        compare(apiClient.calls[1], ["doSetup", "http://h:1", "root", "secret"])
        compare(apiClient.calls.length, 2)
        apiClient.refuseLogin("no")
        verify(field("passwordField").activeFocus)
        keyClick(Qt.Key_Return)
        verify(!field("errorBanner").visible)
        apiClient.acceptLogin("root", [])
        compare(login(), null)
    }

    function test_back_to_the_server_data() {
        return [{ tag: "link" }, { tag: "Escape" }]
    }

    function test_back_to_the_server(data) {
        apiClient.answerStatus(false)
        field("passwordField").text = "secret"
        waitForRendering(main.contentItem)
        if (data.tag === "link")
            mouseClick(field("changeServerLink"))
        else
            keyClick(Qt.Key_Escape)
        compare(login().step, "server")
        verify(field("serverField").activeFocus)
        compare(field("passwordField").text, "")
    }

    function test_what_is_remembered() {
        field("serverField").text = " http://user:pa@ss@h:1/ "
        apiClient.answerStatus(false)
        compare(field("chosenServer").text, "http://h:1/")
        field("loginField").text = "operator"
        field("passwordField").text = "secret"
        signIn()
        tryVerify(() => inspector.stored("login/lastLogin") === "operator")
        compare(inspector.stored("login/lastServer"), "http://h:1/")
        apiClient.expire()
        compare([login().step, field("hint").text], ["server", Translations.sessionExpired])
        compare(field("serverField").text, "http://h:1/")
        compare(field("passwordField").text, "")
    }

    function test_login_card_scrolls_in_a_small_window() {
        main.height = 600
        apiClient.answerStatus(true)
        apiClient.refuseLogin("A long answer of the server. ".repeat(60))
        tryVerify(() => field("card").height > main.height)
        const scroller = field("scroller")
        verify(scroller.contentHeight > field("card").height)
        keyClick(Qt.Key_PageDown)
        verify(scroller.contentY > 0)
        field("loginField").forceActiveFocus()
        const seen = field("loginField").mapToItem(scroller, 0, 0).y
        verify(seen >= 0 && seen + field("loginField").height <= main.height)
    }

    // Pages.

    function test_settings_by_keyboard() {
        signIn()
        keyClick(Qt.Key_Comma, Qt.ControlModifier)
        const page = findChild(main, "pageLoader").item
        for (const name of ["nav_settings", "logoutLink", "tab_en", "tab_ru", "stretchSwitch"]) {
            verify(findChild(page, name).activeFocus, name)
            keyClick(Qt.Key_Tab)
        }
        keyClick(Qt.Key_Backtab)
        keyClick(Qt.Key_Return)
        tryVerify(() => String(inspector.stored("ui/stretchVideo")) === "true")
        keyClick(Qt.Key_Space)
        compare(AppSettings.stretchVideo, false)
        keyClick(Qt.Key_Backtab)
        keyClick(Qt.Key_Return)
        compare(Translations.language, "ru")
        verify(findChild(page, "tab_ru").activeFocus, "the focus stays where it was")
    }

    function test_moments_open_in_the_archive() {
        signIn()
        main.navigateToMoment("", 5)
        compare(main.currentPage, "live")
        main.pages = Object.assign({}, main.pages, { playback: archiveStandIn })
        main.navigateToMoment("cam", 1700000000000)
        const archive = findChild(main, "pageLoader").item
        compare(archive.opened, [["cam", 1700000000000]])
        main.navigateToMoment("cam2", 7)
        compare(archive.opened[1], ["cam2", 7])
        main.showPage("live")
        main.showPage("playback")
        compare(findChild(main, "pageLoader").item.opened, [])
    }

    function test_the_stand_in_has_what_the_client_has() {
        compare(inspector.missingInApiClient(), [])
    }
}
