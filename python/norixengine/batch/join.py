"""The task that joins a clip's pieces with FFmpeg's concat demuxer, and checks the result."""

from __future__ import annotations

import os
import shutil
import uuid
from fractions import Fraction
from pathlib import Path

from norixengine.batch.check import check_parameters, check_result
from norixengine.batch.errors import BatchError
from norixengine.batch.job import Job
from norixengine.batch.probe import Rendered, probe_rendered
from norixengine.batch.process import run_well
from norixengine.batch.render import record_piece
from norixengine.batch.state import mark_finished
from norixengine.batch.timing import piece_starts

# These describe the file they were read from, and are not copied.
_OF_THE_FILE = ("encoder", "major_brand", "minor_version", "compatible_brands")


def join_clip(job: Job, run_id: str = "") -> int:
    """Makes the output from pieces that are all there, and gives the number of its frames.

    :raises BatchError: a piece is missing or does not fit, ffmpeg failed, or the result is not what the plan says
    """
    records = [record_piece(job, number, run_id) for number in range(len(job.pieces))]
    check_parameters(job, records)
    output = job.clip.output
    token = uuid.uuid4().hex
    part = output.with_name(f".{output.stem}.{token}.part{output.suffix}")
    pieces = job.clip.work / f"pieces.{token}.ffconcat"
    try:
        if job.joined:
            pieces.write_text(concat_list(job, records))
            try:
                run_well(join_command(job, records, pieces, part), run_id)
            except BatchError as error:
                raise BatchError(f"'{output}' cannot be joined: {error}") from error
            linked = False
        else:
            linked = _link_or_copy(job.piece_path(0), part)
        # A link is the piece itself, whose frames are known.
        result = records[0] if linked else probe_rendered(str(part), run_id)
        check_result(job, records, result)
        if output.exists() and not job.clip.overwrite:
            raise BatchError(f"'{output}' has come into being meanwhile; it stays, and so do the pieces")
        os.replace(part, output)
    finally:
        part.unlink(missing_ok=True)
        pieces.unlink(missing_ok=True)
    mark_finished(job)
    return len(result.hashes)


def _link_or_copy(piece: Path, part: Path) -> bool:
    try:
        os.link(piece, part)
        return True
    except OSError:
        shutil.copyfile(piece, part)
        return False


def _microseconds(time: Fraction) -> int:
    return round(time * 1_000_000)


def _quoted(path: Path) -> str:
    escaped = str(path).replace("'", r"'\''")
    return f"'{escaped}'"


def _decimal(microseconds: int) -> str:
    sign = "-" if microseconds < 0 else ""
    return f"{sign}{abs(microseconds) // 1_000_000}.{abs(microseconds) % 1_000_000:06}"


def _begin(record: Rendered) -> list[str]:
    """Says where a piece begins, which ffmpeg does not always find out by itself when it has few frames."""
    if not record.ticks:
        return []
    begin = _microseconds(record.ticks[0] * record.time_base)
    known = record.container_start
    if known is not None and abs(_microseconds(Fraction(known)) - begin) <= 1:
        return []
    return [f"inpoint {_decimal(begin)}"]


def concat_list(job: Job, records: list[Rendered]) -> str:
    """The list for the concat demuxer. Each piece lasts until the next begins, whatever its container says."""
    starts = [_microseconds(start) for start in piece_starts(job, records)]
    lines = ["ffconcat version 1.0"]
    for number, start in enumerate(starts):
        lines.append(f"file {_quoted(job.piece_path(number))}")
        lines += _begin(records[number])
        if number + 1 < len(starts):
            lines.append(f"duration {_decimal(starts[number + 1] - start)}")
    return "\n".join(lines) + "\n"


def join_command(job: Job, records: list[Rendered], pieces: Path, output: Path) -> list[str]:
    """The ffmpeg command that joins: pictures from the pieces, all else from the input, at the input's times."""
    first = _microseconds(piece_starts(job, records)[0])
    words = [
        "ffmpeg",
        "-nostdin",
        "-v",
        "error",
        "-y",
        "-copyts",
        "-f",
        "concat",
        "-safe",
        "0",
        "-itsoffset",
        f"{first}us",
        "-i",
        str(pieces),
        "-itsoffset",
        f"{-_microseconds(job.source_start)}us",
    ]
    if all(stream.bit_rate is None for stream in job.others):
        # Copies do not claim to know which channel is which when the input does not say.
        words += ["-guess_layout_max", "0"]
    words += ["-i", job.clip.inputs[0], "-map", "0:v:0"]
    for stream in job.others:
        words += ["-map", f"1:{stream.index}"]
    words += ["-map_metadata", "1", "-map_chapters", "1", "-c:v:0", "copy", "-disposition:v:0", job.disposition]
    for place, stream in enumerate(job.others, 1):
        if stream.bit_rate is None:
            words += [f"-c:{place}", "copy"]
        else:
            # Samples are counted from the first on: the input's clock may be coarser.
            words += [f"-b:{place}", str(stream.bit_rate), f"-filter:{place}", "asetpts=round(STARTPTS+N/SR/TB)"]
    for key in _OF_THE_FILE:
        words += ["-metadata", f"{key}="]
    words += ["-metadata:s", "encoder=", "-muxdelay", "0", "-muxpreload", "0"]
    for key, value in job.container_options:
        words += [f"-{key}", value]
    return [*words, str(output)]
