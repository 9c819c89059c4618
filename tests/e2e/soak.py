#!/usr/bin/env python3
"""Works the live grid at random while cameras fail, hang and come back, and looks for what piles up or blocks.

    soak.py [--seconds 300] [--seed N]

Wanted: no GUI block above 100 ms; memory within 5 % after the first minute; threads and descriptors back to where they
were; a prompt end while all cameras hang; no sanitizer report. A block is counted without the time in which the GUI
thread, or whoever draws for it, was ready but had no processor.

Only like is compared with like. Every minute the grid comes to rest with sixteen healthy cameras, where the memory is
read. Streams that leave the grid stay open for five minutes, signing out ends them all: threads, descriptors and what
is left of the memory are compared signed out, after all that random steps can show was shown once, and after the last
random step.
"""

import argparse
import random
import sys
import time

from harness import processes
from harness.desktop import Desktop
from harness.operator import Operator
from harness.programs import BUILD, Client, Home, Recorder
from harness.waiting import PATIENCE, wait_until

CAMERAS = 16
PRESETS = ["1x1", "2x2", "3x3", "4x4", "5x5", "8x8", "1+5", "1+7", "2+8"]
LOGIN, PASSWORD = "soak", "Soak-key-7003"
LONGEST_BLOCK_MS = 100
MEMORY_TOLERANCE = 0.05
REST_EVERY_S = 60
# What is shown for the first time stays; one player alone is some 15 MB.
SIGNED_OUT_TOLERANCE_MB = 30
# Players that hang get three seconds.
LONGEST_END_S = 4
# Workers of Qt's pools come and go.
COUNT_TOLERANCE = 2


class Soak:
    def __init__(self, seed):
        self.random = random.Random(seed)
        self.home, self.desktop = Home(), Desktop()
        self.recorder = Recorder(self.home, CAMERAS).start()
        self.cameras = self.recorder.camera_ids(self.recorder.setup(LOGIN, PASSWORD))
        self.client = Client(self.home, self.desktop, debug_log=False).start()
        self.probe = self.client.probe
        self.ui = Operator(self.client, self.desktop)
        self.faults = []
        self.rests = []
        self.longest = {"longestMs": 0, "waitedMs": 0, "during": ""}
        self.history = []
        self.steps = 0

    def stop(self):
        self.client.kill()
        self.recorder.stop()
        self.desktop.stop()
        self.home.remove()

    # What an operator does

    def occupied(self):
        return [index for index, (camera, _) in self.ui.cells().items() if camera]

    def open_cell(self):
        empty = [index for index, (camera, _) in self.ui.cells().items() if not camera]
        if not empty or not self.is_grid():
            return
        self.desktop.click(*self.ui.cell(self.random.choice(empty)).centre)
        self.ui.probe.item(name="cameraSearchField")
        for _ in range(self.random.randrange(8)):
            self.desktop.key("Down")
        self.desktop.key("Return")
        self.probe.gone(name="cameraSearchField")

    def close_cell(self):
        occupied = self.occupied()
        if occupied:
            self.ui.clear_cell(self.random.choice(occupied))

    def move_cell(self):
        occupied = self.occupied()
        if occupied and self.is_grid():
            start, end = self.random.choice(occupied), self.random.choice(list(self.ui.cells()))
            self.desktop.drag(self.ui.cell(start).centre, self.ui.cell(end).centre, steps=6)

    def toggle_maximised(self):
        occupied = self.occupied()
        if occupied:
            self.ui.double_click(self.random.choice(occupied))

    def show_grid(self):
        if not self.is_grid():
            self.desktop.key("Escape")
            wait_until(self.is_grid, 10, "the grid")

    def change_preset(self):
        self.show_grid()
        self.choose_preset(self.random.choice([1, 2, 3, 4, 4, 5, 7, 8, 9]))

    def choose_preset(self, number):
        self.desktop.key(str(number))
        wait_until(lambda: self.ui.preset() == PRESETS[number - 1], 10, f"preset {number}")

    def change_page(self):
        self.ui.open_page("settings")
        time.sleep(self.random.uniform(0, 1))
        self.ui.open_page("live")

    def minimise(self):
        window = self.ui.minimise()
        time.sleep(self.random.uniform(0, 1.5))
        self.ui.restore(window)

    def is_grid(self):
        return self.probe.value("maximizedSlot", type="VideoGrid") == -1

    # What cameras and the server do

    def strike(self):
        camera, kind = self.random.choice(self.cameras), self.random.choice(["offline", "hang"])
        self.recorder.fail_camera(camera, kind)
        self.faults.append(camera)

    def heal(self):
        if self.faults:
            self.recorder.fail_camera(self.faults.pop(0), "none")

    def heal_all(self):
        for camera in self.cameras:
            self.recorder.fail_camera(camera, "none")
        self.faults.clear()

    def step(self):
        actions = {self.open_cell: 5, self.close_cell: 4, self.move_cell: 4, self.toggle_maximised: 4,
                   self.change_preset: 3, self.change_page: 1, self.minimise: 0.5, self.strike: 2, self.heal: 2,
                   self.recorder.cut_events: 0.3}
        action = self.random.choices(list(actions), list(actions.values()))[0]
        self.history.append(action.__name__)
        action()
        self.watch_stalls()
        self.steps += 1
        time.sleep(self.random.uniform(0, 0.4))

    # What is watched

    def fill_grid(self):
        self.probe.ask("invoke", selector={"type": "VideoGrid"}, call="restore", args=[{"4x4": self.cameras}, "4x4"])
        self.ui.wait_playing(*range(CAMERAS), timeout=60)

    def show_everything(self):
        """Every preset once; then sixteen healthy cameras, each of which is also shown alone."""
        self.ui.sign_in(self.recorder.url, LOGIN, PASSWORD)
        for number, _ in enumerate(PRESETS, 1):
            self.choose_preset(number)
            self.open_cell()
        self.change_page()
        self.fill_grid()
        for index in range(CAMERAS):
            self.ui.maximise(index)
            view = {"type": "CameraStreamView", "where": {"cameraId": self.cameras[index]}}
            wait_until(lambda: [player for player in self.probe.items(["source"], type="MpvObject", within=view)
                                if player.values["source"].endswith("/main")], 20, "the main stream in front")
            self.ui.restore_grid(index)

    def sign_out(self):
        """Signs out and returns what the client needs then; what was ended may take some seconds to go."""
        self.heal_all()
        self.show_grid()
        self.ui.sign_out()
        seen = []
        for _ in range(12):
            seen.append(self.resources())
            time.sleep(1)
        return {what: min(each[what] for each in seen) for what in seen[0]}

    def resources(self):
        pid = self.client.pid
        return {"memory": processes.own_memory_mb(pid), "threads": processes.thread_count(pid),
                "descriptors": processes.descriptor_count(pid)}

    def watch_stalls(self):
        stall = self.probe.ask("readStalls")
        if stall["longestMs"] > self.longest["longestMs"]:
            self.longest = {"longestMs": stall["longestMs"], "waitedMs": stall["waitedMs"],
                            "during": " ".join(self.history[-2:])}

    def rest(self):
        self.heal_all()
        self.show_grid()
        self.fill_grid()
        time.sleep(5)
        now = self.resources()
        self.rests.append(now["memory"])
        print(f"{self.steps:5} steps  {now['memory']:6.0f} MB  {now['threads']:4} threads  {now['descriptors']:4} "
              f"descriptors  longest block so far {self.longest['longestMs']:4.0f} ms", flush=True)

    def run(self, seconds):
        begin = next_rest = time.monotonic()
        self.probe.ask("startStalls")
        while time.monotonic() - begin < seconds:
            if time.monotonic() >= next_rest:
                self.rest()
                next_rest += REST_EVERY_S
            self.step()
        self.rest()
        self.probe.ask("stopStalls")

    def quit_while_cameras_hang(self):
        """Returns the client's exit status and how long it took to end."""
        self.ui.sign_in(self.recorder.url, LOGIN, PASSWORD)
        self.fill_grid()
        for camera in self.cameras:
            self.recorder.fail_camera(camera, "hang")
        time.sleep(1)
        begin = time.monotonic()
        return self.client.quit(), time.monotonic() - begin

    def memory_growth(self):
        """Growth from the second minute to the last one, as a share; None for a short run."""
        return sum(self.rests[-2:]) / sum(self.rests[1:3]) - 1 if len(self.rests) > 4 else None


