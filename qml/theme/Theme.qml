pragma Singleton
import QtQuick

// The look of the client: colours, sizes, spacing and the few constants of interaction. Sizes are in pixels.
QtObject {
    readonly property color surfaceDeepest: "#030712"
    readonly property color surfaceDark: "#111827"
    readonly property color surfaceMedium: "#1f2937"
    readonly property color surfaceLight: "#374151"
    readonly property color border: "#1f2937"
    readonly property color borderSubtle: "#374151"

    readonly property color textPrimary: "#e6edf3"
    readonly property color textSecondary: "#9ca3af"
    readonly property color textMuted: "#6b7280"
    readonly property color textOnAccent: "white"

    readonly property color accent: "#3b82f6"
    readonly property color accentHover: "#2563eb"
    readonly property color accentDisabled: Qt.rgba(0.23, 0.51, 0.97, 0.5)
    readonly property color focusRing: "#93c5fd"

    readonly property color statusOk: "#22c55e"
    readonly property color statusError: "#ef4444"
    readonly property color statusWarn: "#eab308"

    readonly property color videoSurface: "black"
    readonly property color overlayShade: Qt.rgba(0, 0, 0, 0.6)
    readonly property color overlayControl: Qt.rgba(0, 0, 0, 0.55)
    readonly property color overlayBadge: Qt.rgba(0, 0, 0, 0.7)
    readonly property color overlayText: Qt.rgba(1, 1, 1, 0.8)
    readonly property color veil: Qt.rgba(0.01, 0.03, 0.07, 0.8)
    readonly property color dragSourceShade: Qt.rgba(0, 0, 0, 0.5)
    readonly property color dropTargetBorder: Qt.rgba(accent.r, accent.g, accent.b, 0.45)

    readonly property int fontXS: 12
    readonly property int fontSM: 14
    readonly property int fontBase: 16
    readonly property int fontLG: 18
    readonly property int fontXL: 20

    readonly property int spacingXS: 4
    readonly property int spacingSM: 8
    readonly property int spacingMD: 12
    readonly property int spacingLG: 16

    readonly property int radius: 4
    readonly property int radiusLG: 8
    readonly property int focusRingWidth: 2

    readonly property int rowHeight: 32
    readonly property int controlHeight: 36
    readonly property int sidebarWidth: 192
    readonly property int cameraListWidth: 224

    // Scale factors of the floor plan.
    readonly property real zoomStep: 1.1
    readonly property real zoomMin: 0.1
    readonly property real zoomMax: 5.0

    // In squared pixels: a drag starts after 8 px.
    readonly property int dragThresholdSq: 64
}
