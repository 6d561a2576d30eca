"""Cuts a clip into pieces."""

from __future__ import annotations

import bisect
from collections.abc import Sequence
from dataclasses import dataclass


@dataclass(frozen=True)
class Piece:
    """Frames ``first`` to ``first + count - 1`` of a clip, counted from 0. ``count`` is None for all of a clip whose
    frames were not counted."""

    first: int
    count: int | None

    @property
    def name(self) -> str:
        """What the piece's file is called, without extension."""
        return "whole" if self.count is None else f"frames-{self.first:07}-{self.first + self.count - 1:07}"


def boundaries(frames: int, *, pieces: int | None = None, piece_frames: int | None = None) -> list[int]:
    """First frames of pieces that are nearly equally long.

    :param frames: of the whole clip, at least 1
    :param pieces: how many, if there are so many frames
    :param piece_frames: or the length of all but the last, in frames
    """
    if piece_frames:
        return list(range(0, frames, piece_frames))
    count = min(pieces or 1, frames)
    return [frames * number // count for number in range(count)]


def at_key_frames(firsts: Sequence[int], keys: Sequence[bool]) -> list[int]:
    """Moves boundaries to the nearest key frames; those that meet become one. The first stays at 0.

    :param keys: for every frame of the clip, whether decoding can begin there
    """
    places = [number for number, key in enumerate(keys) if key]
    moved = {0}
    for first in firsts[1:]:
        after = bisect.bisect_left(places, first)
        near = places[max(0, after - 1) : after + 1]
        if near:
            moved.add(min(near, key=lambda place: abs(place - first)))
    return sorted(moved)


def cut(frames: int, firsts: Sequence[int]) -> list[Piece]:
    """The pieces that begin at ``firsts`` and together are the whole clip."""
    ends = [*firsts[1:], frames]
    return [Piece(first, end - first) for first, end in zip(firsts, ends)]
