"""render() against the reference, byte for byte, in every layout of memory."""

from __future__ import annotations

import itertools
import warnings
from typing import Any

import norixengine
import numpy as np
import pytest
from expected import FIELDS, expected
from hypothesis import given, settings
from hypothesis import strategies as st
from norixengine._pictures import Plane
from pictures import LAYOUTS, as_picture, noise, planes_of, sides, surrounded

EFFECTS = [effect.name for effect in norixengine.effects()]
CASES = [
    pytest.param(effect, layout, id=f"{effect}-{layout}")
    for effect in EFFECTS
    for layout in LAYOUTS
    if not (effect == "Comicbook" and layout.startswith("yuv"))
]

NUMBERS = st.one_of(
    st.floats(-2, 3),
    st.floats(0, 1),
    st.floats(0, 400),
    st.sampled_from(
        [0.0, -0.0, 1e-5, 1.0, -1.0, 25.0, 100.75, 101.0, 360.0, 1e300, -1e300, float("inf"), float("-inf")]
    ),
)


def all_fields(effect: str) -> st.SearchStrategy[dict[str, float]]:
    return st.fixed_dictionaries({}, optional={name: NUMBERS for name in FIELDS[effect]})


def check(effect: str, layout: str, data: st.DataObject, fields: dict[str, float]) -> None:
    width, height = data.draw(sides(), "width"), data.draw(sides(), "height")
    level = data.draw(st.integers(0, 10000), "level")
    order = data.draw(st.sampled_from(("rgb", "bgr")), "order")
    seed = data.draw(st.integers(0, 2**32 - 1), "seed")
    source = data.draw(surrounded(layout, width, height), "source")
    wanted = expected(effect, level, fields, layout, planes_of(source.picture), order, seed)
    source_before = [parent.copy(order="K") for parent in source.parents]
    arguments: dict[str, Any] = {"level": level, "order": order, "seed": seed, **fields}

    with warnings.catch_warnings():
        warnings.simplefilter("ignore", norixengine.CopyWarning)
        fresh = norixengine.render(source.picture, effect, **arguments)
        out = data.draw(surrounded(layout, width, height), "out")
        out_before = [parent.copy(order="K") for parent in out.parents]
        picture = out.picture
        answer = norixengine.render(source.picture, effect, out=picture, **arguments)

    assert answer is picture
    for plane, right in zip(planes_of(fresh), wanted, strict=True):
        np.testing.assert_array_equal(plane, right)
    for plane, right in zip(planes_of(picture), wanted, strict=True):
        np.testing.assert_array_equal(plane, right)
    assert out.holds(wanted, out_before), "bytes around out changed"
    for parent, before in zip(source.parents, source_before):
        np.testing.assert_array_equal(parent, before, "the source changed")


@pytest.mark.parametrize(("effect", "layout"), CASES)
@given(data=st.data())
def test_levels_in_any_memory(effect: str, layout: str, data: st.DataObject) -> None:
    check(effect, layout, data, {})


@pytest.mark.parametrize(("effect", "layout"), [case for case in CASES if FIELDS[str(case.values[0])]])
@given(data=st.data())
def test_fields_in_any_memory(effect: str, layout: str, data: st.DataObject) -> None:
    check(effect, layout, data, data.draw(all_fields(effect), "fields"))


@pytest.mark.parametrize(("effect", "layout"), CASES)
def test_the_smallest_pictures(effect: str, layout: str) -> None:
    for width, height in ((1, 1), (2, 1), (1, 2), (2, 2), (3, 3), (1, 31), (31, 1)):
        image = noise(layout, width, height)
        for level in (0, 5000, 10000):
            wanted = expected(effect, level, {}, layout, planes_of(image))
            for plane, right in zip(planes_of(norixengine.render(image, effect, level=level)), wanted, strict=True):
                np.testing.assert_array_equal(plane, right)


# Where a plane of 23 x 18 or its half lies in 40 x 40.
PLACES: dict[str, Any] = {
    "alone": None,
    "crop": lambda plane: plane[3:, 5:],
    "bottom-up": lambda plane: plane[::-1],
    "interlaced": lambda plane: plane[1::2],
    "mirrored": lambda plane: plane[:, ::-1],
}


@pytest.mark.parametrize(("effect", "layout"), CASES)
def test_every_memory_into_every_other(effect: str, layout: str) -> None:
    image = planes_of(noise(layout, 23, 18))
    for level in (0, 3000):
        for order in ("rgb", "bgr"):
            wanted = expected(effect, level, {}, layout, image, order)
            for (source_name, source), (out_name, out) in itertools.product(PLACES.items(), repeat=2):
                sources, _, _ = placed(source, image, 1)
                outs, parents, outside = placed(out, image, 2)
                with warnings.catch_warnings():
                    warnings.simplefilter("ignore", norixengine.CopyWarning)
                    arguments: dict[str, Any] = {"level": level, "order": order, "out": as_picture(outs)}
                    norixengine.render(as_picture(sources), effect, **arguments)
                for plane, right, parent, before in zip(outs, wanted, parents, outside, strict=True):
                    np.testing.assert_array_equal(plane, right, f"{level} {order} {source_name} {out_name}")
                    plane[...] = 0
                    np.testing.assert_array_equal(parent, before, f"around: {level} {source_name} {out_name}")


def placed(view: Any, image: list[Plane], value: int) -> tuple[list[Plane], list[Plane], list[Plane]]:
    """The planes of ``image`` in larger arrays; these; and these with zeros where the planes are."""
    planes, parents, outside = [], [], []
    for plane in image:
        if view is None:
            parent = plane.copy()
            place = parent
        else:
            parent = np.full((40, 40, *plane.shape[2:]), value, np.uint8)
            place = view(parent)[: plane.shape[0], : plane.shape[1]]
            place[...] = plane
        planes.append(place)
        parents.append(parent)
        kept = place.copy()
        place[...] = 0
        outside.append(parent.copy())
        place[...] = kept
    return planes, parents, outside


@pytest.mark.parametrize("effect", ["Comicbook", "Focus Color"])
@pytest.mark.parametrize("order", ["rgb", "bgr"])
def test_widths_about_the_vectors(effect: str, order: Any) -> None:
    for width in range(1, 140):
        for layout in ("rgb", "rgba"):
            image = noise(layout, width, 3, seed=width)
            wanted = expected(effect, 5000, {}, layout, [image], order)
            np.testing.assert_array_equal(norixengine.render(image, effect, order=order), wanted[0])


@settings(max_examples=40)
@given(data=st.data())
def test_a_crop_into_a_crop_of_one_array(data: st.DataObject) -> None:
    """Left half to right half: bounds overlap, memory does not."""
    both = noise("rgb", 40, 21, seed=data.draw(st.integers(0, 99)))
    before = both.copy()
    effect = data.draw(st.sampled_from(EFFECTS))
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", norixengine.CopyWarning)
        norixengine.render(both[:, :20], effect, level=0, out=both[:, 20:])
    np.testing.assert_array_equal(both[:, :20], before[:, :20])
    np.testing.assert_array_equal(both[:, 20:], expected(effect, 0, {}, "rgb", [before[:, :20]])[0])
