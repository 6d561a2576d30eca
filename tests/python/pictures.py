"""Pictures for tests: noise, in memory laid out in any way, with bytes around it that must stay as they are."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any

import numpy as np
from hypothesis import strategies as st
from norixengine._pictures import AnyPicture, Plane

LAYOUTS = ("rgb", "rgba", "yuv", "yuva")


def shapes_of(layout: str, width: int, height: int) -> list[tuple[int, ...]]:
    if layout in ("rgb", "rgba"):
        return [(height, width, len(layout))]
    half = ((height + 1) // 2, (width + 1) // 2)
    planes: list[tuple[int, ...]] = [(height, width), half, half, (height, width)]
    return planes[: len(layout)]


def format_of(layout: str, order: str) -> str:
    if layout == "rgb":
        return f"{order}24"
    return {"rgba": f"{order}a", "yuv": "yuv420p", "yuva": "yuva420p"}[layout]


def planes_of(picture: AnyPicture) -> list[Plane]:
    return list(picture) if isinstance(picture, tuple) else [picture]


def as_picture(planes: list[Plane]) -> Any:
    return planes[0] if len(planes) == 1 else tuple(planes)


def noise(layout: str, width: int, height: int, seed: int = 1) -> Any:
    random = np.random.default_rng(seed)
    return as_picture([random.integers(0, 256, shape, dtype=np.uint8) for shape in shapes_of(layout, width, height)])


@dataclass(frozen=True)
class Window:
    """Where in a larger array a plane lies."""

    parent: tuple[int, ...]
    index: tuple[slice, ...]
    fortran: bool

    def new_parent(self, seed: int) -> Plane:
        parent = np.random.default_rng(seed).integers(0, 256, self.parent, dtype=np.uint8)
        return np.asfortranarray(parent) if self.fortran else parent

    def of(self, parent: Plane) -> Plane:
        return parent[self.index]


def _axis(draw: st.DrawFn, size: int, steps: tuple[int, ...], paddings: tuple[int, ...]) -> tuple[int, slice]:
    step = draw(st.sampled_from(steps))
    before, after = draw(st.sampled_from(paddings)), draw(st.sampled_from(paddings))
    length = before + (size - 1) * abs(step) + 1 + after
    last = before + (size - 1) * abs(step)
    if step > 0:
        return length, slice(before, last + 1, step)
    return length, slice(last, before - 1 if before > 0 else None, step)


@st.composite
def windows(draw: st.DrawFn, shape: tuple[int, ...]) -> Window:
    """Whole arrays, crops, bottom-up and interlaced rows; more seldom what has to be copied."""
    kind = draw(st.sampled_from(("whole", "rows", "rows", "any")))
    if kind == "whole":
        return Window(shape, tuple(slice(0, size) for size in shape), False)
    any_order = kind == "any"
    axes = [
        _axis(draw, shape[0], (1, -1, 2, -2), (0, 1, 3)),
        _axis(draw, shape[1], (1, -1, 2) if any_order else (1,), (0, 0, 2, 5)),
    ]
    if len(shape) == 3:
        axes.append(_axis(draw, shape[2], (1, -1) if any_order else (1,), (0, 1) if any_order else (0,)))
    fortran = any_order and draw(st.booleans())
    return Window(tuple(length for length, _ in axes), tuple(index for _, index in axes), fortran)


@dataclass
class Surrounded:
    """A picture in larger arrays."""

    windows: list[Window]
    parents: list[Plane]

    @property
    def picture(self) -> Any:
        return as_picture([window.of(parent) for window, parent in zip(self.windows, self.parents)])

    def holds(self, planes: list[Plane], before: list[Plane]) -> bool:
        """The picture is ``planes``, and around it all is as before."""
        for window, parent, plane, old in zip(self.windows, self.parents, planes, before):
            expected = old.copy(order="K")
            window.of(expected)[...] = plane
            if not np.array_equal(parent, expected):
                return False
        return True


@st.composite
def surrounded(draw: st.DrawFn, layout: str, width: int, height: int) -> Surrounded:
    drawn = [draw(windows(shape)) for shape in shapes_of(layout, width, height)]
    # U and V mostly lie alike.
    if len(drawn) > 1 and draw(st.integers(0, 3)) > 0:
        drawn[2] = drawn[1]
    seed = draw(st.integers(0, 1000))
    return Surrounded(drawn, [window.new_parent(seed + i) for i, window in enumerate(drawn)])


def sides() -> st.SearchStrategy[int]:
    return st.one_of(st.integers(1, 9), st.integers(1, 70))
