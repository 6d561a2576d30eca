"""Ways to damage the bytes of a file, each the same for the same random numbers."""

from __future__ import annotations

import random
from collections.abc import Callable

Damage = Callable[[bytearray, random.Random], bytearray]


def _place(data: bytearray, rng: random.Random) -> int:
    """Where to hurt: often the head or the tail, where containers keep what they say of themselves."""
    zone = rng.random()
    if zone < 0.4:
        return rng.randrange(min(len(data), 2048))
    if zone < 0.6:
        return len(data) - 1 - rng.randrange(min(len(data), 4096))
    return rng.randrange(len(data))


def _flip(data: bytearray, rng: random.Random, count: int) -> bytearray:
    for _ in range(count):
        data[_place(data, rng)] ^= 1 << rng.randrange(8)
    return data


def leave(data: bytearray, rng: random.Random) -> bytearray:
    """Nothing: whole files must go on being taken for whole."""
    return data


def flip_few(data: bytearray, rng: random.Random) -> bytearray:
    """One to four bits."""
    return _flip(data, rng, rng.randint(1, 4))


def flip_many(data: bytearray, rng: random.Random) -> bytearray:
    """Up to one bit in a hundred bytes."""
    return _flip(data, rng, rng.randint(5, max(6, len(data) // 100)))


def flip_body(data: bytearray, rng: random.Random) -> bytearray:
    """Bits of what is neither head nor tail, so that the decoders rather than the demuxers meet them."""
    low, high = len(data) // 8, max(len(data) // 8 + 1, len(data) * 7 // 8)
    for _ in range(rng.randint(1, 40)):
        data[rng.randrange(low, high)] ^= 1 << rng.randrange(8)
    return data


def overwrite(data: bytearray, rng: random.Random) -> bytearray:
    """A run of random bytes."""
    at = _place(data, rng)
    length = min(len(data) - at, 1 << rng.randint(0, 12))
    data[at : at + length] = rng.randbytes(length)
    return data


def zero(data: bytearray, rng: random.Random) -> bytearray:
    """A block of zeros, as lost sectors leave them."""
    at = _place(data, rng) // 512 * 512
    length = min(len(data) - at, 512 * rng.randint(1, 8))
    data[at : at + length] = bytes(length)
    return data


def truncate(data: bytearray, rng: random.Random) -> bytearray:
    """Cut off anywhere, mostly behind the head."""
    return data[: rng.randint(0 if rng.random() < 0.3 else len(data) // 3, len(data))]


def remove(data: bytearray, rng: random.Random) -> bytearray:
    """Without a part of its middle."""
    at = _place(data, rng)
    del data[at : at + rng.randint(1, max(1, len(data) // 4))]
    return data


def insert(data: bytearray, rng: random.Random) -> bytearray:
    """With a part of itself, or random bytes, in a second place."""
    at = _place(data, rng)
    length = rng.randint(1, max(1, len(data) // 4))
    begin = rng.randrange(len(data))
    data[at:at] = data[begin : begin + length] if rng.random() < 0.6 else rng.randbytes(min(length, 4096))
    return data


def numbers(data: bytearray, rng: random.Random) -> bytearray:
    """Four-byte fields of the head or the tail at the ends of their range: sizes, counts, times."""
    extremes = [b"\0\0\0\0", b"\xff\xff\xff\xff", b"\x7f\xff\xff\xff", b"\x80\0\0\0", b"\0\0\0\1", b"\1\0\0\0"]
    for _ in range(rng.randint(1, 3)):
        at = _place(data, rng)
        data[at : at + 4] = rng.choice(extremes)[: len(data) - at]
    return data


def swap(data: bytearray, rng: random.Random) -> bytearray:
    """Two blocks in each other's place."""
    length = rng.randint(1, max(1, len(data) // 6))
    first = rng.randrange(max(1, len(data) - 2 * length))
    second = rng.randrange(first + length, max(first + length + 1, len(data) - length + 1))
    one, two = data[first : first + length], data[second : second + length]
    data[first : first + len(two)] = two
    data[second : second + len(one)] = one
    return data


KINDS: list[tuple[Damage, int]] = [
    (leave, 6),
    (flip_few, 20),
    (flip_many, 14),
    (flip_body, 16),
    (overwrite, 10),
    (zero, 6),
    (truncate, 10),
    (remove, 6),
    (insert, 6),
    (numbers, 10),
    (swap, 5),
]


def draw(rng: random.Random) -> Damage:
    """One of the kinds, the more usual ones more often."""
    return rng.choices([kind for kind, _ in KINDS], [weight for _, weight in KINDS])[0]
