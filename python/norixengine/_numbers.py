"""Numbers that users pass, checked."""

from __future__ import annotations

import math
import operator
import os
from typing import Final

LOWEST: Final = 0
HIGHEST: Final = 10000

_MOST_THREADS: Final = 1 << 16


def whole(value: object, name: str, low: int, high: int) -> int:
    """``value`` as an int from ``low`` to ``high``; whole floats count. TypeError or ValueError otherwise."""
    right = f"a whole number from {low} to {high}"
    if isinstance(value, float):
        if not value.is_integer():
            hint = f"; round({name}) makes one" if math.isfinite(value) else ""
            raise ValueError(f"{name} must be {right}, not {value!r}{hint}")
        number = int(value)
    else:
        try:
            if isinstance(value, bool):
                raise TypeError
            number = operator.index(value)  # type: ignore[arg-type]  # asks whether it has one
        except TypeError:
            raise TypeError(f"{name} must be {right}, not {type(value).__name__}") from None
    if not low <= number <= high:
        raise ValueError(f"{name} must be {right}, not {number}")
    return number


def real(value: object, name: str) -> float:
    """``value`` as a float that is not NaN. TypeError or ValueError otherwise."""
    try:
        if isinstance(value, (bool, str, bytes)):
            raise TypeError
        number = float(value)  # type: ignore[arg-type]  # asks whether it is one
    except TypeError:
        raise TypeError(f"{name} must be a number, not {type(value).__name__}") from None
    except OverflowError:
        raise ValueError(f"{name} must be a number within the range of float, not {value!r}") from None
    if math.isnan(number):
        raise ValueError(f"{name} must be a number, not NaN")
    return number


def thread_count(threads: object) -> int:
    """How many threads one picture may take: ``threads``, or all cores that this process may use for None."""
    if threads is None:
        return len(os.sched_getaffinity(0))
    return whole(threads, "threads", 1, _MOST_THREADS)
