"""transition() and render_group() against the reference effects, put together by hand."""

from __future__ import annotations

import warnings
from typing import Any

import norix_reference
import norixengine
import numpy as np
import pytest
from expected import FIELDS, enlarged, expected
from hypothesis import given
from hypothesis import strategies as st
from norixengine import Enlarge, Params
from norixengine._pictures import Plane
from pictures import LAYOUTS, noise, planes_of, sides, surrounded

GROUPS = [group.name for group in norixengine.groups()]
TIMES = st.one_of(st.integers(0, 10000), st.sampled_from([0, 1, 1999, 2000, 4999, 5000, 6700, 8999, 9000, 9999, 10000]))


def composed(group: str, time: int, layout: str, image: list[Plane]) -> list[Plane]:
    for effect, values, percent_x, percent_y in norix_reference.group_steps(group, time):
        if effect is None:
            image = [enlarged(plane, percent_x, percent_y) for plane in image]
        else:
            image = expected(effect, 0, dict(zip(FIELDS[effect], values, strict=True)), layout, image)
    return image


def same(picture: Any, planes: list[Plane]) -> None:
    for plane, right in zip(planes_of(picture), planes, strict=True):
        np.testing.assert_array_equal(plane, right)


@pytest.mark.parametrize("layout", LAYOUTS)
@pytest.mark.parametrize("group", GROUPS)
@given(data=st.data())
def test_any_time(group: str, layout: str, data: st.DataObject) -> None:
    width, height = data.draw(sides()), data.draw(sides())
    time = data.draw(TIMES)
    a, b = (noise(layout, width, height, seed) for seed in (1, 2))
    before = [plane.copy() for plane in [*planes_of(a), *planes_of(b)]]
    wanted = composed(group, time, layout, planes_of(a if time < 5000 else b))
    out = data.draw(surrounded(layout, width, height))
    out_before = [parent.copy(order="K") for parent in out.parents]
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", norixengine.CopyWarning)
        picture = out.picture
        assert norixengine.transition(a, b, group, time, out=picture) is picture
    assert out.holds(wanted, out_before)
    same(norixengine.transition(a, b, group, time, order="bgr"), wanted)
    same(norixengine.render_group(a, group, time), composed(group, time, layout, planes_of(a)))
    for plane, old in zip([*planes_of(a), *planes_of(b)], before):
        np.testing.assert_array_equal(plane, old)


@pytest.mark.parametrize("group", GROUPS)
def test_the_cut_is_at_half_time(group: str) -> None:
    a, b = noise("rgb", 30, 20, 1), noise("rgb", 30, 20, 2)
    same(norixengine.transition(a, b, group, 4999), planes_of(norixengine.render_group(a, group, 4999)))
    same(norixengine.transition(a, b, group, 5000), planes_of(norixengine.render_group(b, group, 5000)))


@pytest.mark.parametrize("group", GROUPS)
def test_all_along_the_time(group: str) -> None:
    image = noise("rgb", 120, 90)
    for time in (0, 1, 777, 1999, 2000, 3333, 4999, 5000, 6499, 6500, 6999, 7000, 8888, 8999, 9000, 9600, 9999, 10000):
        same(norixengine.render_group(image, group, time), composed(group, time, "rgb", [image]))


@pytest.mark.parametrize("group", GROUPS)
def test_threads_do_not_show(group: str) -> None:
    image = noise("rgba", 700, 400)
    one = norixengine.render_group(image, group, 3000, threads=1)
    np.testing.assert_array_equal(norixengine.render_group(image, group, 3000, threads=5), one)
    np.testing.assert_array_equal(one, composed(group, 3000, "rgba", [image])[0])


def test_the_source_may_lie_anywhere() -> None:
    image = noise("rgb", 60, 50)[40:2:-2, 7:50]
    for group in GROUPS:
        same(norixengine.render_group(image, group, 2500), composed(group, 2500, "rgb", [image]))


def test_entries() -> None:
    assert norixengine.group_entries("Mirror Scale Blur", 5000) == (
        Params("Swirl", level=5000),
        Enlarge(150, 150),
        Params("Zoom Blur", level=5000),
    )
    for group in norixengine.groups():
        entries = norixengine.group_entries(group.name, 1234)
        assert tuple(entry.effect for entry in entries if isinstance(entry, Params)) == group.effects


def test_entries_make_the_picture() -> None:
    image = noise("rgba", 33, 21)
    picture = image
    for step in norixengine.group_entries("Blurry Cross Right Up", 3000):
        assert isinstance(step, Params)
        picture = norixengine.render(picture, step)
    np.testing.assert_array_equal(picture, norixengine.render_group(image, "Blurry Cross Right Up", 3000))
