"""Watching live cameras: real pictures, and no stream that is opened twice."""

from harness.testcase import EndToEndTest, main
from harness.waiting import stays, wait_until


class Grid(EndToEndTest):
    cameras = 16

    def watch(self, count):
        """Signs in and shows the first cameras in the preset 2x2."""
        ui = self.sign_in()
        ui.choose_preset("2x2")
        for index, camera in enumerate(self.camera_ids[:count]):
            ui.choose_camera(index, camera)
        ui.wait_playing(*range(count))
        return ui, self.camera_ids[:count]

    def played(self):
        """How often each stream was opened at the RTSP server so far."""
        return {stream: counts["played"] for stream, counts in self.recorder.streams().items()}

    def test_plays_the_cameras_own_moving_picture(self):
        ui, _ = self.watch(2)
        for index in (0, 1):
            wait_until(lambda: ui.shows_live_picture(index), 10, f"a live picture in cell {index}")
        first = ui.shown_instant(0)
        wait_until(lambda: ui.shown_instant(0) > first + 1, 10, "the clock in the picture to go on")
        pictures = [ui.picture_of(index) for index in (0, 1)]
        self.assertGreater(pictures[0].colours(), 20)
        # Each camera looks at a scene of its own colour.
        self.assertGreater(pictures[0].difference(pictures[1]), 3)

    def test_reconnects_no_stream_when_presets_change(self):
        before = self.played()
        ui, cameras = self.watch(4)
        opened = {stream: count - before.get(stream, 0) for stream, count in self.played().items()}
        self.assertEqual(sum(opened.values()), 4, opened)
        filled = self.played()
        for preset in ("3x3", "2x2", "1+5", "2x2"):
            ui.choose_preset(preset)
            self.assertEqual([ui.cells()[index][0] for index in range(4)], cameras)
            stays(lambda: all(ui.cells()[index][1] == "playing" for index in range(4)), 1, "every cell playing")
        self.assertEqual(self.played(), filled)
        self.assertEqual([ui.cells()[index][0] for index in range(4)], cameras)
        wait_until(lambda: ui.shows_live_picture(3), 10, "a live picture after the changes")

    def test_parks_a_stream_that_leaves_the_grid_and_takes_it_up_again(self):
        ui, cameras = self.watch(2)
        opened = self.played()
        ui.clear_cell(0)
        wait_until(lambda: not ui.view(cameras[0]).shown, 5, "the stream to be hidden")
        ui.open_page("settings")
        ui.open_page("live")
        ui.choose_camera(3, cameras[0])
        self.assertEqual(ui.cells()[3], [cameras[0], "playing"])
        wait_until(lambda: ui.shows_live_picture(3), 10, "the parked camera's picture")
        self.assertEqual(self.played(), opened)

    def test_maximising_brings_the_main_stream_without_a_black_frame(self):
        ui, (camera,) = self.watch(1)
        wait_until(lambda: ui.shows_live_picture(0), 10, "a live picture")
        x, y, width, height = ui.cell(0).region
        # The ground of the scene, which is never dark, where the small and the large picture overlap.
        ground = x + 0.1 * width, y + 0.6 * height, 0.8 * width, 0.2 * height
        main = f"{camera}/main"
        with ui.desktop.record(ground) as recording:
            for round in range(3):
                opened = self.played().get(main, 0)
                ui.maximise(0)
                wait_until(lambda: self.played().get(main, 0) == opened + 1, 10, "the main stream to be opened")
                wait_until(lambda: self.shown_player_source(camera).endswith("main"), 15, "the main stream in front")
                self.assertEqual(ui.cells()[0][1], "playing")
                ui.restore_grid(0)
                wait_until(lambda: self.shown_player_source(camera).endswith("sub"), 15, "the sub stream in front")
        frames = recording.frames
        self.assertGreater(len(frames), 60)
        darkest = min(frame.mean() for frame in frames)
        self.assertGreater(darkest, 30, f"a black frame among {len(frames)}")
        self.assertEqual(self.recorder.streams()[main]["playing"], 0)
        self.assertEqual(self.recorder.streams()[f"{camera}/sub"]["playing"], 1)

    def shown_player_source(self, camera):
        """The address, without its user, of the player in front in the camera's view."""
        within = {"type": "CameraStreamView", "where": {"cameraId": camera}}
        return "".join(item.values["source"].partition("@")[2]
                       for item in self.ui.probe.items(["source"], type="MpvObject", within=within))

    def test_moves_cells_by_dragging(self):
        ui, (first, second) = self.watch(2)
        opened = self.played()
        ui.desktop.drag(ui.cell(0).centre, ui.cell(1).centre)
        wait_until(lambda: [ui.cells()[i][0] for i in range(4)] == [second, first, "", ""], 5, "the cells swapped")
        ui.desktop.drag(ui.cell(1).centre, ui.cell(2).centre)
        wait_until(lambda: [ui.cells()[i][0] for i in range(4)] == [second, "", first, ""], 5, "the cell moved")
        # A drag that ends outside of the grid, or is given up with Escape, changes nothing.
        ui.desktop.drag(ui.cell(2).centre, ui.probe.item(name="nav_settings").centre)
        ui.desktop.press(*ui.cell(0).centre)
        ui.desktop.move(*ui.cell(3).centre)
        wait_until(lambda: ui.probe.value("slotDragActive", type="VideoGrid"), 5, "the drag to begin")
        ui.desktop.key("Escape")
        ui.desktop.release()
        stays(lambda: [ui.cells()[i][0] for i in range(4)] == [second, "", first, ""], 0.5, "the cells as they were")
        self.assertEqual(ui.current_page(), "live")
        wait_until(lambda: ui.shows_live_picture(2), 10, "the moved camera's picture")
        self.assertEqual(self.played(), opened)

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
        ui.wait_playing(0)
        self.assertEqual(ui.cells()[0][0], self.camera_ids[4])
        wait_until(lambda: ui.focus_name() == "videoCell_0", 5, "the focus back in the cell")
        ui.desktop.key("ctrl+Right")
        wait_until(lambda: ui.cells()[1][0] == self.camera_ids[4], 5, "the camera one cell on")
        self.assertEqual(ui.focus_name(), "videoCell_1")
        ui.desktop.key("Return")
        wait_until(lambda: ui.probe.value("maximizedSlot", type="VideoGrid") == 1, 5, "the cell alone")
        ui.desktop.key("Escape")
        wait_until(lambda: ui.probe.value("maximizedSlot", type="VideoGrid") == -1, 5, "the grid again")
        ui.desktop.key("Delete")
        wait_until(lambda: ui.cells()[1][0] == "", 5, "the cell emptied")
        self.assertEqual(ui.probe.ask("accessibleGaps"), [])

    def test_stops_the_video_while_minimised(self):
        ui, (camera,) = self.watch(1)
        window = ui.minimise()
        stream = f"{camera}/sub"
        wait_until(lambda: self.recorder.streams()[stream]["playing"] == 0, 10, "the stream to be closed")
        ui.restore(window)
        ui.wait_playing(0)
        wait_until(lambda: ui.shows_live_picture(0), 10, "a live picture, not an old one")


if __name__ == "__main__":
    main()
