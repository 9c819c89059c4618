# The QML module ZorvelClient 1.0. Included from the top so that every document's resource path is
# /ZorvelClient/qml/..., as the program loads it. The native types join the same module when the program
# registers them, before it loads the root document.

set(zorvel_qml_root
    Main.qml
)
set(zorvel_qml_app
    LanguageChoice.qml
    LanguageLinks.qml
    LaterPage.qml
    LoginPage.qml
    NewScreenEntry.qml
    PageScaffold.qml
    SessionRow.qml
    SettingsCard.qml
    SettingsView.qml
    ShortcutList.qml
    SidebarEntry.qml
    SidebarNav.qml
)
set(zorvel_qml_theme
    AdminTexts.qml
    AppSettings.qml
    ClusterTexts.qml
    FloorPlanTexts.qml
    ShellTexts.qml
    Theme.qml
    Translations.qml
)
set(zorvel_qml_components
    ActionButton.qml
    ButtonBase.qml
    DeleteConfirmDialog.qml
    DialogButtons.qml
    EditDeleteButtons.qml
    ErrorBanner.qml
    FocusRing.qml
    NoticeDialog.qml
    PasswordField.qml
    PrimaryButton.qml
    Pulse.qml
    ScrollArea.qml
    StatusDot.qml
    StyledDialog.qml
    StyledListView.qml
    StyledText.qml
    StyledTextField.qml
    StyledToolTip.qml
    TabRow.qml
    TextLink.qml
    ToggleSwitch.qml
    ToolButtonChip.qml
    WindowBase.qml
)
set(zorvel_qml_live
    CameraDragLayer.qml
    CameraList.qml
    CameraPickerPopup.qml
    CameraRow.qml
    CameraSearchList.qml
    CellButton.qml
    CellControls.qml
    CellDragMark.qml
    CellHeader.qml
    CellHint.qml
    CellVeil.qml
    DragGhost.qml
    DragHandle.qml
    GridCells.qml
    GridKeys.qml
    GridToolbar.qml
    LazyLoader.qml
    LiveView.qml
    PresetButton.qml
    StreamLayer.qml
    VideoCell.qml
    VideoGrid.qml
    grid.js
)
set(zorvel_qml_archive
    ArchiveCameraPane.qml
    ArchiveCell.qml
    ArchiveGrid.qml
    ArchiveTimeNav.qml
    ControlButton.qml
    ExportBar.qml
    ExportDialog.qml
    GridClock.qml
    PlayPauseSign.qml
    PlaybackControls.qml
    PlaybackKeys.qml
    PlaybackPanel.qml
    PlaybackStage.qml
    PlaybackStart.qml
    PlaybackTimeline.qml
    PlaybackView.qml
    SinglePlayer.qml
    SpeedButton.qml
    TimelineMouse.qml
    TimelinePlayhead.qml
    TimelineSelection.qml
    TimelineTicks.qml
    VideoMessage.qml
)

list(TRANSFORM zorvel_qml_root PREPEND qml/)
foreach(folder IN ITEMS app theme components live archive)
    list(TRANSFORM zorvel_qml_${folder} PREPEND qml/${folder}/)
endforeach()
set_source_files_properties(
    qml/components/Pulse.qml qml/theme/AppSettings.qml qml/theme/Theme.qml qml/theme/Translations.qml
    PROPERTIES QT_QML_SINGLETON_TYPE TRUE)

# Compiling the documents ahead of time helps start-up only, and takes longer than the whole rest of a
# build: only a release does it.
set(zorvel_qml_cache)
if(NOT CMAKE_BUILD_TYPE STREQUAL "Release")
    set(zorvel_qml_cache NO_CACHEGEN)
endif()

qt_add_qml_module(zorvel_ui STATIC
    URI ZorvelClient
    VERSION 1.0
    RESOURCE_PREFIX /
    NO_PLUGIN
    ${zorvel_qml_cache}
    OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/ZorvelClient
    QML_FILES
        ${zorvel_qml_root} ${zorvel_qml_app} ${zorvel_qml_theme} ${zorvel_qml_components}
        ${zorvel_qml_live} ${zorvel_qml_archive}
)
target_link_libraries(zorvel_ui PUBLIC Qt6::Quick Qt6::QuickControls2)
