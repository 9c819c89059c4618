#!/usr/bin/env python3
"""Measures the archive beside mpv and curl over the same footage, on this machine and in this run.

    archive.py [--only seek,export,repaint,cpu] [--rounds 7]

bench.sh starts it: the build directory, one with optimisation, is named by ZORVEL_BUILD_DIR, and what is shared with
the tests lies on PYTHONPATH.
"""

import datetime
import os
import subprocess
import time
import urllib.parse
import urllib.request

from archivepage import ArchivePage
from baselines import IdlePlayer, Players
from figures import median
from harness.waiting import wait_until
from setting import run
import usage

SEGMENT_MS = 30000
MINUTE_MS = 60000
HOUR_MS = 60 * MINUTE_MS


def without_gaps(bench):
    """The cameras whose recording has no gaps; the recorder's pattern goes by their number."""
    return [camera for number, camera in enumerate(bench.cameras, 1) if number % 4 == 1 and number % 13]


def instant(ms):
    moment = datetime.datetime.fromtimestamp(ms / 1000, datetime.timezone.utc)
    return moment.isoformat(timespec="milliseconds").replace("+00:00", "Z")


def some_hours_ago(hours):
    """The start of a segment."""
    return (int(time.time() * 1000) - hours * HOUR_MS) // SEGMENT_MS * SEGMENT_MS


def authorization(bench):
    return f"Authorization: Bearer {bench.token}"


def segments(bench, camera, from_ms, count=1):
    """(address of the file, offset of the instant in it in seconds) of the segments from an instant on."""
    status, found = bench.recorder.call(
        "GET", f"/client-api/cameras/{camera}/segments?from={instant(from_ms)}&limit={count}", token=bench.token)
    assert status == 200 and len(found) == count, (status, found)

    def entry(segment):
        start = datetime.datetime.fromisoformat(segment["start_time"].replace("Z", "+00:00")).timestamp()
        node = urllib.parse.quote(segment["node_id"])
        return f"{bench.recorder.url}/client-api/segments/{segment['id']}/file?node={node}", from_ms / 1000 - start
    return [entry(segment) for segment in found]


def fetch(bench, url):
    request = urllib.request.Request(url, headers={"Authorization": f"Bearer {bench.token}"})
    with urllib.request.urlopen(request) as reply:
        return reply.read()


def measure_seek(bench):
    rounds = bench.options.rounds
    bench.report.section(f"From a click on the timeline to the first frame, median of {rounds}; "
                         "baseline: mpv opens the same file at the same offset")
    camera = without_gaps(bench)[0]
    base = some_hours_ago(3)
    page = ArchivePage(bench.desktop, bench.recorder)
    page.play([camera], base + 2000)
    player = IdlePlayer(bench.desktop, page.cell_size("SinglePlayer"), bench.home.path,
                        [f"--http-header-fields={authorization(bench)}"])
    places = {
        "inside the loaded segment": lambda number: base + 4000 + number * 3300,
        "inside the loaded window": lambda number: base + (2 + number) * SEGMENT_MS + 17300,
        "far away": lambda number: base - (number + 1) * 7 * HOUR_MS + 11600,
    }
    for name, place in places.items():
        clicked, opened = [], []
        for number in range(rounds):
            moment = place(number)
            (url, offset), = segments(bench, camera, moment)
            fetch(bench, url)
            page.set_playing(True)
            clicked.append(page.click_seconds(moment) * 1000)
            time.sleep(0.3)
            page.set_playing(False)
            time.sleep(0.3)
            opened.append(player.first_frame_seconds(url, offset) * 1000)
        bench.report.line(name, median(clicked), "ms", median(opened), ratio_at_most=1.25,
                          note=f"({min(clicked):.0f} to {max(clicked):.0f}, mpv {min(opened):.0f} to {max(opened):.0f})")
    player.stop()
    page.stop()


