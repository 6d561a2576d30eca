"""From a plan to jobs: reads the inputs, tries every clip with one frame, cuts, and looks at what earlier runs left."""

from __future__ import annotations

import os
import tempfile
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass, replace
from fractions import Fraction
from pathlib import Path

from norixengine.batch.command import norix_command
from norixengine.batch.container import container_options, keeps_times
from norixengine.batch.errors import BatchError, PlanError
from norixengine.batch.job import Job, OtherStream
from norixengine.batch.pieces import Piece, at_key_frames, boundaries, cut
from norixengine.batch.plan import Clip, Plan, is_address
from norixengine.batch.probe import Frames, Source, Stream, probe_source
from norixengine.batch.process import run
from norixengine.batch.state import (
    State,
    changes,
    identity_of,
    load_state,
    output_mark,
    remove_piece,
    remove_pieces,
    save_state,
)

# What norix gives to sound that it encodes anew, for each channel.
_SOUND_BITS_A_SECOND = 96_000


@dataclass(frozen=True)
class Trial:
    """What rendering one frame told: the codecs of the output's other streams ("aac", True when copied), and notes."""

    others: tuple[tuple[str, bool], ...]
    notes: tuple[str, ...]


def prepare(plan: Plan, norix: str, version: str) -> list[Job]:
    """Jobs for all clips of a plan.

    :raises PlanError: with the problems of all clips
    """
    problems: list[str] = []

    def attempt(clip: Clip) -> Job | None:
        try:
            return _job(clip, norix, version)
        except BatchError as error:
            problems.append(f"{plan.path}: {clip.label}: {error}")
            return None

    with ThreadPoolExecutor(os.cpu_count()) as executor:
        jobs = list(executor.map(attempt, plan.clips))
    if problems:
        raise PlanError(sorted(problems))
    return [job for job in jobs if job]


def _job(clip: Clip, norix: str, version: str) -> Job:
    whole = Job(clip, norix, version, (Piece(0, None),), joined=False)
    if clip.transition or is_address(clip.inputs[0]):
        return whole
    trial = _try(clip, norix)
    source = probe_source(clip.inputs[0])
    whole = replace(whole, notes=trial.notes)
    if not source.frames:
        if clip.pieces or clip.piece_frames:
            whole = replace(whole, notes=(*whole.notes, f"rendered in one piece: {source.reason}"))
        return whole
    frames = len(source.frames.times)
    firsts = boundaries(frames, pieces=clip.pieces, piece_frames=clip.piece_frames)
    if clip.at_key_frames:
        firsts = at_key_frames(firsts, source.frames.keys)
    if len(firsts) == 1:
        return replace(whole, pieces=(Piece(0, frames),), frames=frames)
    return replace(
        whole,
        pieces=tuple(cut(frames, firsts)),
        joined=True,
        frames=frames,
        keep_times=keeps_times(clip.output.suffix),
        starts=_starts(source, source.frames, firsts),
        source_tick=source.frames.tick,
        source_start=source.start,
        disposition=source.disposition,
        others=_others(source.others, trial.others),
        container_options=tuple(container_options(clip.output.suffix, clip.options)),
    )


def _starts(source: Source, frames: Frames, firsts: list[int]) -> tuple[Fraction, ...]:
    return tuple(frames.times[first] - source.start for first in firsts)


def _try(clip: Clip, norix: str) -> Trial:
    """Renders one frame: norix itself says what is wrong, and what becomes of sound and other streams."""
    with tempfile.TemporaryDirectory() as folder:
        output = str(Path(folder) / ("trial" + clip.output.suffix))
        ending = run([*norix_command(norix, clip, output), "--frames", "1"])
    prefix = "norix: note: "
    notes = tuple(line.removeprefix(prefix) for line in ending.err.splitlines() if line.startswith(prefix))
    if ending.code != 0:
        raise BatchError(norix_message(ending.err, ending.code))
    # "OUTPUT: 1 frame, 64x48 yuv420p h264, aac (copied), subrip (copied)"
    words = ending.out.strip().removeprefix(output + ": ").split(", ")[2:]
    return Trial(tuple((word.removesuffix(" (copied)"), word.endswith(" (copied)")) for word in words), notes)


