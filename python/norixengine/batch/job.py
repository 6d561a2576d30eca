"""A clip of the plan when all is known that its tasks need. Jobs travel to the workers."""

from __future__ import annotations

from dataclasses import dataclass
from fractions import Fraction
from pathlib import Path

from norixengine.batch.pieces import Piece
from norixengine.batch.plan import Clip


@dataclass(frozen=True)
class OtherStream:
    """A stream of the input that goes into the joined file. ``bit_rate`` is None for copies, else sound is encoded anew
    with so many bits a second."""

    index: int
    bit_rate: int | None


@dataclass(frozen=True)
class Job:
    """A clip and how it is cut.

    ``joined``: the pieces hold pictures only and are joined with the input's other streams; otherwise there is one
    piece, which is the finished file. ``starts``: times of the pieces' first frames in the input, in seconds from the
    moment ``source_start`` that becomes 0; ``source_tick`` is the input's clock in seconds.
    """

    clip: Clip
    norix: str
    version: str
    pieces: tuple[Piece, ...]
    joined: bool
    keep_times: bool = False
    starts: tuple[Fraction, ...] = ()
    source_tick: Fraction = Fraction(0)
    source_start: Fraction = Fraction(0)
    disposition: str = "0"
    others: tuple[OtherStream, ...] = ()
    container_options: tuple[tuple[str, str], ...] = ()
    notes: tuple[str, ...] = ()
    frames: int | None = None
    done: bool = False

    def piece_path(self, number: int) -> Path:
        """The finished file of a piece."""
        return self.clip.work / (self.pieces[number].name + self.clip.output.suffix)

    def piece_label(self, number: int) -> str:
        """How messages name a piece, such as "'out.mkv', piece 2 of 8 (frames 240 to 479)"."""
        piece = self.pieces[number]
        if piece.count is None or not self.joined:
            return f"'{self.clip.output}'"
        last = piece.first + piece.count - 1
        return f"'{self.clip.output}', piece {number + 1} of {len(self.pieces)} (frames {piece.first} to {last})"
