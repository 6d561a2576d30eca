"""The same plan as command lines, for GNU parallel or any other shell."""

from __future__ import annotations

import shlex
import sys
from pathlib import Path

from norixengine.batch.job import Job
from norixengine.batch.render import command_of


def piece_lines(jobs: list[Job], threads: int | None) -> list[str]:
    """A norix command for every piece that is not there yet. They may run in any order and at the same time."""
    lines = []
    for job in jobs:
        for number in range(len(job.pieces)):
            path = job.piece_path(number)
            if not job.done and not path.exists():
                lines.append(shlex.join(command_of(job, number, str(path), threads)))
    return lines


def join_lines(jobs: list[Job], plan: Path, options: list[str]) -> list[str]:
    """A command for every clip that joins its pieces, once they are there, and checks the result.

    :param options: of the command line, which hold for these commands too
    """
    start = [sys.executable, "-m", "norixengine.batch", str(plan.absolute()), *options]
    return [shlex.join([*start, "--join", str(job.clip.output)]) for job in jobs if not job.done]
