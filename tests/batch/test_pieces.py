"""Cutting a clip."""

from fractions import Fraction

from hypothesis import given
from hypothesis import strategies as st

from norixengine.batch.pieces import Piece, at_key_frames, boundaries, cut
from norixengine.batch.timing import snapped

_COUNTS = st.integers(1, 5000)


def _assert_whole(pieces: list[Piece], frames: int) -> None:
    numbers = [number for piece in pieces for number in range(piece.first, piece.first + (piece.count or 0))]
    assert numbers == list(range(frames))
    assert all(piece.count for piece in pieces)
    assert len({piece.name for piece in pieces}) == len(pieces)


@given(_COUNTS, _COUNTS)
def test_pieces_of_a_length(frames: int, length: int) -> None:
    pieces = cut(frames, boundaries(frames, piece_frames=length))
    _assert_whole(pieces, frames)
    assert all(piece.count == length for piece in pieces[:-1])


@given(_COUNTS, _COUNTS)
def test_a_number_of_pieces(frames: int, count: int) -> None:
    pieces = cut(frames, boundaries(frames, pieces=count))
    _assert_whole(pieces, frames)
    assert len(pieces) == min(count, frames)
    lengths = {piece.count for piece in pieces}
    assert max(lengths) - min(lengths) <= 1  # type: ignore[operator, type-var]


@given(_COUNTS)
def test_one_piece_unless_asked(frames: int) -> None:
    assert cut(frames, boundaries(frames)) == [Piece(0, frames)]


@given(st.lists(st.booleans(), min_size=1, max_size=300), st.integers(1, 50))
def test_at_key_frames(keys: list[bool], length: int) -> None:
    nominal = boundaries(len(keys), piece_frames=length)
    firsts = at_key_frames(nominal, keys)
    _assert_whole(cut(len(keys), firsts), len(keys))
    assert firsts[0] == 0
    assert all(keys[first] for first in firsts[1:])
    for first in nominal[1:]:
        if any(keys):
            nearest = min(abs(place - first) for place, key in enumerate(keys) if key)
            assert any(abs(moved - first) == nearest for moved in firsts)


@given(st.fractions(0, 10000), st.integers(1, 90000))
def test_snapped_is_the_nearest_tick(time: Fraction, rate: int) -> None:
    unit = Fraction(1, rate)
    assert abs(snapped(time, unit) - time) <= unit / 2
    assert snapped(time, unit) % unit == 0


def test_snapped_halves_go_upwards() -> None:
    assert snapped(Fraction(5, 2), Fraction(1)) == 3