def judge(soak, before, after, status, end_s):
    """What is not as wanted, in words."""
    sanitized = b"__asan_init" in (BUILD / "src/app/zorvel-client").read_bytes()
    growth, left = soak.memory_growth() or 0, after["memory"] - before["memory"]
    verdicts = [
        (soak.longest["longestMs"] > LONGEST_BLOCK_MS * PATIENCE,
         f"the GUI thread was blocked for {soak.longest['longestMs']:.0f} ms during {soak.longest['during']}"),
        *[(after[what] > before[what] + COUNT_TOLERANCE,
           f"signed out there were {before[what]} {what} before and {after[what]} after")
          for what in ("threads", "descriptors")],
        (not sanitized and growth > MEMORY_TOLERANCE, f"memory grew by {growth:.1%} after the first minute"),
        (not sanitized and left > SIGNED_OUT_TOLERANCE_MB, f"signed out there were {left:.0f} MB more after"),
        (end_s > LONGEST_END_S * PATIENCE, f"the client took {end_s:.1f} s to end"),
        (status != 0, f"the client ended with {status}: {soak.client.log()[-3000:]}"),
        *[(program.sanitizer_report() != "", program.sanitizer_report()) for program in (soak.client, soak.recorder)],
    ]
    return [text for wrong, text in verdicts if wrong]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seconds", type=float, default=300)
    parser.add_argument("--seed", type=int, default=int(time.time()))
    options = parser.parse_args()
    print(f"seed {options.seed}", flush=True)
    soak = Soak(options.seed)
    try:
        soak.show_everything()
        before = soak.sign_out()
        print(f"signed out {before}", flush=True)
        soak.show_everything()
        soak.run(options.seconds)
        after = soak.sign_out()
        print(f"signed out {after}", flush=True)
        status, end_s = soak.quit_while_cameras_hang()
        soak.recorder.stop()
        faults = judge(soak, before, after, status, end_s)
    except BaseException:
        folder = BUILD / "e2e-failures/soak"
        folder.mkdir(parents=True, exist_ok=True)
        soak.desktop.screenshot(folder / "screen.png")
        (folder / "client.log").write_text(soak.client.log())
        print(f"kept in {folder}; seed {options.seed}; last steps {soak.history[-12:]}", flush=True)
        raise
    finally:
        soak.stop()
    growth = soak.memory_growth()
    print(f"{soak.steps} steps; longest block {soak.longest['longestMs']:.0f} ms (and {soak.longest['waitedMs']:.0f} ms "
          f"without a processor) during {soak.longest['during']}; memory "
          + ("" if growth is None else f"{growth:+.1%} after the first minute, ")
          + f"{after['memory'] - before['memory']:+.0f} MB signed out; ended in {end_s:.1f} s")
    for fault in faults:
        print(f"FAULT: {fault}")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
