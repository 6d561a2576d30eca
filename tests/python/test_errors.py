"""What users do wrong, and what they are told: which argument, what was wrong, what would be right."""

from __future__ import annotations

import re
from typing import Any

import norixengine
import numpy as np
import pytest
from norixengine import render, render_group, transition
from pictures import noise

RGB = noise("rgb", 8, 6)
YUV = noise("yuv", 8, 6)
NAMES = (
    "Ground Glass, Swirl, Vignette, Emboss, Sketch, Comicbook, Pinch, Bulge, Zoom Blur, Motion Blur, Ripple, "
    "Focus Color, Mirror Move X, Mirror Move Y, Tile Scale"
)
RIGHT = "uint8 of shape (H, W, 3) or (H, W, 4), or planes (Y, U, V) or (Y, U, V, A)"
LEVEL = "level must be a whole number from 0 to 10000"
SEED = "seed must be a whole number from 0 to 4294967295"
THREADS = "threads must be a whole number from 1 to 65536"


def zeros(*shape: int, dtype: Any = np.uint8) -> Any:
    return np.zeros(shape, dtype)


def huge(*shape: int) -> Any:
    return np.broadcast_to(np.uint8(0), shape)


IMAGES = [
    (None, TypeError, "image must be a numpy array, not NoneType"),
    ([[1, 2], [3, 4]], ValueError, f"image must be {RIGHT}, not a list of 2"),
    ("photo.png", TypeError, "image must be a numpy array, not str"),
    (memoryview(b"abc"), TypeError, "image must be a numpy array, not memoryview"),
    (
        zeros(4, 4, 3, dtype=np.float32),
        TypeError,
        "image must hold 8-bit samples (numpy.uint8), not float32; convert it: if it is 0..1, "
        "(x * 255).round().clip(0, 255).astype(numpy.uint8)",
    ),
    (
        zeros(4, 4, 3, dtype=bool),
        TypeError,
        "image must hold 8-bit samples (numpy.uint8), not bool; convert it: x.astype(numpy.uint8) * 255",
    ),
    (
        zeros(4, 4, 3, dtype=np.uint16),
        TypeError,
        "image must hold 8-bit samples (numpy.uint8), not uint16; convert it: (x >> 8).astype(numpy.uint8)",
    ),
    (
        zeros(4, 4, 3, dtype=np.int64),
        TypeError,
        "image must hold 8-bit samples (numpy.uint8), not int64; convert it: x.clip(0, 255).astype(numpy.uint8)",
    ),
    (
        zeros(4, 4, 3, dtype=np.int8),
        TypeError,
        "image must hold 8-bit samples (numpy.uint8), not int8; convert it: x.clip(0, 255).astype(numpy.uint8)",
    ),
    (
        zeros(4, 4),
        ValueError,
        f"image must be {RIGHT}, not of shape (4, 4); for gray use numpy.stack([x, x, x], axis=-1)",
    ),
    (zeros(4), ValueError, f"image must be {RIGHT}, not of shape (4,)"),
    (zeros(2, 4, 4, 3), ValueError, f"image must be {RIGHT}, not of shape (2, 4, 4, 3)"),
    (zeros(5, 4, 1), ValueError, f"image must be {RIGHT}, not of shape (5, 4, 1)"),
    (
        zeros(3, 40, 50),
        ValueError,
        f"image must be {RIGHT}, not of shape (3, 40, 50); for channels first use numpy.moveaxis(x, 0, -1)",
    ),
    (
        zeros(0, 4, 3),
        ValueError,
        "image has no pixels: its shape is (0, 4, 3), height and width must be at least 1",
    ),
    (
        zeros(4, 0, 4),
        ValueError,
        "image has no pixels: its shape is (4, 0, 4), height and width must be at least 1",
    ),
    (
        huge(2**31, 1, 3),
        ValueError,
        "image is too large: its shape is (2147483648, 1, 3), a side can be 536870911 at most",
    ),
    (
        huge(1, 2**40, 4),
        ValueError,
        "image is too large: its shape is (1, 1099511627776, 4), a side can be 536870911 at most",
    ),
    ((YUV[0], YUV[1]), ValueError, f"image must be {RIGHT}, not a tuple of 2"),
    ((YUV[0], YUV[1], None), TypeError, "image[2] (V) must be a numpy array, not NoneType"),
    ((YUV[0], YUV[1], RGB), ValueError, "image[2] (V) must have two dimensions, (height, width), not 3"),
    (
        (YUV[0], YUV[0], YUV[2]),
        ValueError,
        "image[1] (U) must have shape (3, 4) beside a Y of (6, 8) (4:2:0: half of both sides, rounded up; A as Y), "
        "not (6, 8)",
    ),
    (
        (*YUV, YUV[1]),
        ValueError,
        "image[3] (A) must have shape (6, 8) beside a Y of (6, 8) (4:2:0: half of both sides, rounded up; A as Y), "
        "not (3, 4)",
    ),
    (
        (zeros(0, 8), zeros(0, 4), zeros(0, 4)),
        ValueError,
        "image[0] (Y) has no pixels: its shape is (0, 8), height and width must be at least 1",
    ),
    (
        (YUV[0], YUV[1].astype(float), YUV[2]),
        TypeError,
        "image[1] (U) must hold 8-bit samples (numpy.uint8), not float64; convert it: if it is 0..1, "
        "(x * 255).round().clip(0, 255).astype(numpy.uint8)",
    ),
]


