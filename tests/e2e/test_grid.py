"""Watching live cameras: real pictures, and no stream that is opened twice."""

from harness.testcase import EndToEndTest, main
from harness.waiting import stays, wait_until


class Grid(EndToEndTest):
    cameras = 16

    def played(self):
        """How often each stream was opened at the RTSP server so far."""
        return {stream: counts["played"] for stream, counts in self.recorder.streams().items()}

    def playing(self, stream):
        return self.recorder.streams()[stream]["playing"]

    def test_plays_the_cameras_own_moving_picture(self):
        ui, cameras = self.watch(2)
        ui.wait_live_picture(0, 1)
        # Each camera looks at a scene of its own colour.
        self.assertGreater(ui.picture_of(0).difference(ui.picture_of(1)), 3)
        window = ui.minimise()
        wait_until(lambda: self.playing(f"{cameras[0]}/sub") == 0, 10, "the stream to be closed")
        ui.restore(window)
        ui.wait_cells(0, 1)
        ui.wait_live_picture(0, 1)
        ui.sign_out()
        wait_until(lambda: not any(each["playing"] for each in self.recorder.streams().values()), 10,
                   "every stream to be closed")

    def test_reconnects_no_stream_when_the_grid_changes(self):
        before = self.played()
        ui, cameras = self.watch(4)
        filled = self.played()
        self.assertEqual(sum(count - before.get(stream, 0) for stream, count in filled.items()), 4, filled)
        for preset in ("3x3", "2x2", "1+5", "2x2"):
            ui.choose_preset(preset)
            self.assertEqual([ui.cells()[index][0] for index in range(4)], cameras)
            stays(lambda: all(ui.cells()[index][1] == "playing" for index in range(4)), 1, "every cell playing")
        # A stream that leaves the grid is parked and taken up again.
        ui.clear_cell(0)
        wait_until(lambda: not ui.view(cameras[0]).shown, 5, "the stream to be hidden")
        ui.open_page("settings")
        ui.open_page("live")
        ui.choose_camera(0, cameras[0])
        self.assertEqual(ui.cells()[0], [cameras[0], "playing"])
        ui.wait_live_picture(0, 3)
        self.assertEqual(self.played(), filled)

    def test_maximising_brings_the_main_stream_without_a_black_frame(self):
        ui, (camera,) = self.watch(1)
        ui.wait_live_picture(0)
        x, y, width, height = ui.cell(0).region
        # The ground of the scene, which is never dark, where the small and the large picture overlap.
        ground = x + 0.1 * width, y + 0.6 * height, 0.8 * width, 0.2 * height
        main, sub = f"{camera}/main", f"{camera}/sub"
        with ui.desktop.watched_brightness(ground) as brightness:
            for _ in range(3):
                opened = self.played().get(main, 0)
                ui.maximise(0)
                wait_until(lambda: self.played().get(main, 0) == opened + 1, 10, "the main stream to be opened")
                wait_until(lambda: ui.source_in_front(camera).endswith("main"), 15, "the main stream in front")
                self.assertEqual(ui.cells()[0][1], "playing")
                ui.restore_grid(0)
                wait_until(lambda: ui.source_in_front(camera).endswith("sub"), 15, "the sub stream in front")
        self.assertGreater(len(brightness), 60)
        self.assertGreater(min(brightness), 30, f"a black frame among {len(brightness)}")
        wait_until(lambda: (self.playing(main), self.playing(sub)) == (0, 1), 5, "the main stream to be closed")

    def test_works_the_grid_with_the_keyboard_alone(self):
        ui = self.sign_in()
        ui.desktop.key("2")
        wait_until(lambda: ui.preset() == "2x2", 5, "the preset 2x2")
        ui.tab_to("videoCell_0")
        name = self.recorder.call("GET", "/client-api/cameras", token=self.token)[1][4]["name"]
        ui.desktop.key("Return")
        wait_until(lambda: ui.focus_name() == "cameraSearchField", 5, "the focus in the picker's search field")
        ui.desktop.type(name)
        wait_until(lambda: len([i for i in ui.probe.items() if i.name.startswith("cameraRow_")]) == 1, 5, "one match")
        ui.desktop.key("Return")
        ui.wait_cells(0)
        self.assertEqual(ui.cells()[0][0], self.camera_ids[4])
        wait_until(lambda: ui.focus_name() == "videoCell_0", 5, "the focus back in the cell")
        ui.desktop.key("ctrl+Right")
        wait_until(lambda: ui.cells()[1][0] == self.camera_ids[4], 5, "the camera one cell on")
        self.assertEqual(ui.focus_name(), "videoCell_1")
        for key, alone in (("Return", 1), ("Escape", -1)):
            ui.desktop.key(key)
            wait_until(lambda: ui.maximised() == alone, 5, f"what {key} shows")
        self.assertEqual(ui.probe.unnamed(), [])
        ui.desktop.key("Delete")
        wait_until(lambda: ui.cells()[1][0] == "", 5, "the cell emptied")


if __name__ == "__main__":
    main()
