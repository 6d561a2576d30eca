"""Compares what was rendered with the plan."""

from __future__ import annotations

from norixengine.batch.errors import BatchError
from norixengine.batch.job import Job
from norixengine.batch.probe import Rendered
from norixengine.batch.timing import piece_starts


def check_parameters(job: Job, records: list[Rendered]) -> None:
    """Pieces can be joined as they are only when their codec's parameters agree.

    :raises BatchError: naming the piece and the parameter
    """
    first = records[0].parameters
    for number, record in enumerate(records[1:], 1):
        for name, value in record.parameters.items():
            if value != first.get(name):
                raise BatchError(
                    f"{job.piece_label(number)}: cannot be joined: its {name} is {value}, that of the first "
                    f"piece {first.get(name)}; remove '{job.piece_path(number)}' and render it again with "
                    "--resume"
                )


def _place(job: Job, frame: int) -> str:
    for number, piece in enumerate(job.pieces):
        if piece.count is None or frame < piece.first + piece.count:
            return f"{job.piece_label(number)}, frame {frame}"
    return f"'{job.clip.output}', frame {frame}"


def check_result(job: Job, records: list[Rendered], result: Rendered) -> None:
    """The finished file has the frames of the pieces, in order and once, at their times.

    :raises BatchError: naming the piece and the frame
    """
    planned = [digest for record in records for digest in record.hashes]
    for frame, (wanted, found) in enumerate(zip(planned, result.hashes)):
        if wanted != found:
            raise BatchError(
                f"{_place(job, frame)}: differs in the joined file; its hash is {found}, in the piece {wanted}"
            )
    if len(planned) != len(result.hashes):
        raise BatchError(f"'{job.clip.output}' has {len(result.hashes)} frames, its pieces have {len(planned)}")
    if job.joined:
        _check_times(job, records, result)


def _check_times(job: Job, records: list[Rendered], result: Rendered) -> None:
    if result.ticks is None or any(record.ticks is None for record in records):
        return
    starts = piece_starts(job, records)
    frame = 0
    for start, record in zip(starts, records):
        ticks = record.ticks or ()
        for tick in ticks:
            wanted = start - starts[0] + (tick - ticks[0]) * record.time_base
            found = (result.ticks[frame] - result.ticks[0]) * result.time_base
            if abs(wanted - found) > max(result.time_base, record.time_base):
                raise BatchError(
                    f"{_place(job, frame)}: shows {float(found):.6f} seconds after the first frame, "
                    f"not {float(wanted):.6f}"
                )
            frame += 1
