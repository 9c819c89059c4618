// The texts of the floor-plan editor.
ClusterTexts {
    readonly property string fpeEditMode: t("Редактировать", "Edit")
    readonly property string fpeDone: t("Готово", "Done")
    readonly property string fpeUnsavedTitle: t("Несохранённые изменения", "Unsaved Changes")
    readonly property string fpeUnsavedText: t(
        "На плане есть несохранённые изменения. Сохранить их?",
        "The plan has unsaved changes. Save them?")
    readonly property string fpeDiscard: t("Не сохранять", "Discard")
    readonly property string fpePlans: t("Планы", "Plans")
    readonly property string fpeCameras: t("Камеры", "Cameras")
    readonly property string fpeCamerasHint: t(
        "Выберите камеру, затем нажмите на план, чтобы разместить её.",
        "Pick a camera, then click the plan to place it.")
    readonly property string fpeToolSelect: t("Выбор", "Select")
    readonly property string fpeToolWall: t("Стена", "Wall")
    readonly property string fpeToolDoor: t("Дверь", "Door")
    readonly property string fpeToolWindow: t("Окно", "Window")
    readonly property string fpeToolStairs: t("Лестница", "Stairs")
    readonly property string fpeToolColumn: t("Колонна", "Column")
    readonly property string fpeToolText: t("Текст", "Text")
    readonly property string fpeUnsaved: t("Не сохранено", "Unsaved")
    readonly property string fpeCameraProps: t("Камера", "Camera")
    readonly property string fpeElementProps: t("Элемент", "Element")
    readonly property string fpeRotation: t("Поворот", "Rotation")
    readonly property string fpeFov: t("Угол обзора", "Field of view")
    readonly property string fpeLength: t("Длина", "Length")
    readonly property string fpeThickness: t("Толщина", "Thickness")
    readonly property string fpeText: t("Текст", "Text")
    readonly property string fpeFontSize: t("Размер шрифта", "Font size")
    readonly property string fpeRemove: t("Убрать с плана", "Remove from plan")
    readonly property string fpeNewPlan: t("Новый план", "New Plan")
    readonly property string fpeRenamePlan: t("Переименование плана", "Rename Plan")
    readonly property string fpeCreate: t("Создать", "Create")
}
