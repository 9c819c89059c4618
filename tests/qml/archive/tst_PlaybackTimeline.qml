import QtQuick
import QtTest
import ZorvelClient

TestCase {
    id: testCase

    name: "PlaybackTimeline"
    when: windowShown
    visible: true
    width: 1000
    height: 200

    readonly property real noon: new Date(2024, 4, 3, 12, 0, 0).getTime()
    readonly property real hour: 3600000
    property PlaybackTimeline timeline: null

    Component {
        id: timelineComponent

        PlaybackTimeline {
            width: 1000
        }
    }
    Component {
        id: spyComponent

        SignalSpy { }
    }

    // fuzzyCompare() works in single precision, too coarse for instants.
    function compareNear(actual, expected, tolerance, hint) {
        verify(Math.abs(actual - expected) <= tolerance, (hint ?? "") + " " + actual + " != " + expected)
    }

    function init() {
        Translations.language = "en"
        timeline = createTemporaryObject(timelineComponent, testCase, {
            viewStart: noon, viewEnd: noon + 10 * hour, earliest: noon - 100 * hour, latest: noon + 10 * hour
        })
        mouseMove(testCase, 0, 190)
    }

    function spy(signalName) {
        return createTemporaryObject(spyComponent, testCase, { target: timeline, signalName: signalName })
    }

    function view() {
        return [timeline.viewStart - noon, timeline.viewEnd - noon]
    }

    function drag(from, ...path) {
        mousePress(timeline, from, 40)
        path.forEach(x => mouseMove(timeline, x, 40))
        mouseRelease(timeline, path.pop(), 40)
    }

    function test_wheel_keeps_the_time_under_the_cursor() {
        for (const [delta, range, becomes] of [[120, 10 * hour, 8 * hour], [120, 33000, 30000],
                [-120, 90 * 24 * hour, 90 * 24 * hour]]) {
            timeline.viewEnd = timeline.viewStart + range
            const before = timeline.xToTime(300)
            mouseWheel(timeline, 300, 40, 0, delta)
            compareNear(timeline.range, becomes, 2)
            compareNear(timeline.xToTime(300), before, 2)
        }
    }

    function test_drag_pans_and_click_seeks() {
        const seeks = spy("seekRequested")
        drag(500, 600, 500)
        compare(seeks.count, 0, "dragged and back")
        drag(500, 504)
        compare(seeks.count, 1, "slipped a little")
        compareNear(seeks.signalArguments[0][0], noon + 5 * hour + 4 * 36000, 1)
        compare(view(), [0, 10 * hour])
        drag(500, 505)
        compare(seeks.count, 1)
        compareNear(timeline.viewStart, noon - 5 * 36000, 1)
    }

    function test_selection_handles_data() {
        return [
            { tag: "end", press: 508, to: 900, bounds: [3 * hour, 9 * hour] },
            { tag: "end stays after the start", press: 500, to: 0, bounds: [3 * hour, 3 * hour + 30000] },
            { tag: "end stays in the recording", press: 500, to: 990, latest: 6 * hour, bounds: [3 * hour, 6 * hour] },
            { tag: "the start wins a tie", end: 3 * hour + 30000, press: 300, to: 100,
                bounds: [1 * hour, 3 * hour + 30000] }
        ]
    }

    function test_selection_handles(data) {
        timeline.selectionMode = true
        timeline.selectionStart = noon + 3 * hour
        timeline.selectionEnd = noon + (data.end ?? 5 * hour)
        timeline.latest = noon + (data.latest ?? 10 * hour)
        const changes = spy("selectionChanged")
        const seeks = spy("seekRequested")
        drag(data.press, data.to)
        compare(Array.from(changes.signalArguments[changes.count - 1]).map(time => time - noon), data.bounds)
        compare(seeks.count, 0)
        compare(view(), [0, 10 * hour])
    }

    function test_keys() {
        timeline.forceActiveFocus()
        keyClick(Qt.Key_Plus)
        compare(view(), [2.5 * hour, 7.5 * hour])
        keyClick(Qt.Key_Minus)
        keyClick(Qt.Key_Right, Qt.ShiftModifier)
        compare(view(), [hour, 11 * hour])
        const seeks = spy("seekRequested")
        keyClick(Qt.Key_Return)
        compare(seeks.signalArguments.map(seek => seek[0] - noon), [6 * hour])

        timeline.selectionMode = true
        timeline.selectionStart = noon + 3 * hour
        timeline.selectionEnd = noon + 5 * hour
        const changes = spy("selectionChanged")
        findChild(timeline, "clipEnd").forceActiveFocus()
        keyClick(Qt.Key_Left)
        keyClick(Qt.Key_Right, Qt.ShiftModifier)
        keyClick(Qt.Key_Return)
        compare(seeks.count, 1, "of the timeline alone")
        compare(changes.signalArguments.map(bounds => bounds[1] - noon - 5 * hour), [-1000, 10000])
    }
}
