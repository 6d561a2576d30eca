"""Clips of all kinds, rendered in pieces on local workers, are as if rendered in one pass."""

from __future__ import annotations

from dataclasses import dataclass, field
from pathlib import Path

import pytest
from batch_tools import NORIX, assert_same_clip, render_in_one_pass, run_batch, run_well

_STEPS = '[[clip.effect]]\nname = "Swirl"\nlevel = "0:9000"\nset = { centerX = 0.4 }\n'
_STEP_WORDS = ["--effect", "Swirl", "--level", "0:9000", "--set", "centerX=0.4"]


@dataclass(frozen=True)
class Case:
    """A clip of the plan, and the same for norix."""

    source: str
    extension: str
    keys: str
    words: list[str] = field(default_factory=list)
    pieces: int | None = 3
    frames: int = 50
    lossless: bool = False
    sound: str = "same"
    steps: str = _STEPS
    step_words: list[str] = field(default_factory=lambda: _STEP_WORDS)


_FFV1 = 'codec = "ffv1"\n'
_FFV1_WORDS = ["--codec", "ffv1"]

_CASES = {
    "lossless": Case("ntsc.mp4", "mkv", _FFV1 + "pieces = 3", _FFV1_WORDS, lossless=True),
    "reordered": Case("ntsc.mp4", "mp4", "pieces = 3"),
    "single frames": Case("short.mp4", "mkv", _FFV1 + "pieces = 1000", _FFV1_WORDS, pieces=9, frames=9, lossless=True),
    "coarse input clock": Case(
        "pcm.mkv",
        "mov",
        'codec = "qtrle"\npiece-frames = 49',
        ["--codec", "qtrle"],
        pieces=2,
        lossless=True,
        sound="smoothed",
    ),
    "sound encoded anew": Case("pcm.mkv", "mp4", "pieces = 3"),
    "everything": Case("full.mkv", "mkv", _FFV1 + "pieces = 3", _FFV1_WORDS, lossless=True),
    "subtitles left out": Case("full.mkv", "mp4", "pieces = 3", sound="smoothed"),
    "uneven": Case("uneven.mp4", "mkv", _FFV1 + "pieces = 3", _FFV1_WORDS, lossless=True),
    "uneven mp4": Case("uneven.mp4", "mp4", "pieces = 3"),
    "late mp4": Case("late.mp4", "mp4", "pieces = 3"),
    "broadcast": Case("broadcast.ts", "mkv", _FFV1 + "pieces = 3", _FFV1_WORDS, lossless=True),
    "to broadcast": Case("clip.mp4", "ts", "pieces = 3"),
    "rotated, options": Case(
        "rotated.mp4",
        "mp4",
        'piece-frames = 17\noptions = { crf = 30, movflags = "faststart" }',
        ["--option", "crf=30", "--option", "movflags=faststart"],
    ),
    "avi": Case("silent.mp4", "avi", _FFV1 + "pieces = 3", _FFV1_WORDS, lossless=True),
    "webm": Case(
        "clip.mp4",
        "webm",
        'pieces = 2\noptions = { deadline = "realtime" }',
        ["--option", "deadline=realtime"],
        pieces=2,
        sound="anew",
    ),
    "key frames": Case(
        "silent.mp4", "mkv", _FFV1 + "piece-frames = 10\nat-key-frames = true", _FFV1_WORDS, pieces=4, lossless=True
    ),
    "one piece": Case("full.mkv", "mkv", "", pieces=None),
    "groups, bands, format": Case(
        "silent.mp4",
        "mkv",
        _FFV1 + 'pieces = 3\nduration = 1.2\nformat = "rgb24"\nbands = 2',
        [*_FFV1_WORDS, "--duration", "1.2", "--format", "rgb24", "--bands", "2"],
        pieces=3,
        lossless=True,
        steps='[[clip.effect]]\ngroup = "Flip Roll Left"\n[[clip.effect]]\nname = "Swirl"\nlevel = 3000\n',
        step_words=["--group", "Flip Roll Left", "--effect", "Swirl", "--level", "3000"],
    ),
    "random": Case(
        "silent.mp4",
        "mkv",
        _FFV1 + "pieces = 3\nseed = 5",
        [*_FFV1_WORDS, "--seed", "5"],
        pieces=3,
        lossless=True,
        steps='[[clip.effect]]\nname = "Ground Glass"\n',
        step_words=["--effect", "Ground Glass"],
    ),
}


