import QtQuick
import ZorvelClient

// Exporting a clip: its bounds, how far the download is, what went wrong, and the buttons.
Flow {
    id: root

    property string rangeText: ""
    property bool selectionEmpty: true

    readonly property bool downloading: exportModel.downloading
    // Something to say about the last export, even if it ended while another page was shown.
    readonly property bool hasOutcome: exportModel.savedPath !== "" || exportModel.error !== ""
    // As it was at the last look: a fast download makes progress more often than the page is worth drawing.
    property string progressText: ""

    signal downloadClicked()
    signal cancelClicked()
    // The keyboard is on a button that cannot be pressed any more.
    signal leaveRequested()

    function _lookAtProgress() {
        progressText = !downloading ? "" : Math.round(exportModel.progress * 100) + "%"
            + (exportModel.downloadedBytes > 0 ? " · " + exportModel.formatSize(exportModel.downloadedBytes) : "")
    }

    function _leave(button: Item) {
        if (button.focus && !(button.visible && button.enabled))
            leaveRequested()
    }

    spacing: Theme.spacingSM
    Accessible.role: Accessible.Pane
    Accessible.name: Translations.exportClip

    onDownloadingChanged: _lookAtProgress()
    Component.onCompleted: _lookAtProgress()

    component Line: StyledText {
        height: Theme.controlHeight
        visible: text !== ""
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.NoWrap
        elide: Text.ElideMiddle
        width: Math.min(implicitWidth, root.width)
    }

    Timer {
        interval: 250
        repeat: true
        running: root.downloading
        onTriggered: root._lookAtProgress()
    }
    Line {
        objectName: "exportRange"
        text: root.rangeText
    }
    Line {
        objectName: "exportProgress"
        text: root.progressText
        color: Theme.textSecondary
    }
    PrimaryButton {
        id: download

        objectName: "exportDownload"
        visible: root.rangeText !== ""
        enabled: !root.selectionEmpty && !root.downloading
        text: Translations.exportDo
        focusPolicy: Qt.TabFocus
        onVisibleChanged: root._leave(download)
        onEnabledChanged: root._leave(download)
        onClicked: root.downloadClicked()
    }
    ActionButton {
        id: cancel

        objectName: "exportCancel"
        text: root.rangeText === "" && !root.downloading ? Translations.close : Translations.cancel
        focusPolicy: Qt.TabFocus
        onVisibleChanged: root._leave(cancel)
        onClicked: root.cancelClicked()
    }
    Line {
        objectName: "exportError"
        height: Math.max(Theme.controlHeight, implicitHeight)
        text: exportModel.error
        color: Theme.statusError
        wrapMode: Text.Wrap
        elide: Text.ElideNone
        Accessible.role: Accessible.AlertMessage
    }
    Line {
        objectName: "exportPartial"
        text: exportModel.partial && !root.downloading ? Translations.exportPartialWarning : ""
        color: Theme.statusWarn
        Accessible.role: Accessible.AlertMessage
    }
    Line {
        objectName: "exportSaved"
        text: exportModel.savedPath === "" ? "" : Translations.exportSaved.arg(exportModel.savedPath)
        color: Theme.statusOk
        Accessible.role: Accessible.AlertMessage
    }
}
