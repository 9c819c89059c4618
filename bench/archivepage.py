"""The client's archive page under measurement."""

import ctypes
import time

from harness.operator import Operator
from harness.programs import Client, Home
from harness.waiting import wait_until
from setting import LOGIN, PASSWORD

_PAGE = {"type": "PlaybackView"}


class MouseButton:
    """The left button, worked from this process, so that the moment of its release is known exactly."""

    def __init__(self, desktop):
        x11, self._xtest = ctypes.CDLL("libX11.so.6"), ctypes.CDLL("libXtst.so.6")
        x11.XOpenDisplay.restype = ctypes.c_void_p
        self._display = ctypes.c_void_p(x11.XOpenDisplay(desktop.display.encode()))
        self._flush = x11.XFlush

    def _turn(self, down):
        self._xtest.XTestFakeButtonEvent(self._display, 1, int(down), 0)
        self._flush(self._display)

    def click(self):
        """Presses and releases; returns when it was released, by the monotonic clock."""
        self._turn(True)
        time.sleep(0.1)
        released = time.monotonic()
        self._turn(False)
        return released


class ArchivePage:
    """A signed-in client that shows the archive."""

    def __init__(self, desktop, recorder, size=(1472, 1080)):
        self.home = Home()
        self.client = Client(self.home, desktop, debug_log=False).start()
        self.probe, self.desktop, self.button = self.client.probe, desktop, MouseButton(desktop)
        ui = Operator(self.client, desktop)
        window = self.client.window()["id"]
        desktop.place(window, 0, 0)
        desktop.resize(window, *size)
        ui.sign_in(recorder.url, LOGIN, PASSWORD)
        ui.open_page("playback")

    def call(self, method, *arguments):
        return self.probe.invoke(method, *arguments, **_PAGE)

    def play(self, cameras, from_ms):
        """Shows these cameras from a moment on."""
        for camera in cameras:
            self.call("toggleCamera", camera)
        wait_until(lambda: self.probe.context("timelineModel", "hasData"), 20, "the recording range")
        begin = time.monotonic()
        self.call("playFrom", from_ms)
        self._wait_frames("[mpv] first frame", begin, len(cameras))
        time.sleep(2)
        if len(cameras) == 1:
            self.probe.evaluate("firstFrameRendered.connect(() => console.info('shown alone'))", name="singleVideo")

    def _wait_frames(self, text, since, count=1):
        """Waits for so many first frames, logged with a text, after a time of the monotonic clock; returns when they came.

        It looks seldom: reading the log takes the processor from the client and the recorder.
        """
        def seen():
            return [at for at, _ in self.client.log_times(text) if at > since]
        wait_until(lambda: len(seen()) >= count, 30, lambda: f"{count} first frames; there were {seen()}", interval=0.25)
        return seen()

    def playing(self):
        return self.probe.value("playing", type="PlaybackControls")

    def set_playing(self, playing):
        if self.playing() != playing:
            self.call("playPause")
        wait_until(lambda: self.playing() == playing, 10, "the pause" if not playing else "the end of the pause")

    def click_seconds(self, moment_ms, view_ms=60000):
        """From a click on a moment in the timeline until the first frame from there is in the picture."""
        self.call("setViewRange", moment_ms - view_ms // 2, moment_ms + view_ms // 2)
        self.desktop.move(*self.probe.item(name="timeline").centre)
        time.sleep(0.5)
        released = self.button.click()
        seconds = self._wait_frames("shown alone", released)[0] - released
        playhead = self.probe.value("playheadTime", **_PAGE)
        assert abs(playhead - moment_ms) < 5000, f"the click on {moment_ms} led to {playhead}"
        return seconds

    def cell_size(self, kind):
        item = self.probe.item(type=kind)
        return item.width, item.height

    def stop(self):
        self.client.kill()
        self.home.remove()
