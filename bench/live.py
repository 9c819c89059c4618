#!/usr/bin/env python3
"""Measures the live grid beside ffmpeg and mpv over the same streams, on this machine and in this run.

    live.py [--only cpu,first-frame,blocks,start,list] [--counts 1,4,16,64]

bench.sh starts it: the build directory, one with optimisation, is named by ZORVEL_BUILD_DIR, and what is shared with
the tests lies on PYTHONPATH.
"""

import time

from baselines import Decoders, IdlePlayer, Players
from figures import median
from harness.programs import Client, Home
from harness.waiting import wait_until
from livegrid import PRESET_FOR, LiveGrid
from setting import LOGIN, PASSWORD, run
import usage

# Every eighth has no sub stream, and 64 that have one are wanted.
CAMERAS = 80


def stream_urls(bench, cameras, role="sub"):
    return [bench.recorder.call("GET", f"/client-api/cameras/{camera}/stream-url?role={role}",
                                token=bench.token)[1]["url"] for camera in cameras]


def new_grid(bench):
    return LiveGrid(bench.desktop, bench.recorder, (1472, 1080))


def measure_cpu(bench):
    counts = [int(count) for count in bench.options.counts.split(",")]
    seconds = bench.options.seconds
    bench.report.section("Processor and memory for sub streams (640x360), processor seconds per second, per stream")
    ratio_wanted = {16: (4, 1.2), 64: (2.5, None)}
    memory = {}
    for count in counts:
        cameras = bench.with_sub[:count]
        urls = stream_urls(bench, cameras)
        grid = new_grid(bench)
        grid.arrange(PRESET_FOR[count], cameras)
        grid.wait_playing(count)
        time.sleep(3)
        client = grid.cpu_rate(seconds) / count
        frames = grid.blocks_while(lambda: None, 3)[1]["frames"]
        memory[count] = grid.memory_mb()
        cell = grid.cell_size()
        grid.stop()

        decode_wanted, player_wanted = ratio_wanted.get(count, (None, None))
        decoders = Decoders(urls)
        time.sleep(3 + count / 16)
        decoding = usage.cpu_rate(decoders.pids, seconds) / count
        decoders.stop()
        bench.report.line(f"{count:2} streams, beside ffmpeg decoding", client, "s/s", decoding,
                          ratio_at_most=decode_wanted,
                          note=f"({frames / 3:.0f} redraws a second)")

        for options in ([], ["--gpu-sw=yes", "--vo=gpu"]):
            if options and count > 16:
                continue
            players = Players(bench.desktop, urls, cell, bench.home.path, options)
            output = players.video_output()
            time.sleep(3)
            playing = usage.cpu_rate(players.pids, seconds) / count
            player_memory = players.memory_mb()
            players.stop()
            bench.report.line(f"{count:2} streams, beside mpv ({' '.join(options) or 'default, vo ' + output})", client,
                              "s/s", playing, ratio_at_most=player_wanted)
        bench.report.line(f"{count:2} streams, memory per stream", memory[count] / count, "MB", player_memory)
    if len(memory) > 1:
        few, many = min(memory), max(memory)
        bench.report.line(f"each further player ({few} to {many})", (memory[many] - memory[few]) / (many - few), "MB",
                          at_most=25)


def measure_first_frame(bench):
    bench.report.section("Opening a cell to its first frame, one at a time and alone on both sides, median of 9")
    # The first ones find their processes cold.
    cameras = bench.with_sub[16:27]
    urls = stream_urls(bench, cameras)
    # The recorder takes longer over a stream that nobody has asked it for yet.
    decoders = Decoders(urls)
    time.sleep(3)
    decoders.stop()
    grid = new_grid(bench)
    grid.arrange("3x3", [""] * 9)
    grid.log_states()
    taken = []
    for camera in cameras:
        taken.append(grid.open(0, camera) * 1000)
        cell = grid.cell_size()
        grid.end_streams(0)
        time.sleep(1)
    grid.stop()
    for name, options, wanted in (("default options", [], None), ("profile low-latency", ["--profile=low-latency"], 1.1)):
        player = IdlePlayer(bench.desktop, cell, bench.home.path, options)
        baseline = median([player.first_frame_seconds(url) * 1000 for url in urls][2:])
        player.stop()
        bench.report.line(f"beside mpv, {name}", median(taken[2:]), "ms", baseline, ratio_at_most=wanted)


