import QtQuick
import ZorvelClient

// Chooses the visible range: the whole archive, a day, the end of the recording, a day on or back, nearer or farther.
Flow {
    id: root

    property real earliest: 0
    property real latest: 0
    property real viewStart: 0
    property real viewEnd: 0
    readonly property bool hasData: latest > earliest

    readonly property real _hour: 3600000
    readonly property real _day: 24 * _hour

    signal requestView(real fromMs, real toMs)
    signal zoomIn()
    signal zoomOut()

    // The local day that holds the end of the recording, or now; or so many days before it.
    function showDay(daysBefore: int) {
        const day = new Date(latest > 0 ? latest : Date.now())
        day.setHours(0, 0, 0, 0)
        day.setDate(day.getDate() - daysBefore)
        requestView(day.getTime(), day.getTime() + _day)
    }

    function showLast(ms: real) {
        if (hasData)
            requestView(latest - ms, latest)
    }

    function showAll() {
        if (hasData)
            requestView(earliest, latest)
    }

    function pageByDays(days: int) {
        const width = viewEnd > viewStart ? viewEnd - viewStart : 6 * _hour
        const from = viewStart + days * _day
        requestView(from, from + width)
    }

    spacing: Theme.spacingXS
    Accessible.role: Accessible.ToolBar
    Accessible.name: Translations.timeNavigation

    component NavButton: ToolButtonChip {
        id: navButton

        property string hint: ""

        text: hint === "" ? label : hint
        focusPolicy: Qt.TabFocus

        StyledToolTip {
            visible: navButton.hovered && navButton.hint !== ""
            text: navButton.hint
        }
    }

    Row {
        height: Theme.rowHeight
        rightPadding: Theme.spacingXS
        spacing: Theme.spacingXS

        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            width: 12
            height: 12
            radius: 2
            color: Theme.accent
            opacity: 0.6
        }
        StyledText {
            anchors.verticalCenter: parent.verticalCenter
            text: Translations.legendRecording
            color: Theme.textSecondary
        }
    }
    NavButton {
        objectName: "navAll"
        label: Translations.navAllArchive
        enabled: root.hasData
        onClicked: root.showAll()
    }
    NavButton {
        objectName: "navToday"
        label: Translations.navToday
        onClicked: root.showDay(0)
    }
    NavButton {
        objectName: "navYesterday"
        label: Translations.navYesterday
        onClicked: root.showDay(1)
    }
    NavButton {
        objectName: "navLast24h"
        label: Translations.navLast24h
        enabled: root.hasData
        onClicked: root.showLast(root._day)
    }
    NavButton {
        objectName: "navLastHour"
        label: Translations.navLastHour
        enabled: root.hasData
        onClicked: root.showLast(root._hour)
    }
    NavButton {
        objectName: "navPrevDay"
        label: "◀"
        hint: Translations.navPrevDay
        onClicked: root.pageByDays(-1)
    }
    NavButton {
        objectName: "navNextDay"
        label: "▶"
        hint: Translations.navNextDay
        onClicked: root.pageByDays(1)
    }
    NavButton {
        objectName: "navZoomIn"
        label: "+"
        hint: Translations.navZoomIn
        onClicked: root.zoomIn()
    }
    NavButton {
        objectName: "navZoomOut"
        label: "−"
        hint: Translations.navZoomOut
        onClicked: root.zoomOut()
    }
}
