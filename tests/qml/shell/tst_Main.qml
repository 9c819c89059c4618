import QtQuick
import QtTest
import ZorvelClient

TestCase {
    id: testCase

    name: "Main"
    when: windowShown

    readonly property var allPermissions: [
        "manage_floor_plans", "manage_cameras", "manage_vision", "manage_users", "view_audit",
        "respond_incidents", "view_cluster"
    ]
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

    function type(text) {
        for (const character of text)
            keyClick(character)
    }

    function signIn(permissions) {
        apiClient.acceptLogin("operator", permissions)
        compare(main.currentPage, "live")
    }

    // Sign-in.

    function test_first_account_by_keyboard() {
        verify(field("serverField").activeFocus)
        field("serverField").text = "  "
        keyClick(Qt.Key_Return)
        compare(apiClient.calls, [], "no server yet")
        field("serverField").selectAll()
        type("http://h:1")
        keyClick(Qt.Key_Return)
        keyClick(Qt.Key_Return)
        compare(apiClient.calls, [["checkStatus", "http://h:1"]], "one check at a time")
        apiClient.answerStatus(true)

        compare(field("title").text, Translations.setupTitle)
        verify(field("loginField").activeFocus)
        type("root")
        keyClick(Qt.Key_Return)
        verify(field("passwordField").activeFocus)
        keyClick(Qt.Key_Return)
        compare(apiClient.calls.length, 1, "no password yet")
        type("secret")
        keyClick(Qt.Key_Return)
        compare(apiClient.calls[1], ["doSetup", "http://h:1", "root", "secret"])
        verify(!field("primaryButton").enabled)
        const error = "Wrong login or password. ".repeat(8)
        apiClient.refuseLogin(error)
        compare(field("errorBanner").text, error)
        verify(field("passwordField").activeFocus)
        keyClick(Qt.Key_Return)
        verify(!field("errorBanner").visible)
        apiClient.acceptLogin("root", [])
        compare(main.currentPage, "live")
        compare(login(), null)
    }

    function test_back_to_the_server_data() {
        return [{ tag: "link" }, { tag: "Escape" }]
    }

    function test_back_to_the_server(row) {
        apiClient.answerStatus(false)
        field("passwordField").text = "secret"
        waitForRendering(main.contentItem)
        if (row.tag === "link")
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
        signIn([])
        tryVerify(() => inspector.stored("login/lastLogin") === "operator")
        compare(inspector.stored("login/lastServer"), "http://h:1/")
        apiClient.doLogout()
        compare(main.currentPage, "login")
        compare(login().step, "server")
        compare(field("serverField").text, "http://h:1/")
        compare(field("loginField").text, "operator")
        compare(field("passwordField").text, "")
    }

    function test_login_card_scrolls_in_a_small_window() {
        main.height = 600
        apiClient.answerStatus(true)
        apiClient.refuseLogin("A long answer of the server. ".repeat(60))
        const card = field("card")
        tryVerify(() => card.height > main.height)
        const scroller = field("scroller")
        verify(scroller.contentHeight > card.height)
        verify(card.y >= 0)
        keyClick(Qt.Key_PageDown)
        verify(scroller.contentY > 0)
        field("loginField").forceActiveFocus()
        const seen = field("loginField").mapToItem(scroller, 0, 0).y
        verify(seen >= 0 && seen + field("loginField").height <= main.height)
    }

    // Pages.

    function test_every_page_is_made_and_destroyed() {
        signIn(allPermissions)
        const live = findChild(main, "liveView")
        const loader = findChild(main, "pageLoader")
        let previous = null
        for (const page of Object.keys(main.pages)) {
            findChild(previous ?? live, "nav_" + page).clicked()
            compare(main.currentPage, page)
            verify(loader.item !== null && loader.item !== previous)
            verify(!live.visible)
            compare(findChild(loader.item, "nav_" + page).current, true, page)
            previous = loader.item
        }
        findChild(previous, "nav_live").clicked()
        compare(loader.item, null)
        verify(live.visible)
        compare(findChild(main, "liveView"), live)
    }

    function test_leaving_a_session() {
        const ways = [[() => apiClient.doLogout(), ""], [() => apiClient.expire(), Translations.sessionExpired]]
        for (const [leave, hint] of ways) {
            signIn(allPermissions)
            main.showPage("admin")
            leave()
            compare(main.currentPage, "login")
            compare(login().step, "server")
            compare(field("hint").text, hint)
            compare(findChild(main, "pageLoader").item, null)
        }
        signIn([])
        verify(findChild(main, "liveView").visible)
    }

    function test_keyboard_focus_follows_to_the_new_page() {
        signIn(allPermissions)
        main.showPage("settings")
        const settings = findChild(main, "pageLoader").item
        const entry = findChild(settings, "nav_settings")
        verify(entry.activeFocus && !entry.visualFocus)
        keyClick(Qt.Key_Home)
        keyClick(Qt.Key_Down)
        keyClick(Qt.Key_Return)
        compare(main.currentPage, "playback")
    }

    function test_settings_by_keyboard() {
        signIn([])
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
        signIn([])
        main.navigateToMoment("", 5)
        compare(main.currentPage, "live")
        compare(main.playbackTarget, null)
        main.pages = Object.assign({}, main.pages, { playback: archiveStandIn })
        main.navigateToMoment("cam", 1700000000000)
        compare(main.currentPage, "playback")
        const archive = findChild(main, "pageLoader").item
        compare(archive.opened, [["cam", 1700000000000]])
        compare(main.playbackTarget, null)
        main.navigateToMoment("cam2", 7)
        compare(archive.opened[1], ["cam2", 7])
        main.showPage("live")
        main.showPage("playback")
        compare(findChild(main, "pageLoader").item.opened, [])
    }

    function test_video_stops_while_nobody_sees_it() {
        signIn([])
        const live = findChild(main, "liveView")
        compare(live.suspended, false)
        main.visibility = Window.Minimized
        tryCompare(main, "windowSuspended", true)
        verify(live.suspended)
        main.visibility = Window.Windowed
        tryCompare(live, "suspended", false)
        main.visible = false
        tryCompare(live, "suspended", true)
    }

    function test_the_stand_in_has_what_the_client_has() {
        compare(inspector.missingInApiClient(), [])
    }
}
