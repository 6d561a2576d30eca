"""What ffprobe and ffmpeg tell about files."""

from __future__ import annotations

import json
from dataclasses import dataclass
from fractions import Fraction
from typing import Any

from norixengine.batch.errors import BatchError
from norixengine.batch.process import run_well

# What has to agree where encoded pieces are joined without encoding them again.
PARAMETERS = (
    "codec_name",
    "codec_tag_string",
    "profile",
    "level",
    "width",
    "height",
    "pix_fmt",
    "sample_aspect_ratio",
    "color_range",
    "color_space",
    "color_transfer",
    "color_primaries",
    "chroma_location",
    "field_order",
    "time_base",
    "extradata_size",
    "extradata_hash",
)

# Formats whose clips may begin at any time; norix lets their outputs begin at 0.
_BROADCASTS = ("mpegts", "mpeg", "ogg", "hls")


@dataclass(frozen=True)
class Frames:
    """The frames of a video stream in the order they are shown: times in seconds, which ones are key frames, and the
    tick of the stream's clock in seconds."""

    times: tuple[Fraction, ...]
    keys: tuple[bool, ...]
    tick: Fraction


@dataclass(frozen=True)
class Stream:
    """A stream of a file that is not its video."""

    index: int
    kind: str
    codec: str
    is_picture: bool
    channels: int


@dataclass(frozen=True)
class Source:
    """An input clip. ``frames`` is None where frames cannot be numbered for sure; ``reason`` says why. ``start`` is the
    time in seconds that becomes 0 in the output."""

    video: int
    disposition: str
    others: tuple[Stream, ...]
    frames: Frames | None
    reason: str
    start: Fraction


def ffprobe(arguments: list[str], path: str, run_id: str = "") -> dict[str, Any]:
    """Runs ffprobe and gives its JSON.

    :raises BatchError: it cannot read the file
    """
    text = run_well(["ffprobe", "-v", "error", "-of", "json", *arguments, path], run_id)
    found: dict[str, Any] = json.loads(text)
    return found


def _is_video(stream: dict[str, Any]) -> bool:
    return stream.get("codec_type") == "video" and not stream.get("disposition", {}).get("attached_pic")


def probe_source(path: str, run_id: str = "") -> Source:
    """Reads all packets of an input's video, without decoding.

    :raises BatchError: it cannot be read or has no video
    """
    about = ffprobe(["-show_streams", "-show_format"], path, run_id)
    videos = [stream for stream in about["streams"] if _is_video(stream)]
    if not videos:
        raise BatchError(f"'{path}' has no video stream")
    others = tuple(
        Stream(
            each["index"],
            each.get("codec_type", "data"),
            each.get("codec_name", "none"),
            bool(each.get("disposition", {}).get("attached_pic")),
            int(each.get("channels", 0)),
        )
        for each in about["streams"]
        if each is not videos[0]
    )
    frames, reason = None, "it has several video streams"
    if len(videos) == 1:
        frames, reason = _frames_of(path, videos[0], run_id)
    set_flags = [name for name, value in videos[0].get("disposition", {}).items() if value]
    start = about["format"].get("start_time")
    broadcast = about["format"]["format_name"] in _BROADCASTS
    return Source(
        videos[0]["index"],
        "+".join(set_flags) or "0",
        others,
        frames,
        reason,
        Fraction(start) if start and broadcast else Fraction(0),
    )


def _frames_of(path: str, video: dict[str, Any], run_id: str) -> tuple[Frames | None, str]:
    found = ffprobe(["-select_streams", str(video["index"]), "-show_entries", "packet=pts,flags"], path, run_id)
    # A packet marked D only helps to decode others.
    packets = [packet for packet in found.get("packets", []) if "D" not in packet["flags"]]
    if not packets:
        return None, "no packet of its video can be read"
    if any("pts" not in packet for packet in packets):
        return None, "some of its frames have no time stamp"
    packets.sort(key=lambda packet: int(packet["pts"]))
    stamps = [int(packet["pts"]) for packet in packets]
    if len(set(stamps)) < len(stamps):
        return None, "several of its frames have the same time stamp"
    unit = Fraction(video["time_base"])
    keys = tuple("K" in packet["flags"] for packet in packets)
    return Frames(tuple(stamp * unit for stamp in stamps), keys, unit), ""


@dataclass(frozen=True)
class Rendered:
    """A rendered video: parameters of its stream, and of its frames in the order they are shown an MD5 and the time.

    ``ticks``: times in units of ``time_base`` seconds, None where the container keeps no times. ``step``: the ticks
    from each frame to the next, None where they differ; of a single frame the duration. ``container_start``: when the
    file begins in FFmpeg's opinion, in seconds.
    """

    parameters: dict[str, str]
    hashes: tuple[str, ...]
    ticks: tuple[int, ...] | None
    step: int | None
    time_base: Fraction
    container_start: str | None = None


def probe_rendered(path: str, run_id: str = "") -> Rendered:
    """Decodes a rendered file.

    :raises BatchError: it cannot be read
    """
    found = ffprobe(
        [
            "-select_streams",
            "v:0",
            "-show_streams",
            "-show_data_hash",
            "sha256",
            "-show_packets",
            "-show_entries",
            "packet=pts,duration,flags:format=start_time",
        ],
        path,
        run_id,
    )
    if not found.get("streams"):
        raise BatchError(f"'{path}' has no video stream")
    stream = found["streams"][0]
    packets = [packet for packet in found.get("packets", []) if "D" not in packet["flags"]]
    ticks = None
    steps: set[int] = set()
    if all("pts" in packet for packet in packets):
        ticks = tuple(sorted(int(packet["pts"]) for packet in packets))
        steps = {after - before for before, after in zip(ticks, ticks[1:])}
    if len(packets) == 1:
        steps = {int(packets[0].get("duration", 0))} - {0}
    step = steps.pop() if len(steps) == 1 else None
    parameters = {name: str(stream.get(name, "none")) for name in PARAMETERS}
    return Rendered(
        parameters,
        frame_hashes(path, run_id),
        ticks,
        step,
        Fraction(stream["time_base"]),
        found.get("format", {}).get("start_time"),
    )


def frame_hashes(path: str, run_id: str = "") -> tuple[str, ...]:
    """MD5 of every decoded frame of the first video, as it is stored.

    :raises BatchError: it cannot be decoded
    """
    text = run_well(
        [
            "ffmpeg",
            "-nostdin",
            "-v",
            "error",
            "-noautorotate",
            "-i",
            path,
            "-map",
            "0:v:0",
            "-fps_mode",
            "passthrough",
            "-enc_time_base",
            "-1",
            "-f",
            "framemd5",
            "-",
        ],
        run_id,
    )
    return tuple(line.rpartition(",")[2].strip() for line in text.splitlines() if line and not line.startswith("#"))
