"""Arrays that users pass as pictures: checked, and made fit for the engine."""

from __future__ import annotations

import sys
import warnings
from collections.abc import Sequence
from dataclasses import dataclass
from typing import Final, Literal, TypeVar, Union, cast

import numpy as np
from numpy.typing import NDArray

Plane = NDArray[np.uint8]

#: One array (H, W, 3) or (H, W, 4), or the planes (Y, U, V) or (Y, U, V, A).
AnyPicture = Union[Plane, tuple[Plane, Plane, Plane], tuple[Plane, Plane, Plane, Plane]]

#: A picture of one kind: what goes in comes out.
Picture = TypeVar("Picture", Plane, tuple[Plane, Plane, Plane], tuple[Plane, Plane, Plane, Plane])

#: The order of a pixel's channels; a fourth is alpha.
Order = Literal["rgb", "bgr"]

_LONGEST_SIDE: Final = (2**31 - 1) // 4
_LONGEST_LINE: Final = 2**31 - 1
_RIGHT: Final = "uint8 of shape (H, W, 3) or (H, W, 4), or planes (Y, U, V) or (Y, U, V, A)"
_PLANE_NAMES: Final = "YUVA"
# Layouts of strides for which telling whether two arrays share memory takes longer than rendering.
_OVERLAP_WORK: Final = 100_000


class CopyWarning(UserWarning):
    """An array could not be used in place and was copied: correct, and slower than it could be.

    Given once for each place in a program. Rendering uses rows at any distance in place: bottom-up ones
    (``image[::-1]``), crops (``image[10:50, 20:80]``) and single fields (``image[::2]``). It copies

    - arrays whose pixels do not lie side by side in a row: ``image[:, ::2]``, ``image[:, ::-1]``, ``image[..., ::-1]``;
    - the source when neither its rows nor those of ``out`` lie back to back, such as a crop into a crop;
    - U and V whose rows lie at different distances, and planes with gaps between rows for "Ground Glass".
    """


def _warn(text: str) -> None:
    """At the first frame outside this package."""
    level = 2
    frame = sys._getframe(1)
    package = __name__.partition(".")[0]
    while frame.f_back is not None and frame.f_globals.get("__name__", "").partition(".")[0] == package:
        frame = frame.f_back
        level += 1
    warnings.warn(f"{text} and had to be copied; see norixengine.CopyWarning", CopyWarning, stacklevel=level)


@dataclass(frozen=True)
class Checked:
    """A picture that holds what the engine expects, apart from where its bytes lie."""

    name: str
    planes: tuple[Plane, ...]

    @property
    def planar(self) -> bool:
        return len(self.planes) > 1

    @property
    def height(self) -> int:
        return int(self.planes[0].shape[0])

    @property
    def width(self) -> int:
        return int(self.planes[0].shape[1])

    @property
    def shapes(self) -> tuple[tuple[int, ...], ...]:
        return tuple(plane.shape for plane in self.planes)

    def format(self, order: Order) -> str:
        """libavutil's name of the pixel format."""
        if self.planar:
            return "yuv420p" if len(self.planes) == 3 else "yuva420p"
        if self.planes[0].shape[2] == 3:
            return "rgb24" if order == "rgb" else "bgr24"
        return "rgba" if order == "rgb" else "bgra"

    def plane_name(self, index: int) -> str:
        return f"{self.name}[{index}] ({_PLANE_NAMES[index]})" if self.planar else self.name


def check_order(order: object) -> Order:
    if order not in ("rgb", "bgr"):
        raise ValueError(f"order must be 'rgb' or 'bgr', not {order!r}; a fourth channel is alpha in both")
    return cast(Order, order)


def _check_samples(array: object, name: str) -> Plane:
    if not isinstance(array, np.ndarray):
        is_like = hasattr(array, "__array_interface__") or hasattr(array, "__array__")
        hint = "; numpy.asarray() makes one" if is_like else ""
        raise TypeError(f"{name} must be a numpy array, not {type(array).__name__}{hint}")
    if array.dtype == np.uint8:
        return array
    kind = array.dtype.kind
    if kind == "f":
        hint = "if it is 0..1, (x * 255).round().clip(0, 255).astype(numpy.uint8)"
    elif kind == "b":
        hint = "x.astype(numpy.uint8) * 255"
    elif array.dtype == np.uint16:
        hint = "(x >> 8).astype(numpy.uint8)"
    else:
        hint = "x.clip(0, 255).astype(numpy.uint8)"
    raise TypeError(f"{name} must hold 8-bit samples (numpy.uint8), not {array.dtype}; convert it: {hint}")


def _check_size(array: Plane, name: str) -> None:
    height, width = array.shape[:2]
    if height < 1 or width < 1:
        raise ValueError(f"{name} has no pixels: its shape is {array.shape}, height and width must be at least 1")
    if max(height, width) > _LONGEST_SIDE:
        raise ValueError(f"{name} is too large: its shape is {array.shape}, a side can be {_LONGEST_SIDE} at most")


