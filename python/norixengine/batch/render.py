"""The task that renders one piece. Run twice, it leaves the same file."""

from __future__ import annotations

import os
import uuid
from pathlib import Path

from norixengine.batch.catalogue import read_version
from norixengine.batch.command import norix_command, piece_command
from norixengine.batch.errors import BatchError
from norixengine.batch.job import Job
from norixengine.batch.prepare import norix_message
from norixengine.batch.probe import Rendered, probe_rendered
from norixengine.batch.process import run
from norixengine.batch.state import load_record, remove_piece, save_record


def command_of(job: Job, number: int, output: str, threads: int | None = None) -> list[str]:
    """The norix command that renders a piece into a file."""
    if not job.joined:
        return norix_command(job.norix, job.clip, output, threads)
    return piece_command(
        job.norix,
        job.clip,
        job.pieces[number],
        output,
        last=number == len(job.pieces) - 1,
        keep_times=job.keep_times,
        threads=threads,
    )


def render_piece(job: Job, number: int, threads: int | None = None, run_id: str = "") -> int:
    """Renders a piece unless it is there, and gives the number of its frames.

    :raises BatchError: norix failed, or the piece is not what the plan says
    """
    path = job.piece_path(number)
    if not path.exists():
        _render(job, number, path, threads, run_id)
    return len(record_piece(job, number, run_id).hashes)


def _render(job: Job, number: int, path: Path, threads: int | None, run_id: str) -> None:
    version = read_version(job.norix)
    if version != job.version:
        raise BatchError(f"{job.piece_label(number)}: this worker has {version}, the plan was begun with {job.version}")
    # Process ids do not tell workers on different machines apart.
    part = path.with_name(f".{path.stem}.{uuid.uuid4().hex}{path.suffix}")
    try:
        ending = run(command_of(job, number, str(part), threads), run_id)
        if ending.code != 0:
            raise BatchError(f"{job.piece_label(number)}: {norix_message(ending.err, ending.code)}")
        os.replace(part, path)
    finally:
        part.unlink(missing_ok=True)


def record_piece(job: Job, number: int, run_id: str = "") -> Rendered:
    """The record of a piece that is there, made now if need be.

    :raises BatchError: the piece is missing, cannot be decoded or has another number of frames than the plan
    """
    path = job.piece_path(number)
    known = load_record(path)
    if known:
        return known
    if not path.exists():
        raise BatchError(f"{job.piece_label(number)}: '{path}' is missing")
    rendered = probe_rendered(str(path), run_id)
    planned = job.pieces[number].count
    if planned is not None and len(rendered.hashes) != planned:
        remove_piece(path)
        raise BatchError(f"{job.piece_label(number)}: has {len(rendered.hashes)} frames, the plan {planned}")
    save_record(path, rendered)
    return rendered
