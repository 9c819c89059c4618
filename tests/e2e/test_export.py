"""Saving clips: what is in the file is what was marked, and what cannot be saved leaves a word and no file."""

import collections
import os
import subprocess
import time

from harness import processes, video
from harness.playback import FRAME_MS, Playback
from harness.testcase import ADMIN, EndToEndTest, main
from harness.waiting import wait_until

MINUTE = 60_000
GOP_MS = 1000
STREAM = "/client-api/export/stream"


class ExportTest(EndToEndTest):
    cameras = 4

    def setUp(self):
        super().setUp()
        self.addCleanup(self.recorder.heal)
        self.client_home.env()
        self.folder = self.client_home.path / "home/Videos"
        self.folder.mkdir()

    def open_camera(self, index):
        self.page = Playback(self.sign_in())
        self.page.tick(self.camera_ids[index])
        self.page.wait_playing()
        return self.page

    def windows_asked(self):
        return [line.rpartition("&init=")[2][0] for line in self.wiretap.request_lines() if STREAM in line]

    def assert_nothing_left(self, message):
        """The export ends with that message on the page and without a file."""
        self.page.probe.item(timeout=60, name="exportError", text=message)
        self.assertFalse(self.page.export("downloading"))
        self.assertEqual(os.listdir(self.folder), [])

    def assert_holds(self, path, start, end, missing=()):
        """The file has every recorded picture from start to end (ms since the epoch) once, in order and in its time."""
        boxes = video.boxes(path)
        self.assertEqual(boxes[:2], ["ftyp", "moov"])
        self.assertEqual(set(boxes[2:]), {"moof", "mdat"})
        begin, length, stamps = video.probe(path)
        origin_ms = start // 1000 * 1000
        self.assertLessEqual(abs(length * 1000 - (end - start)), 2 * GOP_MS)
        self.assertTrue(all(one < next for one, next in zip(stamps, stamps[1:])), "the time stamps rise")
        moments = [round(moment * 1000) if moment else None for moment in video.moments(path)]
        self.assertNotIn(None, moments)
        self.assertEqual(len(moments), len(stamps))
        self.assertEqual(max(abs(moment - origin_ms - stamp * 1000) for moment, stamp in zip(moments, stamps)) // 2, 0)
        self.assertLessEqual(abs(moments[0] - start), GOP_MS)
        self.assertLessEqual(abs(moments[-1] - end), GOP_MS)
        self.assertLessEqual(abs(begin * 1000 - (moments[0] - origin_ms)), FRAME_MS)
        steps = collections.Counter(round((next - one) / FRAME_MS) for one, next in zip(moments, moments[1:]))
        self.assertEqual(+steps, collections.Counter({1: len(moments) - 1 - len(missing), **collections.Counter(missing)}))

    def test_a_window_that_broke_is_neither_doubled_nor_missing(self):
        page = self.open_camera(0)
        begin = (page.playhead() // MINUTE - 20) * MINUTE + 20_300
        start, end = page.choose_clip(begin, begin + 5.5 * MINUTE)
        self.recorder.fail_requests(STREAM, times=1, cut_after_bytes=200_000)
        self.recorder.fail_requests(STREAM, times=1, skip=1, cut_after_bytes=300_000)
        page.save_clip("clip")
        page.wait_exported()
        path = self.folder / "clip.mp4"
        self.assertEqual(page.probe.item(["text"], name="exportSaved").values["text"], f"Saved: {path}")
        self.assertEqual(os.listdir(self.folder), ["clip.mp4"])
        self.assertEqual(self.windows_asked(), ["1", "1", "0", "0"])
        self.assert_holds(path, start, end)
        # A second export to the same name asks first.
        page.ui.click(name="exportCancel")
        page.ui.click(name="exportButton")
        page.save_clip("clip.mp4")
        page.ui.click(name="keepFileButton")
        self.assertEqual(len(self.windows_asked()), 4)

    def test_says_for_as_long_as_it_matters_that_footage_is_missing(self):
        page = self.open_camera(2)
        spans = page.probe.context("timelineModel", "spans")
        gaps = [(one["end"], next["start"]) for one, next in zip(spans, spans[1:])]
        gap = next(gap for gap in gaps if gap[1] - gap[0] == 10 * MINUTE and gap[0] > spans[0]["start"] + MINUTE)
        start, end = page.choose_clip(gap[0] - 20_000, gap[1] + 15_000)
        page.save_clip("gap #1.mp4")
        page.wait_exported()
        warning = "Some footage was unavailable — the file has gaps"
        page.ui.open_page("live")
        page.ui.open_page("playback")
        self.assertEqual(page.probe.item(["text"], name="exportPartial").values["text"], warning)
        self.assert_holds(self.folder / "gap #1.mp4", start, end, missing=[round(10 * MINUTE / FRAME_MS) + 1])
        page.ui.click(name="exportCancel")
        page.probe.gone(name="exportPartial")

    def test_leaves_a_message_and_no_file(self):
        page = self.open_camera(0)
        begin = (page.playhead() // MINUTE - 20) * MINUTE

        def hold_second_window():
            self.recorder.heal()
            page.choose_clip(begin, begin + 6 * MINUTE)
            self.recorder.fail_requests(STREAM, skip=1, times=1, delay_ms=30_000)
            page.save_clip("clip.mp4")
            wait_until(lambda: page.export("progress") == 0.5, 20, "the first window")
            self.assertTrue(page.export("downloading"))

        # Cancelled.
        hold_second_window()
        page.ui.click(name="exportCancel")
        page.probe.gone(name="exportBar")
        self.assertEqual(os.listdir(self.folder), [])

        # The folder is gone when it begins.
        page.ui.click(name="exportButton")
        page.ui.click(name="exportDownload")
        self.folder.rmdir()
        page.ui.click(text="Save")
        wait_until(lambda: page.export("error").startswith(f"Cannot write to {self.folder}/"), 10, "an error")
        self.folder.mkdir()
        page.ui.click(name="exportCancel")

        # Signed out: whoever comes next is told nothing.
        hold_second_window()
        page.ui.sign_out()
        page.ui.sign_in_again(*ADMIN)
        page.ui.open_page("playback")
        page.probe.gone(name="exportBar")
        self.assertEqual(os.listdir(self.folder), [])

        # The server dies.
        page.tick(self.camera_ids[0])
        page.wait_playing()
        hold_second_window()
        self.recorder.kill()
        page.probe.item(timeout=60, name="exportError")
        self.recorder.start()
        self.assert_nothing_left("Connection closed")

    def test_tells_a_full_disk_from_one_that_cannot_be_written(self):
        done = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=4m", "tmpfs", str(self.folder)], capture_output=True)
        if done.returncode != 0:
            self.skipTest("needs the right to mount a small disk: " + done.stderr.decode().strip())
        self.addCleanup(subprocess.run, ["umount", "-l", str(self.folder)], check=True)
        page = self.open_camera(0)
        begin = (page.playhead() // MINUTE - 20) * MINUTE
        page.choose_clip(begin, begin + 5 * MINUTE)
        page.save_clip("clip.mp4")
        self.assert_nothing_left(f"Disk write failed: {self.folder}/clip.mp4")
        disk = os.statvfs(self.folder)
        self.assertEqual(disk.f_bfree, disk.f_blocks, "the disk is free again")
        subprocess.run(["mount", "-o", "remount,ro", str(self.folder)], check=True)
        page.save_clip("clip.mp4")
        self.assert_nothing_left(f"Cannot write to {self.folder}/clip.mp4")

    def test_a_long_clip_takes_neither_memory_nor_the_window(self):
        page = self.open_camera(0)
        begin = (page.playhead() // MINUTE - 130) * MINUTE
        page.ui.click(name="navLast24h")
        start, end = page.choose_clip(begin, begin + 60 * MINUTE)
        used = [processes.memory_mb(self.client.pid, "Pss")]
        page.save_clip("long.mp4")
        page.probe.ask("startStalls")
        while page.export("downloading"):
            used.append(processes.memory_mb(self.client.pid, "Pss"))
            time.sleep(0.1)
        stalls = page.probe.ask("readStalls")
        self.assertEqual(page.export("error"), "")
        middle = len(used) // 2
        self.assertLess(max(used[middle:]) - max(used[:middle]), 15, used)
        self.assertLess(max(used) - used[0], 80)
        self.assertLess(stalls["longestMs"], 100)
        _, length, stamps = video.probe(self.folder / "long.mp4")
        self.assertLessEqual(abs(length * 1000 - (end - start)), 2 * GOP_MS)
        self.assertEqual(len(stamps), round(length * 1000 / FRAME_MS))


if __name__ == "__main__":
    main()
