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
        Accessible.name: wsClient.connected ? Translations.serverConnected : Translations.serverDisconnected
    }
    Text {
        objectName: "signedInLogin"
        Layout.fillWidth: true
        text: apiClient.login
        textFormat: Text.PlainText
        color: Theme.textSecondary
        font.pixelSize: Theme.fontSM
        elide: Text.ElideRight
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
    TextLink {
        objectName: "logoutLink"
        text: Translations.navLogout
        onClicked: apiClient.doLogout()
    }
}
