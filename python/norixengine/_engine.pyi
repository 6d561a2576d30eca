"""The compiled part of norixengine. Private: arguments are those that the Python part has checked and prepared."""

from collections.abc import Sequence
from typing import Any

import numpy as np
from numpy.typing import NDArray

version: str
instruction_set: str

# Name, summary, what the level sets, (name, meaning) of each field, needs packed pixels, runs in bands, why or why not.
def effects() -> list[tuple[str, str, str, list[tuple[str, str]], bool, bool, str]]: ...

# Name, summary.
def groups() -> list[tuple[str, str]]: ...
def values_at_level(effect: str, level: int, values: Sequence[float]) -> list[float]: ...

# Effect (none: enlarge), values of its fields, percent of width and height.
def group_entries(group: str, time: int) -> list[tuple[str | None, list[float], int, int]]: ...
def render(
    effect: str,
    values: Sequence[float],
    format: str,
    out: Sequence[NDArray[Any]],
    image: Sequence[NDArray[Any]],
    threads: int,
    seed: int,
) -> None: ...
def enlarge(
    percent_x: int,
    percent_y: int,
    format: str,
    out: Sequence[NDArray[np.uint8]],
    image: Sequence[NDArray[np.uint8]],
    threads: int,
) -> None: ...
