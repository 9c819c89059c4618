import QtQuick
import QtQuick.Controls
import ZorvelClient

// What every top-level window of the client shares: its first and its smallest size and the dark palette, which
// the controls without a look of their own take their colours from.
ApplicationWindow {
    id: root

    // True while nobody can see the window, so that its video can stop.
    readonly property bool windowSuspended: visibility === Window.Minimized || visibility === Window.Hidden

    width: 1280
    height: 800
    minimumWidth: 800
    minimumHeight: 600
    color: Theme.surfaceDeepest

    palette {
        window: Theme.surfaceDark
        windowText: Theme.textPrimary
        base: Theme.surfaceDeepest
        alternateBase: Theme.surfaceDark
        text: Theme.textPrimary
        placeholderText: Theme.textMuted
        button: Theme.surfaceLight
        buttonText: Theme.textPrimary
        brightText: Theme.textOnAccent
        light: Theme.surfaceMedium
        midlight: Theme.surfaceMedium
        mid: Theme.surfaceLight
        dark: Theme.textMuted
        shadow: Theme.surfaceDeepest
        highlight: Theme.accent
        highlightedText: Theme.textOnAccent
        link: Theme.accent
        toolTipBase: Theme.surfaceMedium
        toolTipText: Theme.textPrimary
    }
}
