"""Cameras and the server fail and come back, and so does the picture."""

import re
import time

from harness.testcase import ADMIN, EndToEndTest, main
from harness.waiting import wait_until


class Recovery(EndToEndTest):
    cameras = 4

    def setUp(self):
        super().setUp()
        self.addCleanup(self.heal)

    def heal(self):
        for camera in self.camera_ids:
            self.recorder.fail_camera(camera, "none")

    def watch(self, count=1, ui=None):
        ui = ui or self.sign_in()
        ui.choose_preset("2x2")
        for index, camera in enumerate(self.camera_ids[:count]):
            ui.choose_camera(index, camera)
        ui.wait_playing(*range(count))
        return ui, self.camera_ids[0]

    def log_times(self, text):
        """When, in seconds since its start, the client logged a line with the text, and the line's last number."""
        lines = re.findall(rf"^ *([\d.]+) \S+ \w+: .*{text}(.*)$", self.client.log(), re.MULTILINE)
        return [(float(at), rest) for at, rest in lines]

    def test_a_camera_that_goes_shows_so_backs_off_and_comes_back(self):
        ui, camera = self.watch(2)
        self.recorder.fail_camera(camera, "offline")
        ui.wait_state(0, "error")
        veil = ui.probe.item(type="CellVeil", within="videoCell_0", get=["failed"])
        self.assertTrue(veil.values["failed"])
        ui.probe.item(name="cellRetryButton", within="videoCell_0")
        self.assertEqual(ui.cells()[1][1], "playing")
        wait_until(lambda: ui.cell(0, "cameraState").values["cameraState"] == "offline", 5, "the camera's state")

        waits = [f"{delay}ms" for delay in (1000, 2000, 4000)]
        def scheduled():
            return self.log_times(re.escape(f"[{camera}] live stream failed — auto-recover in "))
        wait_until(lambda: len(scheduled()) >= 3, 30, lambda: f"three failures: {scheduled()}")
        self.assertEqual([delay for _, delay in scheduled()[:3]], waits)
        def retries():
            return self.log_times(re.escape(f"[{camera}] live auto-recover: retry"))
        wait_until(lambda: len(retries()) >= 3, 30, "three retries")
        for (failed, delay), (tried, _) in zip(scheduled()[:3], retries()):
            self.assertGreaterEqual(tried - failed, 0.95 * int(delay[:-2]) / 1000)

        self.recorder.fail_camera(camera, "none")
        ui.wait_playing(0, timeout=40)
        self.assertTrue(self.log_times(re.escape(f"[{camera}] live stream recovered")))
        wait_until(lambda: ui.shows_live_picture(0), 10, "the camera's picture")
        ui.probe.gone(type="CellVeil", within="videoCell_0")

        # Having played, the next failure waits one second again.
        count = len(scheduled())
        self.recorder.fail_camera(camera, "offline")
        wait_until(lambda: len(scheduled()) > count, 15, "the next failure")
        self.assertEqual(scheduled()[count][1], "1000ms")

        # The operator need not wait.
        ui.wait_state(0, "error")
        wait_until(lambda: len(scheduled()) > count + 2, 30, "longer waits")
        self.recorder.fail_camera(camera, "none")
        ui.click(name="cellRetryButton", within="videoCell_0")
        ui.wait_playing(0, timeout=3.5)

    def test_a_camera_that_falls_silent_is_noticed_and_comes_back(self):
        ui, camera = self.watch(2)
        wait_until(lambda: ui.shows_live_picture(0), 10, "a live picture")
        begin = time.monotonic()
        self.recorder.fail_camera(camera, "hang")
        ui.wait_state(0, "error", timeout=6.5)
        self.assertLess(time.monotonic() - begin, 6.5)
        self.assertEqual(ui.cells()[1][1], "playing")
        self.assertEqual(self.log_times(re.escape(f"[{camera}] live stream failed — auto-recover in "))[0][1], "1000ms")
        self.recorder.fail_camera(camera, "none")
        ui.wait_playing(0, timeout=40)
        wait_until(lambda: ui.shows_live_picture(0), 10, "the camera's picture of now")

    def test_a_restarted_server_gets_its_events_and_streams_back(self):
        ui = self.start_client()
        ui.sign_in(self.recorder.url, *ADMIN)
        self.watch(2, ui)
        wait_until(lambda: ui.probe.context("wsClient", "connected"), 10, "the event channel")
        self.recorder.stop()
        wait_until(lambda: not ui.probe.context("wsClient", "connected"), 10, "the event channel to be lost")
        ui.wait_state(0, "error")
        self.assertEqual(ui.current_page(), "live")
        self.recorder.start()
        wait_until(lambda: ui.probe.context("wsClient", "connected"), 45, "the event channel again")
        ui.wait_playing(0, 1, timeout=45)
        for index in (0, 1):
            wait_until(lambda: ui.shows_live_picture(index), 10, f"a live picture in cell {index}")
        # Events reach the client again.
        self.recorder.fail_camera(self.camera_ids[2], "offline")
        wait_until(lambda: ui.probe.call_context("cameraModel", "cameraStateById", self.camera_ids[2]) == "offline",
                   5, "a pushed camera state")

    def test_cut_events_come_back_and_changed_cameras_arrive(self):
        ui, camera = self.watch(1)
        wait_until(lambda: ui.probe.context("wsClient", "connected"), 10, "the event channel")
        accepted = self.recorder.events()["accepted"]
        self.recorder.call("POST", "/demo/events/refuse", {"status": 503})
        self.recorder.cut_events()
        wait_until(lambda: not ui.probe.context("wsClient", "connected"), 10, "the event channel to be lost")
        self.recorder.call("PATCH", f"/demo/cameras/{camera}", {"name": "Renamed unseen"})
        self.recorder.call("POST", "/demo/events/refuse", {"status": 0})
        wait_until(lambda: self.recorder.events()["accepted"] == accepted + 1, 10, "the event channel again")
        wait_until(lambda: ui.cell(0, "cameraName").values["cameraName"] == "Renamed unseen", 5, "what was missed")
        self.recorder.call("PATCH", f"/demo/cameras/{camera}", {"name": "Renamed gate"})
        wait_until(lambda: ui.cell(0, "cameraName").values["cameraName"] == "Renamed gate", 5, "the new name")
        added = self.recorder.call("POST", "/demo/cameras", {"name": "New gate"})[1]["id"]
        wait_until(lambda: ui.probe.context("cameraModel", "count") == 5, 5, "one camera more")
        ui.choose_camera(1, added)
        ui.wait_playing(1)
        self.recorder.call("DELETE", f"/demo/cameras/{added}")
        wait_until(lambda: ui.probe.context("cameraModel", "count") == 4, 5, "one camera less")
        wait_until(lambda: ui.cells()[1][0] == "", 5, "the deleted camera's cell emptied")
        self.assertEqual(ui.cells()[0], [camera, "playing"])


if __name__ == "__main__":
    main()
