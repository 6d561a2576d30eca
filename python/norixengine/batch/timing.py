"""Where on the joined clip's time line the pieces begin."""

from __future__ import annotations

from fractions import Fraction

from norixengine.batch.job import Job
from norixengine.batch.probe import Rendered


def snapped(time: Fraction, unit: Fraction) -> Fraction:
    """The nearest time of a clock; halves go upwards, as FFmpeg rounds times from 0 on."""
    return (time / unit + Fraction(1, 2)).__floor__() * unit


def piece_starts(job: Job, records: list[Rendered]) -> list[Fraction]:
    """Times of the pieces' first frames in seconds, as they are when the clip is rendered in one go.

    :param records: of all pieces
    """
    unit = records[0].time_base
    if job.keep_times:
        return [_kept(record, start, job.source_tick) for record, start in zip(records, job.starts)]
    step = _step(records)
    if step:
        # norix lets the clock of the encoder tick once a frame where the input's times allow that.
        begin = snapped(job.starts[0], step)
        regular = [begin + piece.first * step for piece in job.pieces]
        if all(abs(time - start) <= job.source_tick for time, start in zip(regular, job.starts)):
            return regular
    return [snapped(start, unit) for start in job.starts]


def _kept(record: Rendered, start: Fraction, source_tick: Fraction) -> Fraction:
    """The time that a piece's first frame has kept. Some containers move what would begin before 0, by whole frames."""
    wanted = snapped(start, record.time_base)
    kept = record.ticks[0] * record.time_base if record.ticks else wanted
    half_frame = (record.step or 0) * record.time_base / 2
    return kept if abs(kept - start) <= max(half_frame, source_tick + record.time_base) else wanted


def _step(records: list[Rendered]) -> Fraction | None:
    """The time between frames, where it is the same in all pieces."""
    telling = [record for record in records if len(record.hashes) > 1] or records
    steps = {record.step for record in telling}
    step = steps.pop()
    return step * records[0].time_base if step and not steps else None