def norix_message(err: str, code: int) -> str:
    """norix's own words about its failure."""
    prefix = "norix: error: "
    said = [line.removeprefix(prefix) for line in err.splitlines() if line.startswith(prefix)]
    if said:
        return "norix: " + said[-1]
    if code < 0:
        return f"norix was killed by signal {-code}"
    return f"norix ended with {code}" + (f": {err.strip()}" if err.strip() else " and without a word")


def _others(inputs: tuple[Stream, ...], outputs: tuple[tuple[str, bool], ...]) -> tuple[OtherStream, ...]:
    """Finds the input's streams that norix takes along, which it does in their order."""
    left = list(outputs)
    found = []
    for stream in inputs:
        if not left:
            break
        codec, copied = left[0]
        if copied and codec == stream.codec and (stream.kind != "video" or stream.is_picture):
            found.append(OtherStream(stream.index, None))
        elif not copied and stream.kind == "audio":
            found.append(OtherStream(stream.index, _SOUND_BITS_A_SECOND * max(1, stream.channels)))
        else:
            continue
        left.pop(0)
    if left:
        raise BatchError(f"cannot tell which of its streams norix takes along as {left[0][0]}")
    return tuple(found)


def settle(jobs: list[Job], plan: Plan, resume: bool) -> tuple[list[Job], list[str]]:
    """Compares jobs with what earlier runs left, and makes the work folders. Gives the jobs, some done, and notes.

    :raises PlanError: something is in the way; nothing was changed
    """
    problems = []
    for job in jobs:
        text = _in_the_way(job, resume)
        if text:
            problems.append(f"{plan.path}: {job.clip.label}: {text}")
    if problems:
        raise PlanError(problems)
    settled = []
    notes: list[str] = []
    for job in jobs:
        said, done = _settle(job)
        notes += [f"{job.clip.label}: {text}" for text in said]
        settled.append(replace(job, done=done))
    return settled, notes


def _identity(job: Job) -> dict[str, object]:
    return identity_of(job.clip, job.version, job.frames, job.joined)


def _in_the_way(job: Job, resume: bool) -> str:
    work = job.clip.work
    state = load_state(work)
    mark = output_mark(job.clip.output)
    if state and not resume:
        return f"'{work}' is left of an earlier run: --resume goes on with it; remove it to begin again"
    if not state and work.exists() and not (work.is_dir() and not any(work.iterdir())):
        return f"'{work}' exists and is no work folder; remove it, or name another with the key \"work\""
    finished = state and state.finished == mark and not changes(state.identity, _identity(job))
    if mark and not finished and not job.clip.overwrite:
        return f"output: '{job.clip.output}' exists; add overwrite = true, or -y to the command, to replace it"
    return ""


def _settle(job: Job) -> tuple[list[str], bool]:
    work = job.clip.work
    identity = _identity(job)
    names = [piece.name for piece in job.pieces]
    state = load_state(work)
    if not state:
        save_state(work, State(identity, names))
        return [], False
    different = changes(state.identity, identity)
    if state.finished and not different and state.finished == output_mark(job.clip.output):
        return [f"'{job.clip.output}' is finished"], True
    suffix = job.clip.output.suffix
    old_suffix = str(state.identity.get("container", suffix))
    notes = []
    whole = [name for name in state.pieces if (work / (name + old_suffix)).exists()]
    unfit = whole if different else [name for name in whole if name not in names]
    if unfit:
        why = f"{' and '.join(different)} changed" if different else "the pieces are cut at other frames"
        notes.append(f"{_listed(unfit)} no longer fit{'s' if len(unfit) == 1 else ''}, {why}: rendered again")
        for name in unfit:
            remove_piece(work / (name + old_suffix))
    if different:
        remove_pieces(work)
    kept = [name for name in names if (work / (name + suffix)).exists()]
    if kept:
        notes.append(f"{len(kept)} of {len(names)} pieces {'is' if len(kept) == 1 else 'are'} there already")
    save_state(work, State(identity, names))
    return notes, False


def _listed(names: list[str]) -> str:
    shown = ", ".join(names[:4]) + (f" and {len(names) - 4} more" if len(names) > 4 else "")
    return f"piece{'s' if len(names) > 1 else ''} {shown}"
