"""The playback page in the words of the operator."""

import math

from .clock import picture_region, read_instant, strip_region
from .waiting import wait_until

FRAME_MS = 1000 / 15


class Playback:
    def __init__(self, ui):
        self.ui, self.probe, self.desktop = ui, ui.probe, ui.desktop
        ui.open_page("playback")

    # What it says

    def value(self, name):
        return self.probe.value(name, type="PlaybackView")

    def playhead(self):
        """The moment being shown, in ms since the epoch."""
        return self.value("playheadTime")

    def view(self):
        values = self.probe.item(["viewStart", "viewEnd"], name="timeline").values
        return values["viewStart"], values["viewEnd"]

    def playing(self):
        return self.probe.value("playing", type="PlaybackControls")

    def message(self, camera=None):
        """What is said over the video of a cell, or of the single camera; empty while nothing is."""
        wanted = {"name": "cellMessage", "within": f"archiveCell_{camera}"} if camera else {"name": "singleMessage"}
        return "".join(item.text for item in self.probe.items(**wanted))

    def region(self, camera=None):
        item = self.probe.item(name=f"archiveCell_{camera}" if camera else "singleVideo")
        return picture_region(item.region)

    def shown(self, region):
        """The moment that the picture there shows, in ms since the epoch; None if it is not readable."""
        instant = read_instant(self.desktop.picture(strip_region(region)))
        return None if instant is None else round(instant * 1000)

    def disagreement(self, region):
        """By how many ms picture and playhead tell different times; None if the picture is not readable."""
        before = self.playhead()
        shown = self.shown(region)
        after = self.playhead()
        return None if shown is None else max(min(before, after) - shown, shown - max(before, after), 0)

    # What the operator does

    def tick(self, *cameras):
        for camera in cameras:
            self.ui.click(name=f"cameraRow_{camera}")
            wait_until(lambda: camera in self.value("selectedCameras"), 5, f"{camera} to be ticked")
        wait_until(lambda: self.playhead() > 0, 15, "the playhead")

    def wait_playing(self, camera=None):
        wait_until(lambda: self.playing() and not self.message(camera) and self.shown(self.region(camera)), 20,
                   lambda: f"{camera or 'the camera'} to play; it says {self.message(camera)!r}")

    def zoom_to(self, moment, range_ms):
        """Shows about so many ms around a moment that lies in the view: turns the wheel over it and drags it there."""
        def narrow_enough():
            start, end = self.view()
            if end - start <= range_ms * 1.25:
                return True
            notches = math.log((end - start) / range_ms, 1.25)
            self.desktop.wheel(*self.place(moment), max(1, min(6, round(notches))))
            wait_until(lambda: self.view() != (start, end), 5, "the view to be zoomed")
        wait_until(narrow_enough, 20, f"a view of {range_ms} ms")
        middle = self.probe.item(name="timeline").centre
        if abs(self.place(moment)[0] - middle[0]) > 20:
            self.desktop.drag(self.place(moment), middle)
        wait_until(lambda: abs(self.place(moment)[0] - middle[0]) <= 20, 5, "the view to be moved")

    def place(self, moment):
        """Where the moment is on the timeline, which must show it."""
        (start, end), timeline = self.view(), self.probe.item(name="timeline")
        if not start < moment < end:
            raise AssertionError(f"{moment} is not in the view from {start} to {end}")
        return timeline.x + (moment - start) / (end - start) * timeline.width, timeline.y + timeline.height / 2

    def click_at(self, moment):
        """Clicks a moment on the timeline; returns the one that was hit, which the width of a pixel decides."""
        x, y = self.place(moment)
        start, end = self.view()
        timeline = self.probe.item(name="timeline")
        self.desktop.click(x, y)
        return start + (round(x) - timeline.x) / timeline.width * (end - start)

    def go_to(self, moment):
        self.zoom_to(moment, 120_000)
        return self.click_at(moment)

    def choose_speed(self, speed):
        self.ui.click(name="speedButton")
        self.ui.click(name=f"speed_{speed}")
        wait_until(lambda: self.probe.value("speed", type="SpeedButton") == speed, 5, f"the speed {speed}")

    # Exporting

    def choose_clip(self, start, end):
        """Marks a clip that begins near one moment and ends near another; returns its bounds."""
        self.zoom_to((start + end) / 2, 2 * (end - start))
        self.click_at(start)
        self.wait_playing()
        self.desktop.key("space")
        self.ui.click(name="exportButton")
        wait_until(lambda: self.value("exportMode"), 5, "the clip to be marked")
        y = self.place(start)[1]
        self.desktop.drag((self.place(self.value("exportEnd"))[0] + 6, y), (self.place(end)[0] + 6, y))
        pixel_ms = 2 * (end - start) / self.probe.item(name="timeline").width
        wait_until(lambda: abs(self.value("exportEnd") - end) < 12 * pixel_ms, 5, "the end of the clip to be moved")
        return self.value("exportStart"), self.value("exportEnd")

    def save_clip(self, name):
        """Begins the download into the folder that the save dialog opens with."""
        self.ui.click(name="exportDownload")
        self.ui.fill("fileNameTextField", name)
        self.ui.click(text="Save")
        self.probe.gone(name="fileNameTextField")

    def export(self, property):
        return self.probe.context("exportModel", property)

    def wait_exported(self, timeout=60):
        wait_until(lambda: not self.export("downloading"), timeout, lambda: f"the export to end: {self.export('progress')}")
