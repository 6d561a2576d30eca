"""What effects and groups there are."""

from __future__ import annotations

from dataclasses import dataclass
from functools import cache
from typing import Final

from norixengine import _engine
from norixengine._names import unknown
from norixengine._ranges import RANGES

#: The level that counts when none is given.
DEFAULT_LEVEL: Final = 5000


@dataclass(frozen=True)
class Field:
    """A number of an effect that users may set."""

    name: str
    meaning: str
    #: What it is at level 5000, unless it is set.
    default: float
    #: Lowest and highest usual value. Others are allowed.
    usual: tuple[float, float]
    unit: str

    def __str__(self) -> str:
        low, high = self.usual
        return f"{self.name} = {self.default:g} ({low:g} to {high:g} {self.unit}): {self.meaning}"


@dataclass(frozen=True)
class Effect:
    """An effect, by the name that :func:`norixengine.render` takes."""

    name: str
    #: What it looks like.
    summary: str
    #: What the level, 0 to 10000, sets.
    level: str
    fields: tuple[Field, ...]
    #: Renders YUV 4:2:0 planes, too. "Comicbook" alone does not.
    takes_planes: bool
    #: One picture is rendered on several threads. The others take one, whatever ``threads`` says.
    uses_threads: bool
    #: Why that is so.
    because: str

    def __str__(self) -> str:
        lines = [f"{self.name}: {self.summary}", f"  level: {self.level}"]
        return "\n".join(lines + [f"  {field}" for field in self.fields])


@dataclass(frozen=True)
class Group:
    """A group effect, by the name that :func:`norixengine.transition` takes."""

    name: str
    #: What it looks like.
    summary: str
    #: The effects it is made of, in order.
    effects: tuple[str, ...]

    def __str__(self) -> str:
        return f"{self.name}: {self.summary} ({', '.join(self.effects)})"


@cache
def effects() -> tuple[Effect, ...]:
    """All effects that have a picture, in the engine's order.

    >>> import norixengine
    >>> [effect.name for effect in norixengine.effects()][:3]
    ['Ground Glass', 'Swirl', 'Vignette']
    >>> print(norixengine.effects()[1])
    Swirl: twists the picture about a centre
      level: angle 0 to 360 degrees
      centerX = 0.5 (0 to 1 picture widths): middle of the effect, in picture widths from the left
      centerY = 0.5 (0 to 1 picture heights): middle of the effect, in picture heights from the top
      radius = 1 (0 to 2 picture widths and heights): where the twist ends, in picture widths and heights
      angle = 180 (0 to 360 degrees): twist in degrees; 360 turns the centre by 8 radians
    """
    found = []
    for name, summary, level, fields, packed_only, bands, because in _engine.effects():
        defaults = _engine.values_at_level(name, DEFAULT_LEVEL, ())
        described = []
        for (field, meaning), default in zip(fields, defaults, strict=True):
            low, high, unit = RANGES[name][field]
            described.append(Field(field, meaning, default, (low, high), unit))
        found.append(Effect(name, summary, level, tuple(described), not packed_only, bands, because))
    return tuple(found)


@cache
def groups() -> tuple[Group, ...]:
    """All group effects, from which transitions are made, in the engine's order.

    >>> import norixengine
    >>> print(norixengine.groups()[1])
    Flip Roll Up: rolls upwards over its mirror images, blurred by the speed (Mirror Move Y, Motion Blur)
    """
    found = []
    for name, summary in _engine.groups():
        parts = [effect for effect, *_ in _engine.group_entries(name, 0) if effect is not None]
        found.append(Group(name, summary, tuple(parts)))
    return tuple(found)


def find_effect(name: object) -> Effect:
    """The effect of that name. Fails with TypeError or ValueError and the nearest name."""
    for effect in effects():
        if effect.name == name:
            return effect
    if name == "Stretch":
        raise ValueError("effect 'Stretch' has no picture: the engine lists it and renders nothing; choose another")
    raise unknown("effect", name, (effect.name for effect in effects()))


def find_group(name: object) -> Group:
    """The group of that name. Fails with TypeError or ValueError and the nearest name."""
    for group in groups():
        if group.name == name:
            return group
    raise unknown("group", name, (group.name for group in groups()))
