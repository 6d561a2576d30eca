"""What pictures have to be: the reference on copies without gaps, put together with numpy."""

from __future__ import annotations

from collections.abc import Sequence

import norix_reference
import numpy as np
from norixengine._pictures import Plane
from numpy.typing import NDArray
from pictures import format_of

Places = NDArray[np.int64]

# By the order of the parameter classes; checked by test_catalogue.
FIELDS: dict[str, list[str]] = {
    "Ground Glass": ["amount"],
    "Swirl": ["centerX", "centerY", "radius", "angle"],
    "Vignette": ["centerX", "centerY", "innerRadius", "outerRadius"],
    "Emboss": ["amount"],
    "Sketch": ["amount"],
    "Comicbook": [],
    "Pinch": ["centerX", "centerY", "radius", "strength"],
    "Bulge": ["centerX", "centerY", "radius", "strength"],
    "Zoom Blur": ["centerX", "centerY", "strength"],
    "Motion Blur": ["strength", "angle"],
    "Ripple": ["centerX", "centerY", "radius", "damping", "amplitude", "phase"],
    "Focus Color": ["centerX", "centerY", "radius", "feather"],
    "Mirror Move X": ["offset"],
    "Mirror Move Y": ["offset"],
    "Tile Scale": ["scale"],
}

_BY_COLOUR = ("Comicbook", "Focus Color")


def expected(
    effect: str,
    level: int,
    fields: dict[str, float],
    layout: str,
    image: Sequence[Plane],
    order: str = "rgb",
    seed: int = 1,
) -> list[Plane]:
    """The picture that the reference renders; bytes that it leaves are the source's."""
    numbered = [(FIELDS[effect].index(name), value) for name, value in fields.items()]
    planes = [np.ascontiguousarray(plane) for plane in image]
    if effect in _BY_COLOUR and len(planes) == 1:
        colours = planes[0][..., :3] if order == "bgr" else planes[0][..., 2::-1]
        alpha = planes[0][..., 3] if layout == "rgba" else np.full(planes[0].shape[:2], 255, np.uint8)
        bgra = np.ascontiguousarray(np.dstack([colours, alpha]))
        out = bgra.copy()
        norix_reference.render(effect, level, numbered, "bgra", [out], [bgra], seed)
        result = planes[0].copy()
        result[..., :3] = out[..., :3] if order == "bgr" else out[..., 2::-1]
        return [result]
    # Apart from the drawing, the order of channels decides nothing, and the reference knows one of them only.
    known = order if effect == "Sketch" else "rgb"
    outs = [plane.copy() for plane in planes]
    norix_reference.render(effect, level, numbered, format_of(layout, known), outs, planes, seed)
    return outs


def enlarged(plane: Plane, percent_x: int, percent_y: int) -> Plane:
    """Bilinear, about the middle, in 1/256 between pixels."""

    def places(size: int, percent: int) -> tuple[Places, Places, Places]:
        at = (np.arange(size) + 0.5 - size / 2) * (100.0 / max(percent, 100)) + size / 2 - 0.5
        at = at.clip(0, size - 1)
        first = at.astype(int)
        return first, np.minimum(first + 1, size - 1), ((at - first) * 256).astype(int)

    wide = plane.reshape(*plane.shape[:2], -1).astype(int)
    left, right, share = places(plane.shape[1], percent_x)
    share = share[None, :, None]
    wide = wide[:, left] * (256 - share) + wide[:, right] * share
    top, bottom, share = places(plane.shape[0], percent_y)
    share = share[:, None, None]
    tall = wide[top] * (256 - share) + wide[bottom] * share
    rounded: Plane = ((tall + (1 << 15)) >> 16).astype(np.uint8).reshape(plane.shape)
    return rounded