def raises(kind: type[Exception], text: str) -> Any:
    return pytest.raises(kind, match=f"^{re.escape(text)}$")


@pytest.mark.parametrize(("image", "kind", "text"), IMAGES, ids=lambda value: None)
def test_images(image: Any, kind: type[Exception], text: str) -> None:
    with raises(kind, text):
        render(image, "Swirl")
    with raises(kind, text):
        render_group(image, "Flip Roll Up", 1000)


def test_pillow_images_are_told_how() -> None:
    image = pytest.importorskip("PIL.Image").new("RGB", (4, 4))
    with raises(TypeError, "image must be a numpy array, not Image; numpy.asarray() makes one"):
        render(image, "Swirl")


@pytest.mark.parametrize(
    ("arguments", "kind", "text"),
    [
        ({"effect": "Swrl"}, ValueError, f"there is no effect 'Swrl'; did you mean 'Swirl'? There are {NAMES}"),
        (
            {"effect": "zoomblur"},
            ValueError,
            f"there is no effect 'zoomblur'; did you mean 'Zoom Blur'? There are {NAMES}",
        ),
        ({"effect": 3}, TypeError, f"effect must be a name (str), not int; there are {NAMES}"),
        (
            {"effect": "Stretch"},
            ValueError,
            "effect 'Stretch' has no picture: the engine lists it and renders nothing; choose another",
        ),
        ({"level": -1}, ValueError, f"{LEVEL}, not -1"),
        ({"level": 10001}, ValueError, f"{LEVEL}, not 10001"),
        ({"level": 2**70}, ValueError, f"{LEVEL}, not {2**70}"),
        ({"level": float("nan")}, ValueError, f"{LEVEL}, not nan"),
        ({"level": float("inf")}, ValueError, f"{LEVEL}, not inf"),
        ({"level": 0.5}, ValueError, f"{LEVEL}, not 0.5; round(level) makes one"),
        ({"level": "5000"}, TypeError, f"{LEVEL}, not str"),
        ({"level": True}, TypeError, f"{LEVEL}, not bool"),
        ({"level": np.zeros(2)}, TypeError, f"{LEVEL}, not ndarray"),
        ({"threads": 0}, ValueError, f"{THREADS}, not 0"),
        ({"threads": -2}, ValueError, f"{THREADS}, not -2"),
        ({"threads": 1.5}, ValueError, f"{THREADS}, not 1.5; round(threads) makes one"),
        ({"threads": "all"}, TypeError, f"{THREADS}, not str"),
        ({"seed": -1}, ValueError, f"{SEED}, not -1"),
        ({"seed": 2**32}, ValueError, f"{SEED}, not 4294967296"),
        ({"seed": None}, TypeError, f"{SEED}, not NoneType"),
        ({"order": "RGB"}, ValueError, "order must be 'rgb' or 'bgr', not 'RGB'; a fourth channel is alpha in both"),
        ({"order": None}, ValueError, "order must be 'rgb' or 'bgr', not None; a fourth channel is alpha in both"),
        (
            {"Angel": 1.0},
            ValueError,
            "'Swirl' has no field 'Angel'; did you mean 'angle'? It has centerX, centerY, radius, angle",
        ),
        ({"angle": float("nan")}, ValueError, "angle must be a number, not NaN"),
        ({"angle": "90"}, TypeError, "angle must be a number, not str"),
        ({"angle": np.zeros(2)}, TypeError, "angle must be a number, not ndarray"),
    ],
)
def test_arguments(arguments: dict[str, Any], kind: type[Exception], text: str) -> None:
    everything: dict[str, Any] = {"effect": "Swirl", **arguments}
    with raises(kind, text):
        render(RGB, **everything)


