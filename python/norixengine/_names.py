"""Names that users type: found, or answered with the nearest one there is."""

from __future__ import annotations

import difflib
from collections.abc import Iterable


def nearest(wanted: str, names: Iterable[str]) -> str:
    """The name that looks most like ``wanted``, letter case aside."""
    return max(names, key=lambda name: difflib.SequenceMatcher(None, wanted.lower(), name.lower()).ratio())


def unknown(kind: str, wanted: object, names: Iterable[str]) -> Exception:
    """The exception for a ``wanted`` that is none of ``names``, to be raised by the caller."""
    names = list(names)
    if not isinstance(wanted, str):
        return TypeError(f"{kind} must be a name (str), not {type(wanted).__name__}; there are {', '.join(names)}")
    return ValueError(
        f"there is no {kind} {wanted!r}; did you mean {nearest(wanted, names)!r}? There are {', '.join(names)}"
    )
