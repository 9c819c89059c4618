"""A virtual display with a window manager: real mouse and keyboard input, and the pixels on the screen."""

import contextlib
import os
import shutil
import subprocess
import threading
import time

from . import processes
from .snapshot import Snapshots
from .waiting import wait_until


class Picture:
    """Pixels of a part of the screen, three bytes each."""

    def __init__(self, width, height, data):
        self.width, self.height, self.data = width, height, data

    def pixel(self, x, y):
        at = 3 * (y * self.width + x)
        return tuple(self.data[at:at + 3])

    def mean(self):
        return sum(self.data) / len(self.data)

    def difference(self, other):
        """Mean absolute difference per colour value, 0 to 255."""
        return sum(abs(a - b) for a, b in zip(self.data, other.data)) / len(self.data)


class Desktop:
    def __init__(self, size=(2640, 1520)):
        self.size = size
        number_out, number_in = os.pipe()
        self._server = processes.start(
            ["Xvfb", "-displayfd", number_in, "-screen", "0", f"{size[0]}x{size[1]}x24", "-nolisten", "tcp"],
            pass_fds=[number_in], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(number_in)
        with os.fdopen(number_out) as number:
            self.display = f":{number.readline().strip()}"
        if self.display == ":":
            raise RuntimeError("the virtual display does not start")
        self._snapshots = Snapshots(self.display)
        self.env = {"DISPLAY": self.display, "LIBGL_ALWAYS_SOFTWARE": "1", "LC_ALL": "C.UTF-8",
                    "ZORVEL_DISPLAY_SERVER": str(self._server.pid), "PATH": os.environ["PATH"]}
        self._manager = processes.start(["openbox"], env=dict(os.environ, **self.env), stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        wait_until(self._is_managed, 30, "the window manager to take over the display")

    def _is_managed(self):
        done = subprocess.run(["xdotool", "get_num_desktops"], env=self.env, capture_output=True)
        return done.returncode == 0

    def stop(self):
        self._snapshots.close()
        processes.stop(self._manager)
        processes.stop(self._server)

    def wake(self):
        """Sends every program an event. With software rendering one waits now and then for an answer that libxcb has
        given to another of its threads, and goes on with the next event; a fault of the program's own does not."""
        print("a program did not answer and was sent an event", flush=True)
        subprocess.run(["xprop", "-root", "-f", "_ZORVEL_WAKE", "8s", "-set", "_ZORVEL_WAKE", "1"], env=self.env)

    # Input

    def _xdotool(self, *words):
        subprocess.run(["xdotool", *[str(word) for word in words]], env=self.env, check=True, capture_output=True)

    def move(self, x, y):
        self._xdotool("mousemove", round(x), round(y))

    def wheel(self, x, y, notches):
        """Turns the wheel over a point, up for positive notches."""
        self._xdotool("mousemove", round(x), round(y), "click", "--repeat", abs(notches), "--delay", 10,
                      4 if notches > 0 else 5)

    def click(self, x, y, count=1):
        self._xdotool("mousemove", round(x), round(y), "click", "--repeat", count, "--delay", 60, 1)

    def key(self, *names):
        self._xdotool("key", "--delay", 20, *names)

    def type(self, text):
        self._xdotool("type", "--delay", 12, text)

    def drag(self, start, end, steps=12):
        """Presses at start, moves to end in steps and releases there."""
        words = ["mousemove", round(start[0]), round(start[1]), "mousedown", 1]
        for step in range(1, steps + 1):
            x, y = (a + (b - a) * step / steps for a, b in zip(start, end))
            words += ["mousemove", round(x), round(y), "sleep", 0.02]
        self._xdotool(*words, "sleep", 0.1, "mouseup", 1)

    def minimise(self, window):
        self._xdotool("windowminimize", "--sync", window)

    def restore(self, window):
        """Brings a minimised window back; done when the window manager has left the focus with it for a while."""
        self._xdotool("windowactivate", "--sync", window)
        in_a_row = 0

        def settled():
            nonlocal in_a_row
            focus = subprocess.run(["xdotool", "getwindowfocus"], env=self.env, capture_output=True, text=True)
            in_a_row = in_a_row + 1 if focus.stdout.strip() == str(window) else 0
            return in_a_row >= 10
        wait_until(settled, 10, "the focus in the restored window")

    def resize(self, window, width, height):
        self._xdotool("windowsize", window, width, height)

    def place(self, window, x, y):
        self._xdotool("windowmove", window, x, y)

    def close(self, window):
        """Asks the program to close the window, as its title bar does."""
        self._xdotool("windowactivate", "--sync", window, "key", "alt+F4")

    # Pixels

    def picture(self, region):
        """What a part (x, y, width, height) of the screen shows at this moment."""
        x, y, width, height = (round(value) for value in region)
        if x < 0 or y < 0 or x + width > self.size[0] or y + height > self.size[1]:
            raise RuntimeError(f"no picture of the screen at {region}")
        return Picture(width, height, self._snapshots.take(x, y, width, height))

    @contextlib.contextmanager
    def watched_brightness(self, region):
        """Takes pictures of a part of the screen, one after the other; the list given holds how bright each was."""
        seen, ended = [], threading.Event()
        snapshots = Snapshots(self.display)
        x, y, width, height = (round(value) for value in region)

        def watch():
            while not ended.is_set():
                seen.append(Picture(width, height, snapshots.take(x, y, width, height)).mean())
                time.sleep(0.005)
        watcher = threading.Thread(target=watch, daemon=True)
        watcher.start()
        try:
            yield seen
        finally:
            ended.set()
            watcher.join()
            snapshots.close()

    def screenshot(self, path):
        if shutil.which("import"):
            subprocess.run(["import", "-window", "root", str(path)], env=self.env, capture_output=True)
