import QtQml

// Stands in for ApiClient: it remembers what the screens asked for, and a test answers in the server's place.
QtObject {
    property bool authenticated: false
    property string login: ""
    property var permissions: []
    property string errorMessage: ""
    property bool loading: false
    property var calls: []

    signal authChanged()
    signal loginSucceeded()
    signal loginFailed(string error)
    signal statusReceived(bool setupRequired)
    signal sessionExpired()

    function begin(...call) {
        calls = [...calls, call]
        errorMessage = ""
        loading = true
    }

    function checkStatus(serverUrl) {
        begin("checkStatus", serverUrl)
    }

    function doSetup(serverUrl, login, password) {
        begin("doSetup", serverUrl, login, password)
    }

    function answerStatus(setupRequired) {
        loading = false
        statusReceived(setupRequired)
    }

    function refuseLogin(error) {
        loading = false
        errorMessage = error
        loginFailed(error)
    }

    function acceptLogin(user, granted) {
        login = user
        permissions = granted
        loading = false
        authenticated = true
        authChanged()
        loginSucceeded()
    }

    function expire() {
        authenticated = false
        authChanged()
        sessionExpired()
    }

    function reset() {
        calls = []
        permissions = []
        errorMessage = ""
        loading = false
        authenticated = false
        authChanged()
    }
}
