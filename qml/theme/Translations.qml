pragma Singleton
import QtQuick
import Qt.labs.settings

// Every text the operator reads, in Russian and English. The texts follow `language` while the program runs.
FloorPlanTexts {
    id: root

    readonly property var availableLanguages: [
        { code: "en", name: "English" },
        { code: "ru", name: "Русский" }
    ]

    // The shell.
    readonly property string laterText: t(
        "Этот раздел появится в одной из следующих версий.", "This section comes with a later version.")
    readonly property string newScreenLater: t(
        "Дополнительные экраны появятся в одной из следующих версий.",
        "Additional screens come with a later version.")
    readonly property string sessionExpired: t("Сеанс истёк. Войдите снова.", "The session has expired. Sign in again.")
    readonly property string close: t("Закрыть", "Close")
    readonly property string navigation: t("Разделы", "Navigation")
    readonly property string showPassword: t("Показать пароль", "Show password")
    readonly property string hidePassword: t("Скрыть пароль", "Hide password")
    readonly property string serverConnected: t("Связь с сервером есть", "Connected to the server")
    readonly property string serverDisconnected: t("Нет связи с сервером", "No connection to the server")

    // The keys.
    readonly property string shortcutsTitle: t("Клавиши", "Keyboard")
    readonly property string shortcutsEverywhere: t("Во всех разделах", "Everywhere")
    readonly property string keySpace: t("Пробел", "Space")
    readonly property string shortcutSection: t("Открыть раздел по номеру в списке", "Open a section by its number")
    readonly property string shortcutSettings: t("Открыть настройки", "Open the settings")
    readonly property string shortcutSidebar: t("Перейти по списку разделов", "Move along the sections")
    readonly property string shortcutFocus: t(
        "Следующий или предыдущий элемент", "Next or previous control")
    readonly property string shortcutScroll: t("Прокрутить страницу", "Scroll the page")
    readonly property string shortcutActivate: t("Нажать выбранный элемент", "Press the focused control")
    readonly property string shortcutEscape: t("Закрыть сообщение или меню", "Close a message or a menu")
    readonly property string shortcutPreset: t("Раскладка сетки", "Grid layout")
    readonly property string shortcutCell: t("Перейти к соседней ячейке", "Go to the next cell")
    readonly property string shortcutMoveCamera: t(
        "Перенести камеру в соседнюю ячейку", "Move the camera to the next cell")
    readonly property string shortcutOpenCell: t(
        "Развернуть камеру или выбрать её для пустой ячейки", "Maximise the camera, or pick one for an empty cell")
    readonly property string shortcutRetry: t("Подключить камеру снова", "Connect the camera again")
    readonly property string shortcutBackToGrid: t("Вернуться к сетке", "Back to the grid")

    // The live view.
    readonly property string layouts: t("Раскладки", "Layouts")
    readonly property string layoutTip: t("Раскладка %1 (клавиша %2)", "Layout %1 (key %2)")
    readonly property string cellNumber: t("Ячейка %1", "Cell %1")
    readonly property string cellEmpty: t("пусто", "empty")
    readonly property string noCameraFound: t("Камеры не найдены", "No camera found")
    readonly property string stateRecording: t("идёт запись", "recording")
    readonly property string stateError: t("ошибка", "error")
    readonly property string stateOffline: t("не в сети", "offline")

    // The archive.
    readonly property string play: t("Воспроизвести", "Play")
    readonly property string pause: t("Пауза", "Pause")
    readonly property string playbackControls: t("Воспроизведение", "Playback")
    readonly property string timeNavigation: t("Выбор времени", "Time range")
    readonly property string timeline: t("Шкала времени", "Timeline")
    readonly property string clipStart: t("Начало фрагмента", "Clip start")
    readonly property string clipEnd: t("Конец фрагмента", "Clip end")
    readonly property string replaceFileTitle: t("Заменить файл?", "Replace the file?")
    readonly property string replaceFile: t("Заменить", "Replace")
    readonly property string exportSaved: t("Сохранено: %1", "Saved: %1")
    readonly property string shortcutPlayPause: t("Воспроизвести или остановить", "Play or pause")
    readonly property string shortcutStep: t("На 10 секунд назад или вперёд", "Back or forward 10 seconds")
    readonly property string shortcutToEnd: t("К последней записи", "To the newest footage")
    readonly property string shortcutZoom: t("Приблизить или отдалить шкалу", "Zoom the timeline")
    readonly property string shortcutPan: t("Сдвинуть шкалу", "Move the timeline")
    readonly property string shortcutSeekMiddle: t(
        "Воспроизвести с середины шкалы", "Play from the middle of the timeline")
    readonly property string shortcutLeaveCameras: t("От списка камер к видео", "From the cameras to the video")
    readonly property string shortcutClip: t("Сдвинуть границу фрагмента", "Move a bound of the clip")

    property bool _restored: false

    readonly property var _days: ({
        mon: ["Пн", "Mon"],
        tue: ["Вт", "Tue"],
        wed: ["Ср", "Wed"],
        thu: ["Чт", "Thu"],
        fri: ["Пт", "Fri"],
        sat: ["Сб", "Sat"],
        sun: ["Вс", "Sun"]
    })

    // The short name of a weekday "mon" to "sun"; undefined for anything else.
    function dayLabel(key: string) {
        return _days.hasOwnProperty(key) ? t(_days[key][0], _days[key][1]) : undefined
    }

    // What a camera's state is called; empty for a state that has not arrived.
    function cameraStateLabel(state: string) : string {
        return state === "" ? "" : state === "recording" ? stateRecording : state === "error" ? stateError : stateOffline
    }

    // The operator's own choice, remembered even where it is what the system's language has led to already.
    function choose(code: string) {
        language = code
        saved.savedLanguage = code
    }

    visible: false

    onLanguageChanged: {
        if (_restored)
            saved.savedLanguage = language
    }
    Component.onCompleted: {
        if (saved.savedLanguage !== "")
            language = saved.savedLanguage
        _restored = true
    }

    // Read once and then only written: bound to `language` it would re-evaluate the binding that writes it.
    Settings {
        id: saved

        category: "i18n"

        property string savedLanguage: ""
    }
}
