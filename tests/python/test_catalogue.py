"""effects() and groups(): what users are told is what the engine does."""

from __future__ import annotations

import os
import subprocess

import norix_reference
import norixengine
import pytest
from expected import FIELDS
from norixengine._ranges import RANGES


def test_all_effects_but_the_one_without_a_picture() -> None:
    assert [effect.name for effect in norixengine.effects()] == list(FIELDS) == list(RANGES)


@pytest.mark.parametrize("effect", norixengine.effects(), ids=list(FIELDS))
def test_fields(effect: norixengine.Effect) -> None:
    assert [field.name for field in effect.fields] == FIELDS[effect.name] == list(RANGES[effect.name])
    assert [field.default for field in effect.fields] == norix_reference.fields_at_level(effect.name, 5000)
    ends = [norix_reference.fields_at_level(effect.name, level) for level in (0, 10000)]
    for field, *values in zip(effect.fields, *ends):
        low, high = field.usual
        assert low < high
        assert low <= min(values) and max(values) <= high, field.name
        assert field.meaning and field.unit


def test_what_takes_no_planes() -> None:
    assert [effect.name for effect in norixengine.effects() if not effect.takes_planes] == ["Comicbook"]


def test_they_print_nicely() -> None:
    text = str(norixengine.effects()[1])
    assert text.splitlines()[:2] == ["Swirl: twists the picture about a centre", "  level: angle 0 to 360 degrees"]
    assert "angle = 180 (0 to 360 degrees)" in text
    assert str(norixengine.groups()[0]) == (
        "Mirror Scale Blur: twists, grows to twice its size and blurs outward (Swirl, Zoom Blur)"
    )
    assert len(norixengine.groups()) == 10


def test_the_command_agrees() -> None:
    command = os.environ.get("NORIX_COMMAND")
    if not command or not os.path.exists(command):
        pytest.skip("norix is not built")
    said = subprocess.run([command, "--version"], capture_output=True, text=True, check=True).stdout
    assert said == f"norix {norixengine.__version__} ({norixengine.instruction_set()})\n"
