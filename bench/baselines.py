"""The programs that the client is measured beside: ffmpeg that only decodes, and mpv players."""

import json
import os
import re
import socket
import subprocess
import time

from harness import processes
from harness.waiting import wait_until
import usage

_MPV = ["mpv", "--no-config", "--no-audio", "--no-border", "--osc=no", "--rtsp-transport=tcp"]


class Decoders:
    """One ffmpeg per stream, decoding to nowhere with one thread."""

    def __init__(self, urls):
        self.processes = [processes.start(
            ["ffmpeg", "-loglevel", "error", "-rtsp_transport", "tcp", "-threads", 1, "-i", url, "-an", "-f", "null", "-"],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) for url in urls]

    @property
    def pids(self):
        return [each.pid for each in self.processes]

    def stop(self):
        for each in self.processes:
            each.kill()
        for each in self.processes:
            each.wait()


class Players:
    """One mpv window each, side by side on the display, each of the size of a cell."""

    def __init__(self, desktop, playlists, cell, log_folder, options=()):
        """playlists: for each player an address, or a list of them to play in turn."""
        width, height = (round(side) for side in cell)
        across = max(1, desktop.size[0] // width)
        self.logs, self.processes = [], []
        for index, playlist in enumerate(playlists):
            urls = [playlist] if isinstance(playlist, str) else playlist
            x, y = index % across * width, index // across * height
            self.logs.append(log_folder / f"mpv-{index}.log")
            with open(self.logs[-1], "w") as log:
                self.processes.append(processes.start(
                    [*_MPV, f"--geometry={width}x{height}+{x}+{y}", "--no-keepaspect-window", *options, *urls],
                    env=dict(os.environ, **desktop.env), stdout=log, stderr=subprocess.STDOUT))

    @property
    def pids(self):
        return [each.pid for each in self.processes]

    def video_output(self):
        """What mpv says it draws with, once every player does."""
        pattern = re.compile(r"VO: \[([^\]]+)\]")
        wait_until(lambda: all(pattern.search(log.read_text(errors="replace")) for log in self.logs), 90,
                   "every mpv to show its stream")
        return pattern.search(self.logs[0].read_text(errors="replace")).group(1)

    def memory_mb(self):
        """Memory per player; fails with what a player said when one has ended."""
        for process, log in zip(self.processes, self.logs):
            if process.poll() is not None:
                raise RuntimeError(f"mpv ended with {process.returncode}: {log.read_text(errors='replace')[-600:]}")
        return sum(usage.memory_mb(pid) for pid in self.pids) / len(self.pids)

    def stop(self):
        for each in self.processes:
            each.kill()
        for each in self.processes:
            each.wait()


class IdlePlayer:
    """An mpv with its window already open, told over its socket what to play: nothing but the opening is timed."""

    def __init__(self, desktop, cell, folder, options=()):
        self._path = folder / "mpv.sock"
        self._path.unlink(missing_ok=True)
        width, height = (round(side) for side in cell)
        self._process = processes.start(
            [*_MPV, "--idle=yes", "--force-window=immediate", f"--geometry={width}x{height}+0+0",
             f"--input-ipc-server={self._path}", "--really-quiet", *options],
            env=dict(os.environ, **desktop.env), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_until(self._connect, 20, "mpv's socket")

    def _connect(self):
        self._socket = socket.socket(socket.AF_UNIX)
        try:
            self._socket.connect(str(self._path))
        except OSError:
            self._socket.close()
            return False
        self._socket.settimeout(30)
        self._lines = self._socket.makefile("r")
        return True

    def first_frame_seconds(self, url, start=0):
        """From the command to load until the first frame is shown; playing is stopped afterwards.

        start: where in the file to begin, in seconds.
        """
        self._command("set_property", "start", str(start))
        begin = time.monotonic()
        self._command("loadfile", url)
        self._await("playback-restart")
        taken = time.monotonic() - begin
        self._command("stop")
        self._await("idle")
        return taken

    def _command(self, *words):
        self._socket.sendall(json.dumps({"command": words}).encode() + b"\n")

    def _await(self, event):
        for line in self._lines:
            if json.loads(line).get("event") == event:
                return
        raise RuntimeError(f"mpv ended before its event {event}")

    def stop(self):
        self._socket.close()
        self._process.kill()
        self._process.wait()


