"""Command lines of norix."""

from __future__ import annotations

from norixengine.batch.pieces import Piece
from norixengine.batch.plan import Clip, Step


def _step(step: Step) -> list[str]:
    if step.is_group:
        return ["--group", step.name]
    words = ["--effect", step.name]
    if step.level:
        first, last = step.level
        words += ["--level", str(first) if first == last else f"{first}:{last}"]
    for field, value in step.fields:
        words += ["--set", f"{field}={value}"]
    return words


def norix_command(norix: str, clip: Clip, output: str, threads: int | None = None) -> list[str]:
    """The command that renders all of a clip, or a transition."""
    words = [norix, "transition" if clip.transition else "render", *clip.inputs, output]
    for step in clip.steps:
        words += _step(step)
    for option, value in (
        ("--group", clip.transition),
        ("--duration", clip.duration),
        ("--format", clip.format),
        ("--codec", clip.codec),
        ("--seed", clip.seed),
        ("--bands", clip.bands),
        ("--threads", threads),
    ):
        if value is not None:
            words += [option, str(value)]
    for key, value in clip.options:
        words += ["--option", f"{key}={value}"]
    return [*words, "--progress", "none"]


def piece_command(
    norix: str, clip: Clip, piece: Piece, output: str, *, last: bool, keep_times: bool, threads: int | None = None
) -> list[str]:
    """The command that renders the pictures of a piece.

    :param last: the piece ends with the clip; it is not told a length, so that a frame too many would show
    """
    words = norix_command(norix, clip, output, threads)
    words += ["--video-only", "--start-frame", str(piece.first)]
    if not last:
        words += ["--frames", str(piece.count)]
    return words + (["--keep-times"] if keep_times else [])
