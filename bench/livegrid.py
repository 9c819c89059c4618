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

    def open(self, slot, camera):
        """Shows a camera in a slot; returns how long, in seconds, it took from there to its first frame.

        The client logs both moments: what it takes to ask it for them does not count. It is asked seldom, as
        reading the log takes the processor from it and the recorder.
        """
        begin = f"opens {camera}"
        self.probe.evaluate(f"(console.info('{begin}'), assignSlotExclusive({slot}, '{camera}'))", type="VideoGrid")
        shown = wait_until(lambda: self.client.log_times(f"{camera} is playing"), 20, f"the picture of {camera}",
                           interval=0.25)
        return shown[0][0] - self.client.log_times(begin)[0][0]

    def end_streams(self, slot):
        """Clears a slot and ends its stream, which would be kept for minutes otherwise, decoding on."""
        self._call("clearSlot", slot)
        self.probe.evaluate("pool.clear()", type="CameraStreamView", shown=None)
        self.probe.gone(type="CameraStreamView", shown=None)

    def log_states(self):
        """Lets the client log every state of a camera from now on."""
        self.probe.evaluate("streamStateChanged.connect((camera, state) => console.info(camera, 'is', state))",
                            name="streamLayer")

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
