import QtQuick
import QtQuick.Layouts
import ZorvelClient

// The navigation bar on the left of every page. Its entries follow the permissions of the signed-in user.
// Up, Down, Home and End move along the entries, Ctrl+1 to Ctrl+9 open the first nine that are shown.
FocusScope {
    id: root

    property string activePage: ""
    // A page's own controls, between the entries and the settings entry.
    default property alias extraContent: extras.data

    // The one entry that the Tab key stops at.
    readonly property Item tabStop: {
        const shown = shownEntries()
        return shown.find(entry => entry.current) ?? shown[0]
    }

    signal pageRequested(string page)

    function permits(permission: string) : bool {
        return apiClient.permissions.includes(permission)
    }

    function shownEntries() : var {
        return [...Array.from(pages.children), settingsEntry].filter(entry => entry.allowed)
    }

    function moveFocus(event: var) {
        const shown = shownEntries()
        const at = shown.findIndex(entry => entry.activeFocus)
        const steps = { [Qt.Key_Up]: at - 1, [Qt.Key_Down]: at + 1, [Qt.Key_Home]: 0, [Qt.Key_End]: shown.length - 1 }
        event.accepted = at >= 0 && event.key in steps
        if (event.accepted)
            shown[Math.max(0, Math.min(shown.length - 1, steps[event.key]))].forceActiveFocus(Qt.TabFocusReason)
    }

    implicitWidth: Theme.sidebarWidth
    width: implicitWidth
    Accessible.role: Accessible.PageTabList
    Accessible.name: Translations.navigation

    Component.onCompleted: tabStop.focus = true

    Rectangle {
        anchors.fill: parent
        color: Theme.surfaceDark
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.spacingSM
        spacing: Theme.spacingSM

        Column {
            id: pages

            Layout.fillWidth: true
            spacing: 2
            Keys.onPressed: event => root.moveFocus(event)

            component Entry: SidebarEntry {
                objectName: "nav_" + page
                width: parent ? parent.width : 0
                activePage: root.activePage
                activeFocusOnTab: root.tabStop === this
                onClicked: root.pageRequested(page)
            }

            Entry {
                page: "live"
                text: Translations.navLiveView
            }
            Entry {
                page: "playback"
                text: Translations.navArchive
            }
            Entry {
                page: "floorplans"
                text: Translations.navFloorPlans
                allowed: root.permits("floor_plan_view") || root.permits("manage_floor_plans")
            }
            Entry {
                page: "cameras"
                text: Translations.adminCamerasGroups
                allowed: root.permits("manage_cameras")
            }
            Entry {
                page: "vision"
                text: "Vision-анализатор"
                allowed: root.permits("manage_vision")
            }
            Entry {
                page: "admin"
                text: Translations.adminUsersGroups
                allowed: root.permits("manage_users")
            }
            Entry {
                page: "audit"
                text: Translations.auditTitle
                allowed: root.permits("view_audit")
            }
            Entry {
                page: "incidents"
                text: "Инциденты"
                allowed: root.permits("respond_incidents")
            }
            Entry {
                page: "cluster"
                text: Translations.clusterTitle
                allowed: root.permits("view_cluster")
            }
            NewScreenEntry {
                objectName: "nav_newScreen"
                width: parent.width
            }
        }

        Item {
            id: extras

            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
        }

        SidebarEntry {
            id: settingsEntry

            objectName: "nav_settings"
            Layout.fillWidth: true
            page: "settings"
            text: Translations.navSettings
            activePage: root.activePage
            activeFocusOnTab: root.tabStop === this
            Keys.onPressed: event => root.moveFocus(event)
            onClicked: root.pageRequested(page)
        }
        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 1
            color: Theme.borderSubtle
        }
        SessionRow {
            Layout.fillWidth: true
            Layout.margins: Theme.spacingXS
        }
    }

    Rectangle {
        anchors.right: parent.right
        width: 1
        height: parent.height
        color: Theme.border
    }

    Instantiator {
        model: 9

        Shortcut {
            required property int index

            enabled: root.visible
            sequence: "Ctrl+" + (index + 1)
            onActivated: root.shownEntries()[index]?.clicked()
        }
    }
    Shortcut {
        enabled: root.visible
        sequence: "Ctrl+,"
        onActivated: settingsEntry.clicked()
    }
}
