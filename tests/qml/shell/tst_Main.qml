import QtQuick
import QtTest
import ZorvelClient

TestCase {
    id: testCase

    name: "Main"
    when: windowShown

    Component {
        id: mainComponent

        Main { }
    }

    function init() {
        apiClient.reset()
    }

    function test_starts_at_sign_in() {
        const main = createTemporaryObject(mainComponent, null)
        compare(main.currentPage, "login")
        verify(findChild(main, "loginLoader").item !== null)
    }
}
