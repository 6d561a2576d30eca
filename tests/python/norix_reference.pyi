"""The reference effects (tests/reference) and the engine's bands, on arrays without gaps."""

from collections.abc import Sequence

import numpy as np
from numpy.typing import NDArray

Planes = Sequence[NDArray[np.uint8]]
# By number, in the order of the parameter class.
Fields = Sequence[tuple[int, float]]

def render(
    effect: str,
    level: int,
    fields: Fields,
    format: str,
    out: Planes,
    image: Planes,
    seed: int = 1,
    first_row: int = 0,
    row_count: int = -1,
) -> None: ...
def engine_bands(
    effect: str, level: int, fields: Fields, format: str, out: Planes, image: Planes, bands: Sequence[tuple[int, int]]
) -> None: ...
def group_steps(group: str, time: int) -> list[tuple[str | None, list[float], int, int]]: ...
def fields_at_level(effect: str, level: int) -> list[float]: ...