def measure_blocks(bench):
    bench.report.section("Longest block of a thread, less what it waited for a processor")

    def show(what, blocks, at_most):
        stall, frames = blocks
        bench.report.line(f"GUI thread, {what}", stall["longestMs"], "ms", at_most=at_most,
                          note=f"({stall['waitedMs']:.0f} ms more without a processor)")
        bench.report.line(f"render thread, {what}", frames["frameMs"], "ms", at_most=100,
                          note=f"({frames['waitedMs']:.0f} ms more without a processor)")

    grid = new_grid(bench)
    cameras = bench.cameras[:64]

    def open_all():
        grid.arrange("8x8", cameras)
        grid.wait_playing(64, 90)
    show("an 8x8 grid opens", grid.blocks_while(open_all, 2), 100)

    def switch_presets():
        for key in "458465":
            grid.desktop.key(key)
            time.sleep(1)
    show("presets switch with 64 cells", grid.blocks_while(switch_presets, 1), 100)
    show("one switch of preset", grid.blocks_while(lambda: grid.desktop.key("4"), 1), 33)
    grid.desktop.key("6")
    time.sleep(2)

    window = grid.client.window()["id"]
    show("64 cells stop (window minimised)", grid.blocks_while(grid.ui.minimise, 3), 100)

    def start_again():
        grid.ui.restore(window)
        grid.wait_playing(64, 90)
    show("64 cells start again", grid.blocks_while(start_again, 1), 100)
    show("64 playing cells are closed (signing out)", grid.blocks_while(grid.ui.sign_out, 3), 100)

    grid.ui.sign_in(bench.recorder.url, LOGIN, PASSWORD)
    grid.arrange("8x8", cameras)
    grid.wait_playing(64, 90)
    begin = time.monotonic()
    status = grid.client.quit()
    bench.report.line("closing the window of 64 playing cells to the end", (time.monotonic() - begin) * 1000, "ms")
    if status != 0:
        bench.report.remark(f"the client ended with {status}")
    grid.stop()


def measure_start(bench):
    bench.report.section("From starting the program to its first frame, median of 5; baseline: a bare Qt Quick window")

    def first_frame_ms(program, shown):
        home = Home()
        begin = time.monotonic_ns()
        client = Client(home, bench.desktop, debug_log=False, program=program).start()
        client.probe.item(**shown)
        wait_until(lambda: client.probe.ask("readFrames")["frames"], 20, "a frame")
        first_ns = client.probe.ask("readFrames")["firstAtNs"]
        client.kill()
        home.remove()
        return (first_ns - begin) / 1e6

    bare = [first_frame_ms("bench/zorvel-bench-bare", {"type": "TextField"}) for _ in range(5)]
    client = [first_frame_ms("src/app/zorvel-client", {"name": "serverField"}) for _ in range(5)]
    bench.report.line("the login page", median(client), "ms", median(bare))


def measure_list(bench):
    bench.report.section("Ten thousand cameras, processor time; baseline: the same in Qt's own models")
    bench.run_native("zorvel-bench-models", QT_QPA_PLATFORM="offscreen")


PARTS = {"cpu": measure_cpu, "first-frame": measure_first_frame, "blocks": measure_blocks, "start": measure_start,
         "list": measure_list}


if __name__ == "__main__":
    run(__doc__.splitlines()[0], PARTS, CAMERAS, [
        ("--counts", "1,4,16,64", "how many streams the processor figures are taken with"),
        ("--seconds", 6.0, "how long each processor figure is averaged over")])
