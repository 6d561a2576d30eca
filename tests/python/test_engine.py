"""The compiled part answers what it cannot use, whoever calls it: nothing reaches memory that is not the array's."""

from __future__ import annotations

from typing import Any

import norixengine
import numpy as np
import pytest
from norixengine import _engine
from pictures import noise

RGB = noise("rgb", 8, 6)
YUV = noise("yuv", 8, 6)


def read_only() -> Any:
    array = np.zeros_like(RGB)
    array.flags.writeable = False
    return array


@pytest.mark.parametrize(
    ("format_", "out", "image", "text"),
    [
        ("rgb48", [RGB], [RGB], "there is no pixel format 'rgb48'"),
        ("rgb24", [RGB, RGB], [RGB], "another number of planes"),
        ("rgb24", [], [RGB], "another number of planes"),
        ("rgb24", [RGB.astype(np.uint16)], [RGB], "not uint8"),
        ("rgb24", [RGB.astype(np.int8)], [RGB], "not uint8"),
        ("rgb24", [read_only()], [RGB], "read-only"),
        ("rgb24", [RGB.copy()], [RGB[0]], "another number of dimensions"),
        ("rgba", [RGB.copy()], [RGB], "another number of channels"),
        ("rgb24", [RGB.copy()], [RGB[:0]], "empty or too large"),
        ("rgb24", [np.broadcast_to(np.uint8(0), (2**30, 1, 3))], [RGB], "read-only|empty or too large"),
        ("rgb24", [RGB.copy()], [RGB[:5]], "differ in size"),
        ("rgb24", [RGB.copy()], [RGB[:, :5]], "differ in size"),
        ("rgb24", [RGB.copy()], [noise("rgb", 16, 6)[:, ::2]], "pixels of a row do not lie side by side"),
        ("rgb24", [RGB.copy()], [RGB[..., ::-1]], "channels of a pixel do not lie side by side"),
        ("rgb24", [RGB.copy()], [np.broadcast_to(RGB[:1], RGB.shape)], "rows overlap"),
        ("yuv420p", [YUV[0], YUV[1], YUV[0]], list(YUV), "a plane has another size"),
        ("yuv420p", list(YUV), [YUV[0], YUV[1][:2], YUV[2]], "a plane has another size"),
    ],
)
def test_arrays(format_: str, out: list[Any], image: list[Any], text: str) -> None:
    values = tuple(norixengine.Params("Swirl").fields.values())
    with pytest.raises(ValueError, match=text):
        _engine.render("Swirl", values, format_, out, image, 1, 1)
    with pytest.raises(ValueError, match=text):
        _engine.enlarge(150, 150, format_, out, image, 1)


def test_other_arguments() -> None:
    out = RGB.copy()
    with pytest.raises(ValueError, match="another number of values"):
        _engine.render("Swirl", (1.0,), "rgb24", [out], [RGB], 1, 1)
    with pytest.raises(ValueError, match="the effect has no picture"):
        _engine.render("Stretch", (), "rgb24", [out], [RGB], 1, 1)
    with pytest.raises(TypeError):
        _engine.render("Swirl", (), "rgb24", [[1, 2]], [RGB], 1, 1)  # type: ignore[list-item]
    with pytest.raises(RuntimeError, match='there is no effect "Swrl"'):
        _engine.values_at_level("Swrl", 1, (1.0,))
    assert _engine.group_entries("Flip Roll", 0) == []