def read_only() -> Any:
    out = np.empty_like(RGB)
    out.flags.writeable = False
    return out


OWN = noise("rgb", 8, 6)
MINE = "share memory; pass an out of its own, such as a copy()"


@pytest.mark.parametrize(
    ("out", "kind", "text"),
    [
        (zeros(6, 9, 3), ValueError, "out must have the shape of image, (6, 8, 3), not (6, 9, 3)"),
        (zeros(6, 8, 4), ValueError, "out must have the shape of image, (6, 8, 3), not (6, 8, 4)"),
        (YUV, ValueError, "out must have the shape of image, (6, 8, 3), not ((6, 8), (3, 4), (3, 4))"),
        (read_only(), ValueError, "out is read-only; pass an array that can be written, or a copy()"),
        (
            zeros(6, 8, 3, dtype=float),
            TypeError,
            "out must hold 8-bit samples (numpy.uint8), not float64; convert it: if it is 0..1, "
            "(x * 255).round().clip(0, 255).astype(numpy.uint8)",
        ),
        (RGB, ValueError, f"out and image {MINE}"),
        (RGB[::-1], ValueError, f"out and image {MINE}"),
        (
            np.lib.stride_tricks.as_strided(OWN, (6, 8, 3), (0, 3, 1)),
            ValueError,
            "out has elements that share memory (strides (0, 3, 1)); pass a copy()",
        ),
        (
            np.lib.stride_tricks.as_strided(OWN, (6, 8, 3), (3, 3, 1)),
            ValueError,
            "out has elements that share memory (strides (3, 3, 1)); pass a copy()",
        ),
        (3, TypeError, "out must be a numpy array, not int"),
    ],
)
def test_out(out: Any, kind: type[Exception], text: str) -> None:
    before = RGB.copy()
    with raises(kind, text):
        render(RGB, "Swirl", out=out)
    np.testing.assert_array_equal(RGB, before)


def test_planes_of_out() -> None:
    y, u, v = noise("yuv", 8, 6, seed=2)
    with raises(ValueError, f"out[2] (V) and out[1] (U) {MINE}"):
        render(YUV, "Swirl", out=(y, u, u))
    with raises(ValueError, f"out[1] (U) and image[1] (U) {MINE}"):
        render(YUV, "Swirl", out=(y, YUV[1], v))
    with raises(ValueError, f"out[0] (Y) and image[0] (Y) {MINE}"):
        render(YUV, "Swirl", out=(YUV[0], u, v))


def test_neighbours_in_one_array_do_not_share() -> None:
    both = noise("rgb", 16, 6)
    render(both[:, ::2].copy(), "Swirl", out=both[:, 8:])
    render(both[:3], "Swirl", out=both[3:])


