import QtQuick

// The keys of the archive page, wherever in it the focus is.
QtObject {
    id: root

    required property var page

    function handle(event: var) {
        const actions = {
            [Qt.Key_Space]: () => page.playPause(),
            [Qt.Key_Left]: () => page.seekBy(-10000),
            [Qt.Key_Right]: () => page.seekBy(10000),
            [Qt.Key_End]: () => page.jumpToLatest()
        }
        const plain = (event.modifiers & ~Qt.KeypadModifier) === Qt.NoModifier
        event.accepted = plain && event.key in actions
        if (event.accepted && !(event.isAutoRepeat && event.key === Qt.Key_Space))
            actions[event.key]()
    }
}
