"""Watching recordings: the picture is that of the playhead, cameras keep in step, and gaps are what they are."""

import datetime
import statistics
import time

from harness.playback import FRAME_MS, Playback
from harness.testcase import EndToEndTest, main
from harness.waiting import wait_until

HOUR = 3_600_000
GOP_MS = 1000
AGREEMENT_MS = FRAME_MS + 100
IN_STEP_MS = 250


def now_ms():
    return time.time() * 1000


def instant_text(ms):
    return datetime.datetime.fromtimestamp(ms / 1000, datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")


def ms_of(text):
    return datetime.datetime.fromisoformat(text.replace("Z", "+00:00")).timestamp() * 1000


class PlaybackTest(EndToEndTest):
    cameras = 5

    def open_playback(self, *cameras):
        self.page = Playback(self.sign_in())
        self.page.tick(*(self.camera_ids[index] for index in cameras))
        return self.page

    def gaps(self, camera):
        """What the camera did not record in the last hours, as (start, end) in ms since the epoch."""
        path = f"/client-api/cameras/{camera}/timeline?from={instant_text(now_ms() - 5 * HOUR)}&to={instant_text(now_ms())}"
        spans = self.recorder.call("GET", path, token=self.token)[1]
        return [(ms_of(before["end"]), ms_of(after["start"])) for before, after in zip(spans, spans[1:])]

    def assert_agrees(self, what, seconds=1.0):
        """The picture shows the moment of the playhead, but for the odd sample on a busy machine."""
        region, samples = self.page.region(), []
        deadline = time.monotonic() + seconds

        def agrees():
            disagreement = self.page.disagreement(region)
            if disagreement is not None:
                samples.append(round(disagreement))
            if len(samples) < 20 or time.monotonic() < deadline:
                return False
            recent = sorted(samples[-max(20, len(samples) // 2):])
            return recent[len(recent) * 3 // 4] <= AGREEMENT_MS
        wait_until(agrees, seconds + 15, lambda: f"picture and playhead to agree {what}: {samples}", interval=0.03)
        print(f"{what}: {statistics.median(samples):.0f} ms apart, at most {max(samples)}", flush=True)

    def assert_lands(self, moment, act):
        """What is done brings the picture of that moment, from the whole picture before it on."""
        begun = time.monotonic()
        act()
        region = self.page.region()

        def near():
            shown = self.page.shown(region)
            ran = (time.monotonic() - begun) * 1000
            return shown and moment - GOP_MS - FRAME_MS <= shown <= moment + ran + FRAME_MS
        wait_until(near, 10, lambda: f"the picture of {moment:.0f}, it is {self.page.shown(region)}", interval=0.02)

    def test_the_picture_is_that_of_the_playhead(self):
        page = self.open_playback(0)
        page.wait_playing()
        self.assert_agrees("after the start")
        segment_start = (page.playhead() // 30_000 - 20) * 30_000
        page.zoom_to(segment_start + 15_000, 120_000)
        for what, moment in (("another segment", segment_start + 7_400), ("the same segment", segment_start + 17_100)):
            hit = page.click_at(moment)
            self.assert_lands(hit, lambda: None)
            self.assert_agrees(f"after a click into {what}")
        for key, step in (("Right", 10_000), ("Left", -10_000)):
            page.desktop.key("space")
            wait_until(lambda: not page.playing(), 5, "the pause")
            before = page.playhead()
            self.assert_lands(before + step, lambda: page.desktop.key(key))
            if not page.playing():
                page.desktop.key("space")
            page.wait_playing()
            self.assert_agrees(f"after a step of {step} ms")
        for speed in (4, 0.5, 1):
            page.choose_speed(speed)
            self.assert_agrees(f"at speed {speed}")
        hit = page.click_at(segment_start + 28_500)
        wait_until(lambda: page.playhead() > hit, 10, "the playhead after the click")
        self.assert_agrees("across a change of segment", seconds=4)
        self.assertGreater(page.playhead(), segment_start + 30_000)
        self.assertTrue(page.playing())

    def test_jumps_over_what_was_not_recorded(self):
        page = self.open_playback(2)
        start, end = max(self.gaps(self.camera_ids[2]), key=lambda gap: gap[1] - gap[0])
        self.assertGreater(end - start, 60_000)
        page.go_to(start - 4_000)
        page.wait_playing()
        seen = []
        wait_until(lambda: seen.append(page.playhead()) or seen[-1] >= end, 30, "the playhead behind the gap")
        self.assertEqual([moment for moment in seen if start + AGREEMENT_MS < moment < end], [])
        self.assertLess(seen[-1], end + 2_000)
        wait_until(lambda: (page.shown(page.region()) or 0) >= end, 5, "the picture behind the gap")
        self.assert_agrees("behind the gap")

    def test_four_cameras_keep_in_step(self):
        # The fourth camera misses whole hours.
        page = self.open_playback(0, 1, 2, 4)
        hour = now_ms() // HOUR * HOUR - HOUR
        page.zoom_to(hour, 240_000)
        page.click_at(hour + 30_000)
        regions = [page.region(camera) for camera in page.value("selectedCameras")]
        for region in regions:
            wait_until(lambda: abs((page.shown(region) or 0) - page.playhead()) < 2_000, 20, "every cell to play")
        for speed in (1, 0.5, 2, 4):
            page.choose_speed(speed)
            self.assert_in_step(f"at speed {speed}", regions, speed)
            page.click_at(hour + 45_000)
            self.assert_in_step(f"after a jump at speed {speed}", regions, speed)

    def assert_in_step(self, what, regions, speed):
        off = []

        def in_step():
            off[:] = self.off_the_clock(regions, speed)
            print(f"off the clock {what}: {off} ms", flush=True)
            return max(map(abs, off)) <= IN_STEP_MS
        wait_until(in_step, 20, lambda: f"four cameras in step {what}: {off} ms off")

    def off_the_clock(self, regions, speed):
        """By how many ms each picture is ahead of the clock, in the middle of two seconds.

        The clock goes on in steps, each of which was right at some time between the two questions around it; the
        pictures are compared with the line that all of them lie on."""
        lowest, highest, seen = float("-inf"), float("inf"), [[] for _ in regions]
        clock = asked = None
        deadline = time.monotonic() + 2
        while time.monotonic() < deadline:
            for region, moments in zip(regions, seen):
                before, asked_before = clock, asked
                asked = now_ms()
                clock = self.page.playhead()
                if before is not None and clock != before:
                    lowest = max(lowest, clock - speed * now_ms())
                    highest = min(highest, clock - speed * asked_before)
                begun = now_ms()
                shown = self.page.shown(region)
                if shown:
                    moments.append(shown - speed * (begun + now_ms()) / 2)
        line = (lowest + highest) / 2
        return [round(statistics.median(moments) - line) if len(moments) > 5 else 10**6 for moments in seen]

    def test_a_camera_without_footage_says_so_and_comes_back(self):
        page = self.open_playback(0, 2)
        other, camera = self.camera_ids[0], self.camera_ids[2]
        start, end = min((gap for gap in self.gaps(camera) if gap[1] - gap[0] > 2_000), key=lambda gap: gap[1] - gap[0])
        page.go_to(start - 4_000)
        page.wait_playing(camera)
        region, other_region = page.region(camera), page.region(other)
        wait_until(lambda: page.message(camera) == "No footage", 20, "the message in the gap", interval=0.02)
        self.assertGreater(page.playhead(), start - IN_STEP_MS)
        self.assertEqual(page.message(other), "")
        wait_until(lambda: page.message(camera) == "", 20, "the camera to come back", interval=0.02)
        self.assertGreaterEqual(page.playhead(), end - 200)
        wait_until(lambda: (page.shown(region) or 0) >= end, 10, "the picture behind the gap")
        wait_until(lambda: abs((page.shown(region) or 0) - (page.shown(other_region) or 0)) <= IN_STEP_MS, 10,
                   "both cameras in step")

    def test_stays_in_the_past_and_leaves_the_view_where_it_is(self):
        page = self.open_playback(0, 1)
        page.wait_playing(self.camera_ids[1])
        latest = page.probe.context("timelineModel", "latest")
        middle = page.probe.item(name="timeline").centre
        before = page.view()
        page.desktop.drag(middle, (middle[0] + 120, middle[1]))
        wait_until(lambda: page.view() != before, 5, "the view to be moved")
        page.choose_speed(4)
        page.ui.click(name="toEndButton")
        view = page.view()
        ahead = []

        def has_been_there_while_the_recording_grew():
            moment = page.playhead()
            ahead.append(moment - now_ms())
            return max(ahead) > -1_000 and page.probe.context("timelineModel", "latest") > latest
        wait_until(has_been_there_while_the_recording_grew, 60, lambda: f"the present, {max(ahead)} ms so far")
        self.assertLessEqual(max(ahead), 0)
        self.assertEqual(page.view(), view)

    def test_opens_a_moment_from_elsewhere(self):
        page = self.open_playback(1)
        page.wait_playing()
        moment = now_ms() // HOUR * HOUR - 50 * HOUR + 5 * 60_000 + 300
        for camera in (self.camera_ids[0], self.camera_ids[0]):
            self.assert_lands(moment, lambda: page.probe.invoke("openAt", camera, moment, type="PlaybackView"))
            self.assertEqual(page.value("selectedCameras"), [camera])
            start, end = page.view()
            self.assertTrue(start < moment < end, "the timeline shows the moment")
            moment -= 45_000
        self.assert_agrees("after opening a moment")


if __name__ == "__main__":
    main()