@dataclass(frozen=True)
class Run:
    """The folder of a run, and what it said."""

    folder: Path
    out: str
    err: str


def _name(case: str) -> str:
    return f"{case} it's.{_CASES[case].extension}"


@pytest.fixture(scope="module")
def run(clips: Path, tmp_path_factory: pytest.TempPathFactory) -> Run:
    """All cases, as one plan."""
    folder = tmp_path_factory.mktemp("render")
    tables = [
        f'[[clip]]\ninput = "{clips / case.source}"\noutput = "{_name(name)}"\n{case.keys}\n{case.steps}'
        for name, case in _CASES.items()
    ]
    tables.append(
        f'[[transition]]\nfirst = "{clips}/clip.mp4"\nsecond = "{clips}/silent.mp4"\noutput = "joint.mkv"\n'
        'group = "Flip Roll Left"\nduration = 0.6\ncodec = "ffv1"\n'
    )
    (folder / "plan.toml").write_text("\n".join(tables))
    ending = run_batch(folder / "plan.toml", "--workers", "2")
    return Run(folder, ending.stdout, ending.stderr)


@pytest.mark.parametrize("name", _CASES)
def test_is_as_in_one_pass(run: Run, clips: Path, tmp_path: Path, name: str) -> None:
    case = _CASES[name]
    joined = run.folder / _name(name)
    whole = render_in_one_pass(clips / case.source, tmp_path / f"whole.{case.extension}", *case.step_words, *case.words)
    assert_same_clip(joined, whole, lossless=case.lossless, sound=case.sound)
    pieces = f", joined from {case.pieces} pieces" if case.pieces else ""
    assert f"{joined}: {case.frames} frames{pieces}\n" in run.out


def test_a_transition(run: Run, clips: Path, tmp_path: Path) -> None:
    run_well(
        NORIX,
        "transition",
        clips / "clip.mp4",
        clips / "silent.mp4",
        tmp_path / "joint.mkv",
        "--group",
        "Flip Roll Left",
        "--duration",
        "0.6",
        "--codec",
        "ffv1",
        "--progress",
        "none",
    )
    assert_same_clip(run.folder / "joint.mkv", tmp_path / "joint.mkv", lossless=True)


def test_nothing_but_the_outputs_is_left(run: Run) -> None:
    names = {path.name for path in run.folder.iterdir()}
    assert names == {"plan.toml", "joint.mkv", *map(_name, _CASES)}


def test_progress_and_notes(run: Run) -> None:
    lines = run.err.splitlines()
    pieces = sum(case.pieces or 1 for case in _CASES.values()) + 1
    assert sum(f"/{pieces} pieces, " in line for line in lines) == pieces
    assert sum("audio stream 1 (pcm_s16le) is encoded anew as aac" in line for line in lines) == 1
    assert sum("subtitle stream 2 (subrip) is left out" in line for line in lines) == 1


def test_clips_whose_frames_cannot_be_counted_are_rendered_in_one_piece(clips: Path, tmp_path: Path) -> None:
    # A raw stream has no times.
    run_well("ffmpeg", "-v", "error", "-i", clips / "silent.mp4", "-c", "copy", tmp_path / "raw.h264")
    (tmp_path / "plan.toml").write_text(
        f'[[clip]]\ninput = "raw.h264"\noutput = "out.mkv"\n{_FFV1}pieces = 3\n{_STEPS}'
    )
    ending = run_batch(tmp_path / "plan.toml")
    assert "rendered in one piece: some of its frames have no time stamp" in ending.stderr
    whole = render_in_one_pass(tmp_path / "raw.h264", tmp_path / "whole.mkv", *_STEP_WORDS, *_FFV1_WORDS)
    assert_same_clip(tmp_path / "out.mkv", whole, lossless=True)
