"""What every benchmark runs in: the display, the recorder, and the report."""

import argparse
import os
import subprocess

from figures import Report
from harness.desktop import Desktop
from harness.programs import BUILD, Home, Recorder
import usage

LOGIN, PASSWORD = "bench", "Bench-key-8151"


class Bench:
    """A display, a recorder with an account, and where to print."""

    def __init__(self, options, cameras):
        self.options, self.report = options, Report()
        self.home = Home()
        self.desktop = Desktop()
        self.recorder = Recorder(self.home, cameras=cameras).start()
        self.token = self.recorder.setup(LOGIN, PASSWORD)
        cameras = self.recorder.call("GET", "/client-api/cameras", token=self.token)[1]
        self.cameras = [camera["id"] for camera in cameras]
        self.with_sub = [camera["id"] for camera in cameras if camera["has_sub_stream"]]

    def run_native(self, program, **environment):
        """Runs a benchmark that prints its own lines and ends with 1 when a wish was missed."""
        done = subprocess.run([BUILD / "bench" / program], text=True, stdout=subprocess.PIPE,
                              env=dict(os.environ, **self.home.env(), **environment))
        print(done.stdout, end="", flush=True)
        self.report.missed += done.stdout.count("MISSED")
        if done.returncode not in (0, 1):
            self.report.remark(f"{program} ended with {done.returncode}")
            self.report.missed += 1

    def stop(self):
        self.recorder.stop()
        self.desktop.stop()
        self.home.remove()


def run(description, parts, cameras, options=()):
    """Measures the parts named on the command line; options are further (name, default, help)."""
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--only", default=",".join(parts), help="the parts to measure, of " + ", ".join(parts))
    for name, default, text in options:
        parser.add_argument(name, default=default, type=type(default), help=text)
    chosen = parser.parse_args()
    unknown = set(chosen.only.split(",")) - set(parts)
    if unknown:
        parser.error(f"no such part: {', '.join(sorted(unknown))}")
    print(f"{os.cpu_count()} processors, {usage.busy_processors():.1f} of them busy with other things before the start")
    bench = Bench(chosen, cameras)
    try:
        for name in chosen.only.split(","):
            parts[name](bench)
    finally:
        bench.stop()
    print(f"\n{bench.report.missed} missed" if bench.report.missed else "\nall as wanted")
