import QtQuick
import ZorvelClient

// The button of a form's main action.
ActionButton {
    textColor: Theme.textOnAccent
    baseColor: Theme.accent
    hoverColor: Theme.accentHover
}
