import QtQuick
import QtQuick.Layouts
import ZorvelClient

// Who is signed in, whether the event channel is up, and the way out.
RowLayout {
    spacing: Theme.spacingSM

    Rectangle {
        objectName: "connectionDot"
        implicitWidth: 8
        implicitHeight: 8
        radius: 4
        color: wsClient.connected ? Theme.statusOk : Theme.statusError
        Accessible.role: Accessible.Indicator
        Accessible.name: connectionTip.text

        HoverHandler {
            id: dotHover

            margin: Theme.spacingXS
        }
        StyledToolTip {
            id: connectionTip

            visible: dotHover.hovered
            text: wsClient.connected ? Translations.serverConnected : Translations.serverDisconnected
        }
    }
    Text {
        id: loginText

        objectName: "signedInLogin"
        Layout.fillWidth: true
        text: apiClient.login
        textFormat: Text.PlainText
        color: Theme.textSecondary
        font.pixelSize: Theme.fontSM
        elide: Text.ElideRight
        Accessible.role: Accessible.StaticText
        Accessible.name: text

        HoverHandler {
            id: loginHover
        }
        StyledToolTip {
            visible: loginHover.hovered && loginText.truncated
            text: apiClient.login
        }
    }
    TextLink {
        objectName: "logoutLink"
        text: Translations.navLogout
        onClicked: apiClient.doLogout()
    }
}
