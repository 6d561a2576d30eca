"""What an interrupted run leaves for the next one: state.json in the work folder, and a record beside every piece."""

from __future__ import annotations

import json
import os
import uuid
from dataclasses import asdict, dataclass, field
from fractions import Fraction
from pathlib import Path
from typing import Any

from norixengine.batch.job import Job
from norixengine.batch.plan import Clip, is_address
from norixengine.batch.probe import Rendered

_STATE = "state.json"
_FORMAT = 1


def write_whole(path: Path, text: str) -> None:
    """Writes a file that is under its name only when whole."""
    part = path.with_name(f".{path.name}.{uuid.uuid4().hex}.part")
    part.write_text(text)
    os.replace(part, path)


@dataclass
class State:
    """``identity``: all that the pictures depend on. ``finished``: size in bytes and time of change in nanoseconds of
    the output, once it is there."""

    identity: dict[str, Any]
    pieces: list[str] = field(default_factory=list)
    finished: list[int] | None = None


def identity_of(clip: Clip, version: str, frames: int | None, joined: bool) -> dict[str, Any]:
    """What has to be the same for a piece to fit, by the names that messages use."""
    return {
        "norix": version,
        "input": [_file_identity(name) for name in clip.inputs],
        "effects": [asdict(step) for step in clip.steps],
        "transition": clip.transition,
        "duration": clip.duration,
        "codec": clip.codec,
        "options": [list(option) for option in clip.options],
        "format": clip.format,
        "seed": clip.seed,
        "bands": clip.bands,
        "container": clip.output.suffix,
        "frames": frames,
        "in pieces": joined,
    }


def _file_identity(name: str) -> list[str | int]:
    if is_address(name):
        return [name]
    about = os.stat(name)
    return [name, about.st_size, about.st_mtime_ns]


def changes(old: dict[str, Any], new: dict[str, Any]) -> list[str]:
    """Names of what differs between two identities."""
    plain = json.loads(json.dumps(new))
    return [name for name in plain if old.get(name) != plain[name]]


def load_state(work: Path) -> State | None:
    """The state in a work folder; None when there is none that can be read."""
    try:
        found = json.loads((work / _STATE).read_text())
        if found.pop("format") != _FORMAT:
            return None
        return State(**found)
    except (OSError, ValueError, KeyError, TypeError, AttributeError):
        return None


def save_state(work: Path, state: State) -> None:
    """Writes the state, and the folder if need be."""
    work.mkdir(parents=True, exist_ok=True)
    write_whole(work / _STATE, json.dumps({"format": _FORMAT, **asdict(state)}, indent=1) + "\n")


def output_mark(output: Path) -> list[int] | None:
    """Size and time of change of an output; None when it is not there."""
    try:
        about = output.stat()
    except OSError:
        return None
    return [about.st_size, about.st_mtime_ns]


def mark_finished(job: Job) -> None:
    """Notes that the output is there."""
    state = load_state(job.clip.work)
    if state:
        state.finished = output_mark(job.clip.output)
        save_state(job.clip.work, state)


def is_finished(job: Job) -> bool:
    """True when the output is there as a run of this plan left it."""
    state = load_state(job.clip.work)
    return bool(state and state.finished and state.finished == output_mark(job.clip.output))


def record_path(piece: Path) -> Path:
    """Where the record of a piece is."""
    return piece.with_name(piece.name + ".json")


def save_record(piece: Path, rendered: Rendered) -> None:
    """Writes the record of a piece."""
    content = asdict(rendered) | {"time_base": str(rendered.time_base), "size": piece.stat().st_size}
    write_whole(record_path(piece), json.dumps(content) + "\n")


def load_record(piece: Path) -> Rendered | None:
    """The record of a piece; None when there is none that fits the file."""
    try:
        content = json.loads(record_path(piece).read_text())
        if content["size"] != piece.stat().st_size:
            return None
        ticks = content["ticks"]
        return Rendered(
            content["parameters"],
            tuple(content["hashes"]),
            None if ticks is None else tuple(ticks),
            content["step"],
            Fraction(content["time_base"]),
            content["container_start"],
        )
    except (OSError, ValueError, KeyError, TypeError):
        return None


def remove_piece(piece: Path) -> None:
    """Removes a piece and its record."""
    piece.unlink(missing_ok=True)
    record_path(piece).unlink(missing_ok=True)


def _own_files(work: Path) -> list[Path]:
    return [
        path
        for path in work.iterdir()
        if path.is_file() and path.name.lstrip(".").startswith(("frames-", "whole.", "pieces.", _STATE))
    ]


def remove_pieces(work: Path) -> None:
    """Removes all that a run left in a work folder, finished or not, except the state."""
    for path in _own_files(work):
        if path.name != _STATE:
            path.unlink(missing_ok=True)


def remove_work(work: Path) -> None:
    """Removes a work folder. Files of others stay, and the folder with them."""
    if not work.is_dir():
        return
    for path in _own_files(work):
        path.unlink(missing_ok=True)
    try:
        work.rmdir()
    except OSError:
        pass
