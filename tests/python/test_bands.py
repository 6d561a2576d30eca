"""Which effects may be cut into bands: what the table says is what the reference and the engine do."""

from __future__ import annotations

import random
from typing import Any

import norix_reference
import norixengine
import numpy as np
import pytest
from expected import FIELDS
from pictures import LAYOUTS, noise, planes_of

FORMATS = {"rgb": "rgb24", "rgba": "bgra", "yuv": "yuv420p", "yuva": "yuva420p"}
CUT = [effect.name for effect in norixengine.effects() if effect.uses_threads]
WHOLE = [effect.name for effect in norixengine.effects() if not effect.uses_threads]


def cut(height: int, random_: random.Random) -> list[tuple[int, int]]:
    """Bands that begin at even rows."""
    places = sorted(random_.sample(range(2, height, 2), min(random_.randint(1, 6), (height - 1) // 2)))
    return [(a, b - a) for a, b in zip([0, *places], [*places, height])]


def some_case(effect: str, layout: str, random_: random.Random) -> tuple[Any, ...]:
    image = planes_of(noise(layout, random_.randint(1, 60), random_.randint(4, 70), random_.randrange(1000)))
    level = random_.choice([0, 1, 5000, 10000, random_.randint(0, 10000)])
    fields = [(i, random_.uniform(-0.5, 2)) for i in range(len(FIELDS[effect])) if random_.random() < 0.3]
    return image, level, fields


@pytest.mark.parametrize("layout", LAYOUTS)
@pytest.mark.parametrize("effect", CUT)
def test_joined_bands_are_the_whole(effect: str, layout: str) -> None:
    random_ = random.Random(f"{effect} {layout}")
    for _ in range(40):
        image, level, fields = some_case(effect, layout, random_)
        whole = [plane.copy() for plane in image]
        norix_reference.render(effect, level, fields, FORMATS[layout], whole, image)
        bands = cut(image[0].shape[0], random_)
        joined = [plane.copy() for plane in image]
        for first, count in bands:
            norix_reference.render(
                effect, level, fields, FORMATS[layout], joined, image, first_row=first, row_count=count
            )
        by_engine = [plane.copy() for plane in image]
        norix_reference.engine_bands(effect, level, fields, FORMATS[layout], by_engine, image, bands)
        for a, b, c in zip(whole, joined, by_engine):
            np.testing.assert_array_equal(a, b)
            np.testing.assert_array_equal(a, c)


@pytest.mark.parametrize("effect", [name for name in WHOLE if name != "Ground Glass"])
def test_others_show_where_they_were_cut(effect: str) -> None:
    """Otherwise they belong on the other side of the table."""
    random_ = random.Random(effect)
    for _ in range(400):
        layout = random_.choice(LAYOUTS)
        image, level, _ = some_case(effect, layout, random_)
        outs = [[plane.copy() for plane in image] for _ in range(2)]
        for out, bands in zip(outs, ([(0, image[0].shape[0])], cut(image[0].shape[0], random_))):
            norix_reference.engine_bands(effect, level, [], FORMATS[layout], out, image, bands)
        if any(not np.array_equal(a, b) for a, b in zip(*outs)):
            return
    pytest.fail(f"{effect} shows no seams")


def test_random_numbers_come_in_order() -> None:
    """Bands on several threads would draw them in any."""
    assert "Ground Glass" in WHOLE
    image = [noise("yuv", 40, 40)[0], *noise("yuv", 40, 40)[1:]]
    outs = [[plane.copy() for plane in image] for _ in range(2)]
    for first in (0, 20):
        norix_reference.render("Ground Glass", 5000, [], "yuv420p", outs[0], image, first_row=first, row_count=20)
    norix_reference.render("Ground Glass", 5000, [], "yuv420p", outs[1], image)
    assert not np.array_equal(outs[0][0], outs[1][0])


def test_every_effect_says_why() -> None:
    for effect in norixengine.effects():
        assert effect.because
