"""NorixEngine's video effects on numpy arrays, exact to the byte.

>>> import numpy, norixengine
>>> image = numpy.zeros((90, 160, 3), numpy.uint8)
>>> norixengine.render(image, "Swirl", level=5000, centerX=0.3).shape
(90, 160, 3)

``effects()`` and ``groups()`` list what there is; ``render()`` renders a picture with an effect, ``transition()`` one
between two pictures; ``Params`` holds an effect with its settings.
"""

from __future__ import annotations

from norixengine import _engine
from norixengine._catalogue import Effect, Field, Group, effects, groups
from norixengine._params import Params
from norixengine._pictures import CopyWarning
from norixengine._render import Enlarge, group_entries, render, render_group, transition

__version__: str = _engine.version

__all__ = [
    "CopyWarning",
    "Effect",
    "Enlarge",
    "Field",
    "Group",
    "Params",
    "effects",
    "group_entries",
    "groups",
    "instruction_set",
    "render",
    "render_group",
    "transition",
]


def instruction_set() -> str:
    """The vector instruction set that the engine uses here, as ``norix --version`` names it: "AVX2", "SSE4", ...

    All give the same bytes.
    """
    return _engine.instruction_set