def measure_export(bench):
    rounds, minutes = 5, 60
    bench.report.section(f"Export of {minutes} minutes, median of {rounds}; baseline: curl fetches the same windows")
    camera = without_gaps(bench)[1]
    begin = some_hours_ago(30)
    windows = [(at, at + 5 * MINUTE_MS) for at in range(begin, begin + minutes * MINUTE_MS, 5 * MINUTE_MS)]
    urls = [f"{bench.recorder.url}/client-api/export/stream?camera_id={camera}&from={instant(start)}&to={instant(end)}"
            f"&origin={instant(begin)}&init={int(start == begin)}" for start, end in windows]
    by_curl, by_client = bench.home.path / "curl.mp4", bench.home.path / "client.mp4"
    page = ArchivePage(bench.desktop, bench.recorder)

    def curl_seconds():
        with open(by_curl, "wb") as file:
            started = time.monotonic()
            subprocess.run(["curl", "--silent", "--fail", "--header", authorization(bench), *urls], stdout=file, check=True)
            os.fsync(file.fileno())
            return time.monotonic() - started

    def client_seconds():
        by_client.unlink(missing_ok=True)
        started = time.monotonic()
        page.probe.invoke("exportModel.exportDirect", camera, instant(begin), instant(begin + minutes * MINUTE_MS),
                          by_client.as_uri())
        wait_until(by_client.exists, 120, "the export", interval=0.002)
        return time.monotonic() - started

    curl_seconds()
    client_seconds()
    assert by_curl.read_bytes() == by_client.read_bytes(), "the export differs from what curl fetched"
    megabytes = by_curl.stat().st_size / 1e6
    taken = [(client_seconds(), curl_seconds()) for _ in range(rounds)]
    client, curl = (median([megabytes / each for each in column]) for column in zip(*taken))
    bench.report.line(f"{megabytes:.0f} MB in {len(windows)} windows, saved to disk", client, "MB/s", curl, ratio_at_least=0.9)
    page.stop()


def measure_repaint(bench):
    bench.report.section("One repaint of the timeline, processor time of the GUI thread, longest of 30; baseline: no spans")
    bench.run_native("zorvel-bench-timeline", DISPLAY=bench.desktop.display, QT_QPA_PLATFORM="xcb",
                     LIBGL_ALWAYS_SOFTWARE="1", QSG_RENDER_LOOP="basic")


def measure_cpu(bench):
    bench.report.section("Four cameras in step (1280x720), processor seconds per second, all four together")
    cameras = without_gaps(bench)[:4]
    base, seconds = some_hours_ago(5), 20
    playlists = [[url for url, _ in segments(bench, camera, base, 3)] for camera in cameras]
    for url in sum(playlists, []):
        fetch(bench, url)
    page = ArchivePage(bench.desktop, bench.recorder)
    page.play(cameras, base + 2000)
    time.sleep(5)
    client = usage.cpu_rate([page.client.pid], seconds)
    memory = usage.memory_mb(page.client.pid)
    cell = page.cell_size("ArchiveCell")
    page.stop()
    for options in ([], ["--gpu-sw=yes", "--vo=gpu"]):
        players = Players(bench.desktop, playlists, cell, bench.home.path,
                          [f"--http-header-fields={authorization(bench)}", "--start=2", "--force-window=yes", *options])
        output = players.video_output()
        time.sleep(5)
        playing = usage.cpu_rate(players.pids, seconds)
        player_memory = players.memory_mb() * len(cameras)
        players.stop()
        bench.report.line(f"beside mpv ({' '.join(options) or 'default, vo ' + output})", client, "s/s", playing)
    bench.report.line("memory, window and interface included", memory, "MB", player_memory)


PARTS = {"seek": measure_seek, "export": measure_export, "repaint": measure_repaint, "cpu": measure_cpu}

if __name__ == "__main__":
    run(__doc__.splitlines()[0], PARTS, 20, [("--rounds", 7, "how many clicks of each kind are measured")])
