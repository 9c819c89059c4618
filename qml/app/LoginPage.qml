import QtQuick
import Qt.labs.settings
import ZorvelClient

// The staged sign-in: first the server, then the first account of a new server or the login to a known one.
FocusScope {
    id: root

    // "server", "setup" or "login".
    property string step: "server"
    // Why the operator is here again; empty at the first sign-in.
    property string notice: ""

    signal loggedIn()

    // An address as it may be shown and stored: without a user name and a password in it.
    function withoutUserInfo(url: string) : string {
        return url.replace(/^([a-z][a-z0-9+.-]*:\/\/)[^\/?#]*@/i, "$1")
    }

    function checkServer() {
        if (continueButton.enabled)
            apiClient.checkStatus(serverField.text.trim())
    }

    function submit() {
        if (!primaryButton.enabled)
            return
        const call = step === "setup" ? "doSetup" : "doLogin"
        apiClient[call](serverField.text.trim(), loginField.text, passwordField.text)
    }

    function changeServer() {
        passwordField.clear()
        step = "server"
        serverField.forceActiveFocus()
    }

    Keys.onEscapePressed: event => {
        event.accepted = step !== "server" && !apiClient.loading
        if (event.accepted)
            changeServer()
    }

    Settings {
        id: remembered

        category: "login"

        property string lastServer: "http://127.0.0.1:8090"
        property string lastLogin: ""
    }

    Connections {
        target: apiClient

        function onStatusReceived(setupRequired) {
            root.step = setupRequired ? "setup" : "login"
            loginField.forceActiveFocus()
            loginField.selectAll()
        }

        function onLoginFailed() {
            passwordField.forceActiveFocus()
            passwordField.selectAll()
        }

        function onLoginSucceeded() {
            remembered.lastServer = root.withoutUserInfo(serverField.text.trim())
            remembered.lastLogin = loginField.text
            root.loggedIn()
        }
    }

    ScrollArea {
        objectName: "scroller"
        anchors.fill: parent
        contentHeight: Math.max(height, card.height + 2 * (languages.height + 2 * Theme.spacingLG))

        Rectangle {
            id: card

            objectName: "card"
            anchors.centerIn: parent
            width: 320
            height: form.height + 2 * form.y
            color: Theme.surfaceDark
            radius: Theme.radiusLG
            border.width: 1
            border.color: Theme.borderSubtle

            Column {
                id: form

                x: 24
                y: 24
                width: parent.width - 2 * x
                spacing: Theme.spacingMD

                StyledText {
                    objectName: "title"
                    width: parent.width
                    text: root.step === "setup" ? Translations.setupTitle : Translations.appTitle
                    font.pixelSize: Theme.fontXL
                    font.weight: Font.DemiBold
                    horizontalAlignment: Text.AlignHCenter
                    bottomPadding: Theme.spacingXS
                    Accessible.role: Accessible.Heading
                }
                StyledText {
                    objectName: "hint"
                    width: parent.width
                    visible: text !== ""
                    text: root.step === "setup" ? Translations.setupHint : root.notice
                    color: Theme.textSecondary
                    horizontalAlignment: Text.AlignHCenter
                }

                StyledTextField {
                    id: serverField

                    objectName: "serverField"
                    width: parent.width
                    visible: root.step === "server"
                    focus: true
                    text: remembered.lastServer
                    placeholderText: Translations.loginServerPlaceholder
                    inputMethodHints: Qt.ImhUrlCharactersOnly | Qt.ImhNoAutoUppercase
                    readOnly: apiClient.loading
                    onAccepted: root.checkServer()
                }
                PrimaryButton {
                    id: continueButton

                    objectName: "continueButton"
                    width: parent.width
                    visible: root.step === "server"
                    enabled: serverField.text.trim() !== "" && !apiClient.loading
                    text: Translations.loginContinue
                    onClicked: root.checkServer()
                }

                Column {
                    width: parent.width
                    visible: root.step !== "server"
                    spacing: 2

                    Text {
                        objectName: "chosenServer"
                        width: parent.width
                        text: root.withoutUserInfo(serverField.text.trim())
                        textFormat: Text.PlainText
                        color: Theme.textSecondary
                        font.pixelSize: Theme.fontSM
                        elide: Text.ElideMiddle
                        Accessible.role: Accessible.StaticText
                        Accessible.name: text
                    }
                    TextLink {
                        objectName: "changeServerLink"
                        text: Translations.loginChangeServer
                        enabled: !apiClient.loading
                        onClicked: root.changeServer()
                    }
                }
                StyledTextField {
                    id: loginField

                    objectName: "loginField"
                    width: parent.width
                    visible: root.step !== "server"
                    text: remembered.lastLogin
                    placeholderText: Translations.loginPlaceholder
                    inputMethodHints: Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase
                    readOnly: apiClient.loading
                    onAccepted: passwordField.forceActiveFocus()
                }
                PasswordField {
                    id: passwordField

                    objectName: "passwordField"
                    width: parent.width
                    visible: root.step !== "server"
                    placeholderText: Translations.loginPasswordPlaceholder
                    readOnly: apiClient.loading
                    onAccepted: root.submit()
                }
                PrimaryButton {
                    id: primaryButton

                    objectName: "primaryButton"
                    width: parent.width
                    visible: root.step !== "server"
                    enabled: loginField.text !== "" && passwordField.text !== "" && !apiClient.loading
                    text: apiClient.loading ? Translations.loginSigningIn
                        : root.step === "setup" ? Translations.setupCreate : Translations.loginSignIn
                    onClicked: root.submit()
                }

                ErrorBanner {
                    objectName: "errorBanner"
                    width: parent.width
                    text: apiClient.errorMessage
                }
            }
        }
        LanguageLinks {
            id: languages

            anchors.top: card.bottom
            anchors.topMargin: Theme.spacingLG
            anchors.horizontalCenter: card.horizontalCenter
        }
    }
}
