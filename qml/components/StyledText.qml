import QtQuick
import ZorvelClient

// A text that wraps, shows what it is given as it is, and that a screen reader can read.
Text {
    color: Theme.textPrimary
    textFormat: Text.PlainText
    font.pixelSize: Theme.fontSM
    wrapMode: Text.Wrap
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
