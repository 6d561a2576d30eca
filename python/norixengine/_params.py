"""An effect together with its settings."""

from __future__ import annotations

from collections.abc import Mapping
from typing import SupportsFloat, SupportsIndex

from norixengine import _engine
from norixengine._catalogue import DEFAULT_LEVEL, find_effect
from norixengine._names import nearest
from norixengine._numbers import HIGHEST, LOWEST, real, whole


class Params:
    """An effect with its settings, for :func:`norixengine.render` in place of a name.

    ``Params(effect, level=5000, **fields)``: the level, 0 (weakest) to 10000 (strongest), sets the fields that belong
    to it, then the fields given by name win. ``norixengine.effects()`` lists the fields with units and usual ranges.

    Fields are attributes. Setting ``level`` later changes what the level controls and leaves the other fields alone:

    >>> from norixengine import Params
    >>> p = Params("Swirl", level=2500, radius=0.5)
    >>> p
    Params('Swirl', centerX=0.5, centerY=0.5, radius=0.5, angle=90.0)
    >>> p.angle = 30
    >>> p.level = 10000
    >>> p
    Params('Swirl', centerX=0.5, centerY=0.5, radius=0.5, angle=360.0)

    Two are equal when effect and fields are. Objects are copied by ``copy.copy`` and ``pickle``; like lists they can
    change and so have no hash. Rendering only reads them.

    Raises:
        ValueError: there is no such effect or field (the message has the nearest), a level outside 0 to 10000, NaN.
        TypeError: a level or field that is no number.
    """

    __slots__ = ("_effect", "_level", "_values")
    __hash__ = None  # type: ignore[assignment]  # mutable

    _effect: str
    _level: int
    _values: dict[str, float]

    def __init__(self, effect: str, /, *, level: SupportsIndex = DEFAULT_LEVEL, **fields: SupportsFloat) -> None:
        info = find_effect(effect)
        # Around __setattr__, which knows the settings alone.
        object.__setattr__(self, "_effect", info.name)
        object.__setattr__(self, "_values", {field.name: 0.0 for field in info.fields})
        self._set_level(level, fresh=True)
        for name, value in fields.items():
            self._set_field(name, value)

    @property
    def effect(self) -> str:
        """The effect's name."""
        return self._effect

    @property
    def fields(self) -> dict[str, float]:
        """A copy of the fields and their values, in the effect's order."""
        return dict(self._values)

    @property
    def level(self) -> int:
        """The level that was set last, 0 to 10000. Fields that were set since may say otherwise."""
        return self._level

    @level.setter
    def level(self, value: int) -> None:
        self._set_level(value, fresh=False)

    def _set_level(self, level: object, *, fresh: bool) -> None:
        number = whole(level, "level", LOWEST, HIGHEST)
        values = _engine.values_at_level(self._effect, number, () if fresh else tuple(self._values.values()))
        self._values.update(zip(self._values, values, strict=True))
        object.__setattr__(self, "_level", number)

    def _set_field(self, name: str, value: object) -> None:
        if name not in self._values:
            raise self._no_field(name, ValueError)
        self._values[name] = real(value, name)

    def _no_field(self, name: str, kind: type[Exception]) -> Exception:
        if not self._values:
            return kind(f"{self._effect!r} has no field {name!r}: there is nothing to set")
        names = ", ".join(self._values)
        return kind(
            f"{self._effect!r} has no field {name!r}; did you mean {nearest(name, self._values)!r}? It has {names}"
        )

    def __getattr__(self, name: str) -> float:
        # Looked up this way, an object that is just being made has no fields yet.
        if name.startswith("_"):
            raise AttributeError(name)
        try:
            return self._values[name]
        except KeyError:
            raise self._no_field(name, AttributeError) from None

    def __setattr__(self, name: str, value: SupportsFloat) -> None:
        if name == "level":
            object.__setattr__(self, name, value)
        elif name in ("effect", "fields"):
            raise AttributeError(f"{name} cannot be set; make another Params, or set single fields as attributes")
        elif name in self._values:
            self._set_field(name, value)
        else:
            raise self._no_field(name, AttributeError)

    def __delattr__(self, name: str) -> None:
        raise AttributeError(f"{name!r} cannot be deleted")

    def __dir__(self) -> list[str]:
        return [*super().__dir__(), *self._values]

    def __repr__(self) -> str:
        settings = (f"{name}={value!r}" for name, value in self._values.items())
        return f"Params({', '.join([repr(self._effect), *settings])})"

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Params):
            return NotImplemented
        return self._effect == other._effect and self._values == other._values

    def __getstate__(self) -> tuple[str, int, Mapping[str, float]]:
        return self._effect, self._level, dict(self._values)

    def __setstate__(self, state: tuple[str, int, Mapping[str, float]]) -> None:
        effect, level, values = state
        self.__init__(effect, level=level, **values)  # type: ignore[misc]  # the one way to a checked object

    def __copy__(self) -> Params:
        return Params(self._effect, level=self._level, **self._values)

    def __deepcopy__(self, memo: object) -> Params:
        return self.__copy__()
