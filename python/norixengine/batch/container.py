"""What there is to know about containers: which times pieces keep, and which options are the container's."""

from __future__ import annotations

import functools
import re

from norixengine.batch.process import run

# Where FFmpeg calls the container by another name than its extension.
_MUXERS = {
    "mkv": "matroska",
    "mk3d": "matroska",
    "ts": "mpegts",
    "m2ts": "mpegts",
    "mts": "mpegts",
    "m4v": "ipod",
    "ogv": "ogg",
    "mpg": "mpeg",
    "wmv": "asf",
    "vob": "vob",
}

# Their clocks are coarser than the encoder's: times are rounded once, in the piece, as they are in the whole clip.
_KEEPING_TIMES = {"matroska", "webm", "mpegts", "flv"}


def muxer(extension: str) -> str:
    """FFmpeg's name of the container with that extension, such as ".mkv"."""
    plain = extension.lower().lstrip(".")
    return _MUXERS.get(plain, plain)


def keeps_times(extension: str) -> bool:
    """True when pieces carry the times of the whole clip."""
    return muxer(extension) in _KEEPING_TIMES


@functools.cache
def _options_in(*topic: str) -> dict[str, frozenset[str]]:
    """Names of options in ffmpeg's help, by the title above them."""
    ending = run(["ffmpeg", "-hide_banner", "-h", *topic])
    found: dict[str, set[str]] = {}
    title = ""
    for line in ending.out.splitlines():
        if line.endswith("AVOptions:"):
            title = line.removesuffix("AVOptions:").strip()
        elif option := re.match(r"  ?-([\w-]+) ", line):
            found.setdefault(title, set()).add(option[1])
    return {title: frozenset(names) for title, names in found.items()}


def container_options(extension: str, options: tuple[tuple[str, str], ...]) -> list[tuple[str, str]]:
    """Those options that are meant for the container and not for the encoder."""
    if not options:
        return []
    own = frozenset[str]().union(*_options_in(f"muxer={muxer(extension)}").values())
    every = _options_in("full")
    general = every.get("AVFormatContext", frozenset()) - every.get("AVCodecContext", frozenset())
    return [(key, value) for key, value in options if key in own or key in general]
