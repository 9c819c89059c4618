"""What is in a video file: its boxes, its time stamps and the moments that its pictures tell."""

import json
import struct
import subprocess

from .clock import CELLS, instant_of_cells


def boxes(path):
    """The names of the boxes of an MP4 file, one after the other; the last one must end with the file."""
    names, at = [], 0
    data = path.read_bytes()
    while at < len(data):
        size, name = struct.unpack_from(">I4s", data, at)
        names.append(name.decode("ascii"))
        at += size
    assert at == len(data), f"{path} ends inside its last box"
    return names


def probe(path):
    """(start, duration, time stamps of all packets), in seconds, as ffprobe tells them."""
    answer = json.loads(subprocess.run(
        ["ffprobe", "-v", "error", "-print_format", "json", "-show_entries", "format=start_time,duration:packet=pts_time",
         str(path)], check=True, capture_output=True).stdout)
    return (float(answer["format"]["start_time"]), float(answer["format"]["duration"]),
            [float(packet["pts_time"]) for packet in answer["packets"]])


def moments(source, *options):
    """The moment that each picture of a file or stream tells, in seconds since the epoch, None where it is not readable.

    options: for ffmpeg's input."""
    strip = f"crop=iw:4:0:ih*80/720,scale={CELLS}:1:flags=area"
    done = subprocess.run(["ffmpeg", "-v", "error", *options, "-i", str(source), "-fps_mode", "passthrough", "-vf", strip,
                           "-f", "rawvideo", "-pix_fmt", "gray", "-"], check=True, capture_output=True)
    assert not done.stderr, done.stderr.decode()
    return [instant_of_cells(done.stdout[at:at + CELLS]) for at in range(0, len(done.stdout), CELLS)]
