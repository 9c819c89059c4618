"""Cameras and the server fail and come back, and so does the picture."""

import time

from harness.testcase import EndToEndTest, main
from harness.waiting import wait_until


class Recovery(EndToEndTest):
    cameras = 4

    def setUp(self):
        super().setUp()
        self.addCleanup(self.recorder.heal_cameras, self.camera_ids)

    def failures(self, camera):
        return self.client.log_times(f"[{camera}] live stream failed — auto-recover in ")

    def test_a_camera_that_goes_shows_so_backs_off_and_comes_back(self):
        ui, (camera, _) = self.watch(2)
        self.recorder.fail_camera(camera, "offline")
        ui.wait_cells(0, state="error", timeout=20)
        self.assertTrue(ui.probe.value("failed", type="CellVeil", within="videoCell_0"))
        self.assertEqual(ui.cells()[1][1], "playing")
        wait_until(lambda: ui.cell(0, "cameraState").values["cameraState"] == "offline", 5, "the camera's state")

        def retries():
            return self.client.log_times(f"[{camera}] live auto-recover: retry")
        wait_until(lambda: len(retries()) >= 3, 30, lambda: f"three retries: {self.failures(camera)}")
        failed = self.failures(camera)[:3]
        self.assertEqual([delay for _, delay in failed], ["1000ms", "2000ms", "4000ms"])
        for (at, delay), (tried, _) in zip(failed, retries()):
            self.assertGreaterEqual(tried - at, 0.95 * int(delay[:-2]) / 1000)

        self.recorder.fail_camera(camera, "none")
        ui.wait_cells(0, timeout=40)
        self.assertTrue(self.client.log_times(f"[{camera}] live stream recovered"))
        ui.wait_live_picture(0)
        ui.probe.gone(type="CellVeil", within="videoCell_0")

        # Having played, the next failure waits one second again; and the operator need not wait.
        count = len(self.failures(camera))
        self.recorder.fail_camera(camera, "offline")
        wait_until(lambda: len(self.failures(camera)) > count + 2, 30, "longer waits")
        self.assertEqual(self.failures(camera)[count][1], "1000ms")
        self.recorder.fail_camera(camera, "none")
        ui.click(name="cellRetryButton", within="videoCell_0")
        ui.wait_cells(0, timeout=3.5)

    def test_a_camera_that_falls_silent_is_noticed_and_comes_back(self):
        ui, (camera, _) = self.watch(2)
        ui.wait_live_picture(0)
        begin = time.monotonic()
        self.recorder.fail_camera(camera, "hang")
        ui.wait_cells(0, state="error", timeout=6.5)
        self.assertLess(time.monotonic() - begin, 6.5)
        self.assertEqual(ui.cells()[1][1], "playing")
        self.assertEqual(self.failures(camera)[0][1], "1000ms")
        self.recorder.fail_camera(camera, "none")
        ui.wait_cells(0, timeout=40)
        ui.wait_live_picture(0)

    def test_a_restarted_server_gets_its_events_and_streams_back(self):
        ui, cameras = self.watch(2)

        def wait_events(connected):
            wait_until(lambda: ui.probe.context("wsClient", "connected") == connected, 45, f"events: {connected}")
        wait_events(True)
        self.recorder.stop()
        wait_events(False)
        ui.wait_cells(0, state="error", timeout=20)
        self.assertEqual(ui.current_page(), "live")
        self.recorder.start()
        wait_events(True)
        ui.wait_cells(0, 1, timeout=45)
        ui.wait_live_picture(0, 1)

        # What changes at the server reaches the client again, also when it missed the event.
        self.recorder.demo("POST", "/events/refuse", {"status": 503})
        self.recorder.cut_events()
        wait_events(False)
        self.recorder.demo("PATCH", f"/cameras/{cameras[0]}", {"name": "Renamed unseen"})
        self.recorder.demo("POST", "/events/refuse", {"status": 0})
        wait_events(True)
        wait_until(lambda: ui.cell(0, "cameraName").values["cameraName"] == "Renamed unseen", 5, "what was missed")
        added = self.recorder.demo("POST", "/cameras", {"name": "New gate"})["id"]
        ui.choose_camera(2, added)
        ui.wait_cells(2)
        self.recorder.demo("DELETE", f"/cameras/{added}")
        wait_until(lambda: ui.cells()[2][0] == "", 5, "the deleted camera's cell emptied")
        self.assertEqual(ui.cells()[0], [cameras[0], "playing"])


if __name__ == "__main__":
    main()
