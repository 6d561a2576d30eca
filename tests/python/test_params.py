"""Params: an effect with its settings."""

from __future__ import annotations

import copy
import pickle
from typing import Any

import norix_reference
import norixengine
import numpy as np
import pytest
from expected import FIELDS
from norixengine import Params
from pictures import noise

EFFECTS = list(FIELDS)


@pytest.mark.parametrize("effect", EFFECTS)
@pytest.mark.parametrize("level", [0, 1, 2500, 5000, 9999, 10000])
def test_the_level_sets_what_the_engine_says(effect: str, level: int) -> None:
    assert list(Params(effect, level=level).fields.values()) == norix_reference.fields_at_level(effect, level)


def test_the_level_is_5000_unless_given() -> None:
    assert Params("Swirl") == Params("Swirl", level=5000)
    assert Params("Swirl").level == 5000
    image = noise("rgb", 20, 20)
    np.testing.assert_array_equal(norixengine.render(image, "Swirl"), norixengine.render(image, "Swirl", level=5000))


def test_fields_win_over_the_level() -> None:
    assert Params("Swirl", level=2500, angle=30).angle == 30.0
    assert Params("Swirl", angle=30, level=2500).radius == 1.0


def test_fields_are_attributes() -> None:
    p = Params("Swirl", level=5000, angle=90.0)
    p.centerX = 1
    assert (p.centerX, p.angle, p.effect) == (1.0, 90.0, "Swirl")
    assert isinstance(p.centerX, float)
    assert p.fields == {"centerX": 1.0, "centerY": 0.5, "radius": 1.0, "angle": 90.0}
    assert {"centerX", "angle", "level", "effect"} <= set(dir(p))


def test_a_later_level_changes_only_its_own() -> None:
    p = Params("Vignette", centerX=0.2, innerRadius=0.9)
    p.level = 10000
    assert p.fields == {"centerX": 0.2, "centerY": 0.5, "innerRadius": 0.0, "outerRadius": 0.0}
    assert p.level == 10000


def test_the_copy_of_the_fields_is_a_copy() -> None:
    p = Params("Emboss", amount=0.25)
    p.fields["amount"] = 9
    assert p.amount == 0.25


@pytest.mark.parametrize("effect", EFFECTS)
def test_repr_makes_an_equal_object(effect: str) -> None:
    p = Params(effect, level=1234, **{name: 0.1 * i for i, name in enumerate(FIELDS[effect])})
    assert eval(repr(p), {"Params": Params}) == p


@pytest.mark.parametrize("effect", EFFECTS)
def test_copies(effect: str) -> None:
    p = Params(effect, level=777)
    for twin in (copy.copy(p), copy.deepcopy(p), pickle.loads(pickle.dumps(p)), pickle.loads(pickle.dumps(p, 2))):
        assert twin == p
        assert twin is not p
        assert twin.level == 777
        for name in FIELDS[effect]:
            setattr(twin, name, 0.125)
            assert getattr(p, name) == Params(effect, level=777).fields[name]


def test_equality() -> None:
    assert Params("Pinch", level=5000) == Params("Pinch", level=1, strength=0.5)
    assert Params("Pinch") != Params("Pinch", strength=0.25)
    assert Params("Pinch") != Params("Bulge")
    assert Params("Mirror Move X", offset=1) != Params("Mirror Move Y", offset=1)
    assert Params("Pinch") != "Pinch"
    with pytest.raises(TypeError, match="unhashable"):
        hash(Params("Pinch"))


def test_comicbook_has_no_settings() -> None:
    p = Params("Comicbook")
    assert p.fields == {}
    assert repr(p) == "Params('Comicbook')"
    with pytest.raises(ValueError, match="'Comicbook' has no field 'amount': there is nothing to set"):
        Params("Comicbook", amount=1)
    image = noise("rgba", 9, 9)
    np.testing.assert_array_equal(norixengine.render(image, p), norixengine.render(image, "Comicbook", level=9))


def test_render_takes_params_for_a_name() -> None:
    image = noise("rgba", 40, 30)
    p = Params("Bulge", level=7000, centerX=0.25)
    before = copy.copy(p)
    np.testing.assert_array_equal(
        norixengine.render(image, p), norixengine.render(image, "Bulge", level=7000, centerX=0.25)
    )
    assert p == before
    with pytest.raises(
        TypeError, match="effect is a Params and has its own settings, so level, radius cannot be given"
    ):
        norixengine.render(image, p, level=3, radius=1.0)


def test_rendering_only_reads() -> None:
    p = Params("Focus Color", feather=-3)
    norixengine.render(noise("rgb", 9, 9), p)
    assert p.feather == -3.0


def bad(action: Any, kind: type[Exception], text: str) -> None:
    with pytest.raises(kind) as caught:
        action()
    assert str(caught.value) == text


def test_wrong_names() -> None:
    p = Params("Swirl")
    text = "'Swirl' has no field 'centrex'; did you mean 'centerX'? It has centerX, centerY, radius, angle"
    bad(lambda: Params("Swirl", centrex=1), ValueError, text)
    bad(lambda: p.centrex, AttributeError, text)
    bad(lambda: setattr(p, "centrex", 1), AttributeError, text)
    bad(lambda: delattr(p, "angle"), AttributeError, "'angle' cannot be deleted")
    bad(
        lambda: setattr(p, "effect", "Pinch"),
        AttributeError,
        "effect cannot be set; make another Params, or set single fields as attributes",
    )
    with pytest.raises(ValueError, match="there is no effect 'swrl'; did you mean 'Swirl'"):
        Params("swrl")


def test_wrong_values() -> None:
    p = Params("Swirl", level=1)
    bad(lambda: Params("Swirl", angle=float("nan")), ValueError, "angle must be a number, not NaN")
    bad(lambda: setattr(p, "angle", "30"), TypeError, "angle must be a number, not str")
    bad(lambda: setattr(p, "angle", True), TypeError, "angle must be a number, not bool")
    bad(lambda: setattr(p, "angle", None), TypeError, "angle must be a number, not NoneType")
    bad(lambda: setattr(p, "level", 10001), ValueError, "level must be a whole number from 0 to 10000, not 10001")
    with pytest.raises(ValueError, match="within the range of float"):
        p.angle = 10**400
    assert p == Params("Swirl", level=1)
    p.angle = np.float32(0.5)
    p.radius = float("inf")
    p.level = np.int64(3)  # type: ignore[assignment]
    p.level = 4.0  # type: ignore[assignment]
    assert p.level == 4