def test_comicbook_on_planes() -> None:
    with raises(ValueError, "'Comicbook' does nothing to YUV planes; convert image to RGB"):
        render(YUV, "Comicbook")


def test_groups_and_transitions() -> None:
    with pytest.raises(ValueError, match="^there is no group 'flip roll'; did you mean 'Flip Roll Up'"):
        transition(RGB, RGB, "flip roll", 0)
    with pytest.raises(TypeError, match=r"^group must be a name \(str\), not NoneType; there are Mirror Scale Blur, "):
        render_group(RGB, None, 0)  # type: ignore[arg-type]
    with raises(ValueError, "time must be a whole number from 0 to 10000, not 10001"):
        transition(RGB, RGB, "Flip Roll Up", 10001)
    with raises(ValueError, "time must be a whole number from 0 to 10000, not nan"):
        render_group(RGB, "Flip Roll Up", float("nan"))  # type: ignore[arg-type]
    with raises(ValueError, "a and b must have one shape, not (6, 8, 3) and (6, 9, 3)"):
        transition(RGB, noise("rgb", 9, 6), "Flip Roll Up", 0)
    with raises(ValueError, "a and b must have one shape, not (6, 8, 3) and ((6, 8), (3, 4), (3, 4))"):
        transition(RGB, YUV, "Flip Roll Up", 0)
    with raises(TypeError, "b must be a numpy array, not NoneType"):
        transition(RGB, None, "Flip Roll Up", 0)
    other = noise("rgb", 8, 6, seed=5)
    with raises(ValueError, f"out and b {MINE}"):
        transition(RGB, other, "Flip Roll Up", 0, out=other)
    with raises(ValueError, "order must be 'rgb' or 'bgr', not 'rbg'; a fourth channel is alpha in both"):
        transition(RGB, other, "Flip Roll Up", 0, order="rbg")  # type: ignore[arg-type]


def test_what_is_not_named_wrong_is_taken() -> None:
    """Numbers of numpy, whole floats, lists of planes, infinities."""
    right = render(RGB, "Swirl", level=2500)
    np.testing.assert_array_equal(render(RGB, "Swirl", level=2500.0), right)  # type: ignore[arg-type]
    np.testing.assert_array_equal(render(RGB, "Swirl", level=np.uint16(2500), threads=np.int8(1)), right)
    planes = render(list(YUV), "Swirl", radius=float("inf"))  # type: ignore[type-var]
    assert isinstance(planes, tuple)


@pytest.mark.filterwarnings("error::norixengine.CopyWarning")
def test_copies_are_announced() -> None:
    wide = noise("rgb", 40, 30)
    for usable in (wide, wide[::-1], wide[::2], wide[5:9, 3:20], wide[:, :1], wide[:1, ::1]):
        render(usable, "Swirl")
    out = noise("rgb", 40, 30)
    render(wide[:10, :10].copy(), "Swirl", out=out[3:13, 3:13])
    for copied in (wide[:, ::2], wide[:, ::-1], wide[..., ::-1], np.asfortranarray(wide)):
        with pytest.raises(
            norixengine.CopyWarning, match="^image has strides that the engine cannot read and had to be cop"
        ):
            render(copied, "Swirl")
    with pytest.raises(
        norixengine.CopyWarning, match="^out has strides that the engine cannot write and had to be copied"
    ):
        render(wide[:, :20].copy(), "Swirl", out=out[:, ::2])
    with pytest.raises(norixengine.CopyWarning, match="^image has"):
        render(wide[:10, :10], "Swirl", out=out[3:13, 3:13])


def test_copies_are_announced_once_for_each_place() -> None:
    wide = noise("rgb", 40, 30)
    with pytest.warns(norixengine.CopyWarning) as caught:
        render(wide[:, ::2], "Swirl")
        render_group(wide[:, ::2], "Flip Roll Up", 3000)
    assert [warning.filename for warning in caught] == [__file__] * 2
    assert caught[0].lineno != caught[1].lineno
