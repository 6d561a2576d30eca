"""Runs the command under test, norix and ffmpeg, and compares files."""

from __future__ import annotations

import json
import os
import subprocess
import sys
import time
from collections.abc import Callable
from dataclasses import dataclass
from fractions import Fraction
from pathlib import Path
from typing import Any

NORIX = os.environ["NORIX_COMMAND"]
# Far more than anything takes; a machine may be busy.
PATIENCE_SECONDS = 100


def batch_command(*arguments: str | Path, norix: str | Path = NORIX) -> list[str]:
    """The command line of the program under test."""
    return [sys.executable, "-m", "norixengine.batch", *map(str, arguments), "--norix", str(norix)]


def run_batch(*arguments: str | Path, norix: str | Path = NORIX, code: int = 0) -> subprocess.CompletedProcess[str]:
    """Runs it to its end, which must be `code`."""
    ending = subprocess.run(
        batch_command(*arguments, norix=norix), capture_output=True, text=True, timeout=PATIENCE_SECONDS
    )
    assert ending.returncode == code, f"exit code {ending.returncode}\n{ending.stdout}\n{ending.stderr}"
    assert "Traceback" not in ending.stderr
    return ending


def run_well(*command: str | Path) -> str:
    """Runs any command, which must succeed, and gives its stdout."""
    ending = subprocess.run([str(word) for word in command], capture_output=True, text=True, timeout=PATIENCE_SECONDS)
    assert ending.returncode == 0, f"{command}\n{ending.stderr}"
    return ending.stdout


def ffmpeg(*arguments: str | Path) -> str:
    """Runs ffmpeg well."""
    return run_well("ffmpeg", "-nostdin", "-v", "error", "-y", *arguments)


def make_clip(path: Path, frames: int, *arguments: str, rate: str = "25", sound: bool = True) -> Path:
    """A clip of 64 by 48 moving test patterns; H.264 that reorders and AAC unless the arguments choose others."""
    seconds = float(frames / Fraction(rate))
    words = ["-f", "lavfi", "-i", f"testsrc2=r={rate}:s=64x48"]
    if sound:
        # The tone rises, so that no two packets of it are equal.
        words += ["-f", "lavfi", "-i", f"aevalsrc=0.5*sin(2*PI*t*(300+150*t)):s=44100:d={seconds}"]
    ffmpeg(
        *words,
        "-frames:v",
        str(frames),
        "-c:v",
        "libx264",
        "-preset",
        "veryfast",
        "-g",
        "12",
        "-bf",
        "2",
        "-pix_fmt",
        "yuv420p",
        *arguments,
        path,
    )
    return path


def wait_until(condition: Callable[[], bool], what: str) -> None:
    """Waits for a condition."""
    end = time.monotonic() + PATIENCE_SECONDS
    while not condition():
        assert time.monotonic() < end, f"waited in vain until {what}"
        time.sleep(0.02)


def frame_hashes(path: Path) -> list[str]:
    """MD5 of every decoded frame."""
    text = ffmpeg("-noautorotate", "-i", path, "-map", "0:v:0", "-fps_mode", "passthrough", "-f", "framemd5", "-")
    return [line.rpartition(",")[2].strip() for line in text.splitlines() if line and not line.startswith("#")]


def probe(path: Path, *what: str) -> dict[str, Any]:
    """ffprobe's JSON."""
    found: dict[str, Any] = json.loads(run_well("ffprobe", "-v", "error", "-of", "json", *what, path))
    return found


@dataclass(frozen=True)
class Packet:
    """A packet's time and length in ticks, and a hash of its data."""

    pts: int
    duration: int
    data: str


@dataclass(frozen=True)
class Contents:
    """A file: its streams, container, metadata and chapters, and every stream's packets in the order of their times."""

    about: dict[str, Any]
    packets: list[list[Packet]]


# These depend on where the encoder began groups of pictures, or are the file's own.
_UNLIKE = {"bit_rate", "filename", "size", "max_bit_rate"}


def contents(path: Path) -> Contents:
    """What ffprobe tells of a file."""
    found = probe(path, "-show_streams", "-show_format", "-show_chapters", "-show_packets", "-show_data_hash", "md5")
    packets: list[list[Packet]] = [[] for _ in found["streams"]]
    for each in found.pop("packets"):
        packets[each["stream_index"]].append(Packet(each.get("pts", 0), each.get("duration", 0), each["data_hash"]))
    for part in [*found["streams"], found["format"]]:
        for key in _UNLIKE:
            part.pop(key, None)
    for stream in packets:
        stream.sort(key=lambda each: each.pts)
    return Contents(found, packets)


def render_in_one_pass(source: Path, output: Path, *arguments: str) -> Path:
    """What the joined file is compared with."""
    run_well(NORIX, "render", source, output, "--progress", "none", *arguments)
    return output


def _times(packets: list[Packet]) -> list[tuple[int, int]]:
    return [(each.pts, each.duration) for each in packets]


def assert_same_clip(joined: Path, whole: Path, *, lossless: bool, sound: str = "same") -> None:
    """The joined file is as if rendered in one pass; where pictures are lossy, in all but their bytes.

    :param sound: "same", "anew": encoded with other bytes, "smoothed": copied from a clock in milliseconds, whose
        jitter ffmpeg takes out
    """
    ours, theirs = contents(joined), contents(whole)
    for about in (ours.about, theirs.about):
        if sound == "anew":
            about["streams"][1]["tags"].pop("ENCODER", None)  # which ffmpeg says and norix does not
        if sound == "smoothed":
            for key in ("duration", "duration_ts"):
                about["streams"][1].pop(key)
    assert ours.about == theirs.about
    for index, stream in enumerate(theirs.about["streams"]):
        own, other = ours.packets[index], theirs.packets[index]
        if sound == "smoothed" and stream["codec_type"] == "audio":
            assert [each.data for each in own] == [each.data for each in other]
            rate = int(stream["sample_rate"])
            assert all(abs(one.pts - two.pts) <= rate / 1000 for one, two in zip(own, other))
            continue
        assert _times(own) == _times(other)
        if stream["codec_type"] != "video" and sound != "anew":
            assert own == other
    if lossless:
        assert frame_hashes(joined) == frame_hashes(whole)
