import QtQuick
import QtCore
import QtQuick.Dialogs
import ZorvelClient

// Asks where to save a clip, and before another file is replaced, and starts the export. The question is asked here
// and not by the platform's dialog, because not all of them do.
Item {
    id: root

    property string _cameraId: ""
    property date _from
    property date _to
    property url _target

    function ask(cameraId: string, cameraName: string, startMs: real, endMs: real) {
        _cameraId = cameraId
        _from = new Date(startMs)
        _to = new Date(endMs)
        const name = exportModel.suggestFileName(cameraName, _from, _to)
        chooser.selectedFile = chooser.currentFolder + "/" + encodeURIComponent(name)
        chooser.open()
    }

    // Qt's own dialog gives a name that was typed as a bare path, and adds the suffix before the first "#" or "?".
    function _choose(file: url) {
        const text = String(file)
        const address = !text.startsWith("/") ? text
            : "file://" + text.replace(/\.mp4(?=[#?])/, "").replace(/[#?]/g, encodeURIComponent)
        _target = /\.mp4$/i.test(address) ? address : address + ".mp4"
        if (exportModel.wouldReplace(_target))
            replaceDialog.open()
        else
            _start()
    }

    // Where the platform has no dialog, Qt's own writes the path on white whatever the palette says.
    function _darkenPath(item: var) {
        if (item.buttonDelegate !== undefined)
            item.palette.windowText = Theme.surfaceDark
        for (let i = 0; i < item.children.length; ++i)
            _darkenPath(item.children[i])
    }

    function _start() {
        exportModel.exportDirect(_cameraId, _from, _to, _target)
    }

    FileDialog {
        id: chooser

        title: Translations.saveExportTitle
        fileMode: FileDialog.SaveFile
        options: FileDialog.DontConfirmOverwrite
        acceptLabel: Translations.adminSave
        rejectLabel: Translations.cancel
        defaultSuffix: "mp4"
        nameFilters: ["MP4 Video (*.mp4)"]
        currentFolder: {
            const movies = StandardPaths.locate(StandardPaths.MoviesLocation, "", StandardPaths.LocateDirectory)
            return String(movies) !== "" ? movies : StandardPaths.writableLocation(StandardPaths.HomeLocation)
        }
        onVisibleChanged: {
            if (visible)
                Qt.callLater(() => root._darkenPath(replaceDialog.parent))
        }
        onAccepted: root._choose(selectedFile)
    }
    StyledDialog {
        id: replaceDialog

        objectName: "replaceDialog"
        title: Translations.replaceFileTitle

        contentItem: StyledText {
            text: decodeURIComponent(String(root._target).split("/").pop())
            color: Theme.textSecondary
        }
        footer: DialogButtons {
            ActionButton {
                objectName: "keepFileButton"
                focus: true
                text: Translations.cancel
                onClicked: replaceDialog.close()
            }
            ActionButton {
                objectName: "replaceFileButton"
                text: Translations.replaceFile
                hoverColor: Theme.statusError
                onClicked: {
                    replaceDialog.close()
                    root._start()
                }
            }
        }
    }
}
