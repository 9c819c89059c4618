"""The client's live grid under measurement."""

import time

from harness.operator import Operator
from harness.programs import Client, Home
from harness.waiting import wait_until
from setting import LOGIN, PASSWORD
import usage

PRESET_FOR = {1: "2x2", 4: "2x2", 16: "4x4", 64: "8x8"}


class LiveGrid:
    """A signed-in client whose grid can be filled at once."""

    def __init__(self, desktop, recorder, size):
        self.home = Home()
        self.started_ns = time.monotonic_ns()
        self.client = Client(self.home, desktop, debug_log=False).start()
        self.probe, self.desktop = self.client.probe, desktop
        self.ui = Operator(self.client, desktop)
        window = self.client.window()["id"]
        desktop.place(window, 0, 0)
        desktop.resize(window, *size)
        self.ui.sign_in(recorder.url, LOGIN, PASSWORD)
        wait_until(lambda: self.probe.context("cameraModel", "count") > 0, 20, "the camera list")

    def arrange(self, preset, cameras):
        """Shows the preset with these cameras, all in one step as saved arrangements are."""
        self._call("restore", {preset: cameras}, preset)

    def assign(self, slot, camera):
        self._call("assignSlotExclusive", slot, camera)

    def clear(self, slot):
        self._call("clearSlot", slot)

    def log_states(self, camera):
        """Lets the client log every state of the camera's view from now on."""
        view = {"type": "CameraStreamView", "shown": None, "cameraId": camera}
        self.probe.item(**view)
        self.probe.evaluate("displayStateChanged.connect(() => console.info(cameraId, 'is', displayState))", **view)

    def _call(self, method, *arguments):
        self.probe.invoke(method, *arguments, type="VideoGrid")

    def views(self):
        return self.probe.items(["displayState", "cameraId"], type="CameraStreamView")

    def wait_playing(self, count, timeout=60):
        def playing():
            return sum(view.values["displayState"] == "playing" for view in self.views()) == count
        wait_until(playing, timeout, lambda: f"{count} playing cells; there are "
                   f"{[view.values['displayState'] for view in self.views()]}", interval=0.2)

    def cell_size(self):
        view = self.views()[0]
        return view.width, view.height

    def memory_mb(self):
        return usage.memory_mb(self.client.pid)

    def cpu_rate(self, seconds):
        return usage.cpu_rate([self.client.pid], seconds)

    def blocks_while(self, action, settle):
        """(GUI thread, render thread): the longest block in ms while action() and so many seconds after it."""
        self.probe.ask("startStalls")
        self.probe.ask("startFrames")
        action()
        time.sleep(settle)
        stall = self.probe.ask("readStalls")
        frames = self.probe.ask("readFrames")
        self.probe.ask("stopStalls")
        return stall, frames

    def stop(self):
        self.client.kill()
        self.home.remove()
