import QtQuick
import ZorvelClient

// A masked text field with a button that shows what was typed.
StyledTextField {
    id: root

    property bool revealed: false

    rightPadding: reveal.width
    echoMode: revealed ? TextInput.Normal : TextInput.Password
    inputMethodHints: Qt.ImhSensitiveData | Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase
    Accessible.passwordEdit: !revealed

    onTextChanged: {
        if (text === "")
            revealed = false
    }

    ButtonBase {
        id: reveal

        objectName: "revealButton"
        anchors.right: parent.right
        width: height
        height: parent.height
        visible: root.text !== ""
        text: root.revealed ? Translations.hidePassword : Translations.showPassword
        Accessible.checkable: true
        Accessible.checked: root.revealed
        onClicked: root.revealed = !root.revealed

        contentItem: Canvas {
            readonly property color stroke: reveal.hovered ? Theme.textPrimary : Theme.textSecondary
            readonly property bool crossed: root.revealed

            onStrokeChanged: requestPaint()
            onCrossedChanged: requestPaint()
            onPaint: {
                const ctx = getContext("2d")
                ctx.reset()
                ctx.translate(width / 2, height / 2)
                ctx.strokeStyle = ctx.fillStyle = stroke
                ctx.lineWidth = 1.5
                ctx.moveTo(-8, 0)
                ctx.quadraticCurveTo(0, -10, 8, 0)
                ctx.quadraticCurveTo(0, 10, -8, 0)
                if (crossed) {
                    ctx.moveTo(-7, 6)
                    ctx.lineTo(7, -6)
                }
                ctx.stroke()
                ctx.beginPath()
                ctx.arc(0, 0, 2.5, 0, 2 * Math.PI)
                ctx.fill()
            }
        }
        background: null
    }
}
