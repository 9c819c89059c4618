import QtQuick

// The texts of sign-in, navigation, live view, archive and windows, and the language they all follow.
// AdminTexts, ClusterTexts and FloorPlanTexts continue the list, Translations ends it.
Item {
    // "ru" or "en". Without a saved choice the operating system's locale decides.
    property string language: Qt.locale().name.startsWith("ru") ? "ru" : "en"

    readonly property string appTitle: t("Бранник Безопасность", "Brannic Security")
    readonly property string loginServerPlaceholder: t("URL сервера (http://...)", "Server URL (http://...)")
    readonly property string loginPlaceholder: t("Логин", "Login")
    readonly property string loginPasswordPlaceholder: t("Пароль", "Password")
    readonly property string loginSigningIn: t("Вход...", "Signing in...")
    readonly property string loginSignIn: t("Войти", "Sign In")
    readonly property string loginContinue: t("Продолжить", "Continue")
    readonly property string loginChangeServer: t("Сменить сервер", "Change server")
    readonly property string setupTitle: t("Создание администратора", "Create Administrator")
    readonly property string setupHint: t(
        "На сервере ещё нет пользователей. Создайте администратора со всеми правами.",
        "The server has no users yet. Create an administrator with full access.")
    readonly property string setupCreate: t("Создать", "Create")

    readonly property string navLiveView: t("Живой просмотр", "Live View")
    readonly property string navArchive: t("Архив", "Archive")
    readonly property string navFloorPlans: t("Планы этажей", "Floor Plans")
    readonly property string navSettings: t("Настройки", "Settings")
    readonly property string navLogout: t("Выход", "Logout")

    readonly property string camerasHeader: t("Камеры", "Cameras")
    readonly property string searchPlaceholder: t("Поиск...", "Search...")
    readonly property string dropHere: t("Отпустите здесь", "Drop here")
    readonly property string clickOrDragCamera: t("Нажмите или перетащите камеру", "Click or drag a camera")
    readonly property string swapCells: t("Поменять местами", "Swap")
    readonly property string changeCamera: t("Сменить камеру", "Change camera")
    readonly property string removeFromCell: t("Убрать из ячейки", "Remove from cell")
    readonly property string replaceCamera: t("Заменить камеру", "Replace camera")
    readonly property string selectCameraTitle: t("Выбор камеры", "Select Camera")
    readonly property string connecting: t("Подключение...", "Connecting...")
    readonly property string connectionError: t("Ошибка подключения", "Connection error")
    readonly property string retry: t("Повторить", "Retry")
    readonly property string clickCameraToAssign: t(
        "Нажмите на камеру, чтобы добавить её", "Click a camera to assign it")

    readonly property string modeSingle: t("Одна камера", "Single")
    readonly property string modeGrid: t("Сетка", "Grid")
    readonly property string selectCameraForArchive: t(
        "Выберите камеру для просмотра архива", "Select a camera to view its archive")
    readonly property string loading: t("Загрузка...", "Loading...")
    readonly property string noRecordings: t("Нет записей", "No recordings")
    readonly property string loadingSegment: t("Загрузка фрагмента...", "Loading footage...")
    readonly property string playbackError: t("Ошибка воспроизведения", "Playback error")
    readonly property string archiveEndReached: t("Достигнут конец архива", "End of the archive reached")
    readonly property string archiveNoFootageHere: t("В этот момент записи нет", "No footage at this moment")
    readonly property string archivePickAnotherTime: t(
        "Выберите другое время на шкале", "Pick another time on the timeline")
    readonly property string noFootageHere: t("Нет записи", "No footage")
    readonly property string live: t("Прямой эфир", "Live")
    readonly property string selectCamerasForArchive: t(
        "Отметьте от одной до четырёх камер", "Select one to four cameras")
    readonly property string selectionCounter: t("Выбрано: %1 из %2", "Selected: %1 of %2")
    readonly property string navToday: t("Сегодня", "Today")
    readonly property string navYesterday: t("Вчера", "Yesterday")
    readonly property string navLastHour: t("Последний час", "Last hour")
    readonly property string navLast24h: t("Последние 24 ч", "Last 24 h")
    readonly property string navAllArchive: t("Весь архив", "All archive")
    readonly property string navPrevDay: t("Предыдущий день", "Previous day")
    readonly property string navNextDay: t("Следующий день", "Next day")
    readonly property string navZoomIn: t("Приблизить", "Zoom in")
    readonly property string navZoomOut: t("Отдалить", "Zoom out")
    readonly property string navToEnd: t("В конец", "To the end")
    readonly property string legendRecording: t("Запись", "Recording")
    readonly property string stepBack: t("Назад на 10 секунд", "Back 10 seconds")
    readonly property string stepForward: t("Вперёд на 10 секунд", "Forward 10 seconds")
    readonly property string speedLabel: t("Скорость", "Speed")

    readonly property string plansHeader: t("Планы", "Plans")
    readonly property string noFloorPlans: t("Планов этажей нет", "No floor plans")
    readonly property string selectFloorPlan: t("Выберите план этажа", "Select a floor plan")
    readonly property string unknownCamera: t("Неизвестная камера", "Unknown camera")

    readonly property string exportClip: t("Экспорт", "Export")
    readonly property string exportDo: t("Скачать", "Download")
    readonly property string saveExportTitle: t("Сохранить запись", "Save Recording")
    readonly property string cancel: t("Отмена", "Cancel")
    readonly property string exportPartialWarning: t(
        "Часть записи недоступна — в файле есть пропуски", "Some footage was unavailable — the file has gaps")

    readonly property string settingsTitle: t("Настройки", "Settings")
    readonly property string languageLabel: t("Язык", "Language")
    readonly property string newScreen: t("Новый экран", "New Screen")
    readonly property string maxWindowsReached: t("Максимум окон открыто", "Maximum windows reached")

    function t(russian: string, english: string) : string {
        return language === "ru" ? russian : english
    }
}