def _check_planes(value: Sequence[object], name: str) -> Checked:
    if len(value) not in (3, 4):
        raise ValueError(f"{name} must be {_RIGHT}, not a {type(value).__name__} of {len(value)}")
    planes = tuple(_check_samples(plane, f"{name}[{i}] ({_PLANE_NAMES[i]})") for i, plane in enumerate(value))
    picture = Checked(name, planes)
    for i, plane in enumerate(planes):
        if plane.ndim != 2:
            raise ValueError(f"{picture.plane_name(i)} must have two dimensions, (height, width), not {plane.ndim}")
    _check_size(planes[0], picture.plane_name(0))
    full = planes[0].shape
    half = ((full[0] + 1) // 2, (full[1] + 1) // 2)
    for i, wanted in enumerate((full, half, half, full)[: len(planes)]):
        if planes[i].shape != wanted:
            raise ValueError(
                f"{picture.plane_name(i)} must have shape {wanted} beside a Y of {full} (4:2:0: half of both sides, "
                f"rounded up; A as Y), not {planes[i].shape}"
            )
    return picture


def check_picture(value: object, name: str) -> Checked:
    """What ``value`` holds. Raises TypeError or ValueError that name the argument."""
    if isinstance(value, (tuple, list)):
        return _check_planes(value, name)
    array = _check_samples(value, name)
    if array.ndim == 2:
        raise ValueError(
            f"{name} must be {_RIGHT}, not of shape {array.shape}; for gray use numpy.stack([x, x, x], axis=-1)"
        )
    if array.ndim != 3 or array.shape[2] not in (3, 4):
        first = array.ndim == 3 and array.shape[0] in (3, 4)
        hint = "; for channels first use numpy.moveaxis(x, 0, -1)" if first else ""
        raise ValueError(f"{name} must be {_RIGHT}, not of shape {array.shape}{hint}")
    _check_size(array, name)
    return Checked(name, (array,))


def check_out(value: object, sources: Sequence[Checked]) -> Checked:
    """``out``, which has the sources' shapes and can be written without changing them."""
    out = check_picture(value, "out")
    if out.shapes != sources[0].shapes:
        raise ValueError(f"out must have the shape of {sources[0].name}, {_shown(sources[0])}, not {_shown(out)}")
    for i, plane in enumerate(out.planes):
        if not plane.flags.writeable:
            raise ValueError(f"{out.plane_name(i)} is read-only; pass an array that can be written, or a copy()")
        others = [(source.plane_name(k), other) for source in sources for k, other in enumerate(source.planes)]
        others += [(out.plane_name(k), out.planes[k]) for k in range(i)]
        for name, other in others:
            if _share(plane, other):
                raise ValueError(
                    f"{out.plane_name(i)} and {name} share memory; pass an out of its own, such as a copy()"
                )
        if _folded(plane):
            raise ValueError(
                f"{out.plane_name(i)} has elements that share memory (strides {plane.strides}); pass a copy()"
            )
    return out


def _shown(picture: Checked) -> str:
    return str(picture.shapes if picture.planar else picture.shapes[0])


def _share(a: Plane, b: Plane) -> bool:
    try:
        return np.shares_memory(a, b, max_work=_OVERLAP_WORK)
    except np.TooHardError:
        return True


def _folded(plane: Plane) -> bool:
    """Whether two elements of one array may be one byte, as in broadcast or sliding views."""
    reach = 1
    for stride, size in sorted((abs(stride), size) for stride, size in zip(plane.strides, plane.shape) if size > 1):
        if stride < reach:
            return True
        reach = stride * (size - 1) + reach
    return False


def new_picture(like: Checked) -> tuple[Plane, ...]:
    return tuple(np.empty(shape, np.uint8) for shape in like.shapes)


def give(planes: Sequence[Plane]) -> AnyPicture:
    """Planes in the form in which users pass and get them."""
    return planes[0] if len(planes) == 1 else cast(AnyPicture, tuple(planes))


def _line(plane: Plane) -> int | None:
    """Bytes from row to row; None when the engine cannot use the array as it is."""
    height, width = plane.shape[:2]
    channels = plane.shape[2] if plane.ndim == 3 else 1
    row = width * channels
    if channels > 1 and plane.strides[2] != 1:
        return None
    if width > 1 and plane.strides[1] != channels:
        return None
    line = plane.strides[0] if height > 1 else row
    return line if row <= abs(line) <= _LONGEST_LINE else None


def _back_to_back(plane: Plane) -> bool:
    line = _line(plane)
    return line is not None and abs(line) == plane.shape[1] * (plane.shape[2] if plane.ndim == 3 else 1)


def _tight(plane: Plane) -> bool:
    return bool(plane.flags.c_contiguous)


@dataclass(frozen=True)
class Prepared:
    """Arrays that the engine takes: ``source`` is read, ``target`` is written and then handed to :meth:`finish`."""

    source: tuple[Plane, ...]
    target: tuple[Plane, ...]
    wanted: tuple[Plane, ...]

    def finish(self) -> None:
        """Copies what was rendered elsewhere to where it was wanted."""
        for target, wanted in zip(self.target, self.wanted, strict=True):
            if target is not wanted:
                wanted[...] = target


def prepare(source: Checked, out: Checked, *, tight: bool) -> Prepared:
    """Copies what cannot be used in place, with a CopyWarning. ``tight``: planes must have no gaps between rows."""
    read = list(source.planes)
    written = list(out.planes)
    for i, (plane, target) in enumerate(zip(source.planes, out.planes, strict=True)):
        if not _tight(target) if tight else _line(target) is None:
            written[i] = np.empty(target.shape, np.uint8)
            _warn(f"{out.plane_name(i)} has strides that the engine cannot write")
        usable = _tight(plane) if tight else _line(plane) is not None
        # Effects copy whole lines where there is nothing else to do: between two with gaps, the gaps as well.
        if usable and (_back_to_back(plane) or _back_to_back(written[i])):
            continue
        read[i] = np.ascontiguousarray(plane)
        _warn(f"{source.plane_name(i)} has strides that the engine cannot read")
    if len(read) > 1 and _line(read[1]) != _line(read[2]):
        # Blurs step through V by the line size of U.
        for i in (1, 2):
            if not _tight(read[i]):
                read[i] = np.ascontiguousarray(read[i])
                _warn(f"{source.plane_name(i)} has strides that the engine cannot read")
    return Prepared(tuple(read), tuple(written), out.planes)
