import QtQuick
import ZorvelClient

// The main window: sign-in, then the live view, which stays, and one other page at a time.
WindowBase {
    id: window

    // "login", "live" or one of the keys of `pages`.
    property string currentPage: "login"
    // A moment the archive was asked to open at, {cameraId, time}, until the playback page has taken it.
    property var playbackTarget: null

    property var pages: ({
        playback: playbackPage,
        floorplans: floorPlansPage,
        admin: adminPage,
        cameras: camerasPage,
        vision: visionPage,
        audit: auditPage,
        incidents: incidentsPage,
        cluster: clusterPage,
        settings: settingsPage
    })

    property bool _sessionExpired: false
    property int _focusReason: Qt.OtherFocusReason

    // Switches the page. Whoever came by keyboard, or was typing, finds the focus marked on the new page too.
    function showPage(page: string) {
        const typing = currentPage !== "login" && activeFocusItem instanceof TextInput
        _focusReason = typing || activeFocusItem?.visualFocus ? Qt.TabFocusReason : Qt.OtherFocusReason
        currentPage = page
    }

    function navigateToMoment(cameraId: string, timeMs: real) {
        if (cameraId === "")
            return
        playbackTarget = { cameraId: cameraId, time: timeMs }
        if (currentPage === "playback")
            openPlaybackTarget(pageLoader.item)
        else
            showPage("playback")
    }

    function openPlaybackTarget(page: var) {
        const target = playbackTarget
        if (currentPage !== "playback" || target === null)
            return
        playbackTarget = null
        page.openAt?.(target.cameraId, target.time)
    }

    function injectTestIncident() {
        if (typeof incidentModel !== "undefined")
            incidentModel.injectTest()
    }

    visible: true
    title: Translations.appTitle

    Connections {
        target: apiClient

        function onSessionExpired() {
            window._sessionExpired = true
            window.showPage("login")
        }

        function onAuthChanged() {
            if (!apiClient.authenticated)
                window.showPage("login")
        }
    }

    LiveView {
        id: liveView

        objectName: "liveView"
        anchors.fill: parent
        visible: window.currentPage === "live"
        suspended: window.windowSuspended
        onPageRequested: page => window.showPage(page)
        onVisibleChanged: {
            if (visible)
                forceActiveFocus(window._focusReason)
        }
    }

    Loader {
        id: pageLoader

        objectName: "pageLoader"
        anchors.fill: parent
        sourceComponent: window.pages[window.currentPage] ?? null
        onLoaded: {
            (item as Item).forceActiveFocus(window._focusReason)
            window.openPlaybackTarget(item)
        }
    }
    Connections {
        target: pageLoader.item

        function onPageRequested(page) {
            window.showPage(page)
        }
    }

    Loader {
        objectName: "loginLoader"
        anchors.fill: parent
        active: window.currentPage === "login"
        sourceComponent: LoginPage {
            notice: window._sessionExpired ? Translations.sessionExpired : ""
            onLoggedIn: {
                window._sessionExpired = false
                window.showPage("live")
            }
        }
        onLoaded: (item as Item).forceActiveFocus()
    }

    Component {
        id: playbackPage

        PlaybackView { }
    }
    Component {
        id: floorPlansPage

        LaterPage {
            activePage: "floorplans"
            title: Translations.navFloorPlans
        }
    }
    Component {
        id: adminPage

        LaterPage {
            activePage: "admin"
            title: Translations.adminUsersGroups
        }
    }
    Component {
        id: camerasPage

        LaterPage {
            activePage: "cameras"
            title: Translations.adminCamerasGroups
        }
    }
    Component {
        id: visionPage

        LaterPage {
            activePage: "vision"
            title: "Vision-анализатор"
        }
    }
    Component {
        id: auditPage

        LaterPage {
            activePage: "audit"
            title: Translations.auditTitle
        }
    }
    Component {
        id: incidentsPage

        LaterPage {
            activePage: "incidents"
            title: "Инциденты"
        }
    }
    Component {
        id: clusterPage

        LaterPage {
            activePage: "cluster"
            title: Translations.clusterTitle
        }
    }
    Component {
        id: settingsPage

        SettingsView { }
    }

    Shortcut {
        sequence: "Ctrl+Shift+I"
        onActivated: window.injectTestIncident()
    }
    Item {
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        width: 28
        height: 28
        z: 999
        Accessible.ignored: true

        TapHandler {
            onDoubleTapped: window.injectTestIncident()
        }
    }
}
