"""Clips that all tests share, made once."""

from __future__ import annotations

from pathlib import Path

import pytest

from batch_tools import ffmpeg, make_clip

_CHAPTERS = """;FFMETADATA1
title=Two halves
[CHAPTER]
TIMEBASE=1/1000
START=0
END=1000
title=One
[CHAPTER]
TIMEBASE=1/1000
START=1000
END=2000
title=Two
"""

_SUBTITLES = "1\n00:00:00,100 --> 00:00:00,900\nHello\n\n2\n00:00:01,100 --> 00:00:01,900\nWorld\n"


@pytest.fixture(scope="session")
def clips(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """A folder with input clips of 50 frames, and a short one of 9."""
    folder = tmp_path_factory.mktemp("clips")
    make_clip(folder / "clip.mp4", 50)
    make_clip(folder / "short.mp4", 9)
    make_clip(folder / "ntsc.mp4", 50, "-metadata", "title=Hello", "-metadata:s:a", "language=deu", rate="30000/1001")
    make_clip(folder / "silent.mp4", 50, sound=False)
    make_clip(folder / "pcm.mkv", 50, "-c:a", "pcm_s16le", rate="30000/1001")
    make_clip(folder / "broadcast.ts", 50)
    make_clip(
        folder / "uneven.mp4",
        50,
        "-vf",
        "select='not(mod(n,3))+lt(n,20)',settb=1/90000",
        "-fps_mode",
        "vfr",
        "-video_track_timescale",
        "90000",
    )
    ffmpeg("-i", folder / "clip.mp4", "-c", "copy", "-metadata:s:v", "rotate=90", folder / "rotated.mp4")
    ffmpeg(
        "-itsoffset",
        "0.7",
        "-i",
        folder / "clip.mp4",
        "-i",
        folder / "clip.mp4",
        "-map",
        "0:v",
        "-map",
        "1:a",
        "-c",
        "copy",
        folder / "late.mp4",
    )
    (folder / "chapters.txt").write_text(_CHAPTERS)
    (folder / "words.srt").write_text(_SUBTITLES)
    ffmpeg(
        "-i",
        folder / "clip.mp4",
        "-i",
        folder / "words.srt",
        "-i",
        folder / "chapters.txt",
        "-map",
        "0",
        "-map",
        "1",
        "-map_metadata",
        "2",
        "-c",
        "copy",
        folder / "full.mkv",
    )
    return folder
