"""Units and usual ranges of the effects' fields, for users and their sliders. Values outside are allowed."""

from __future__ import annotations

from typing import Final

_WIDTHS: Final = "picture widths"
_HEIGHTS: Final = "picture heights"
_BOTH: Final = "picture widths and heights"
_DIAGONALS: Final = "halves of the diagonal"

_CENTER: Final = {"centerX": (0.0, 1.0, _WIDTHS), "centerY": (0.0, 1.0, _HEIGHTS)}

RANGES: Final[dict[str, dict[str, tuple[float, float, str]]]] = {
    "Ground Glass": {"amount": (0.0, 20.0, "pixels")},
    "Swirl": {**_CENTER, "radius": (0.0, 2.0, _BOTH), "angle": (0.0, 360.0, "degrees")},
    "Vignette": {**_CENTER, "innerRadius": (0.0, 1.0, _BOTH), "outerRadius": (0.0, 2.0, _BOTH)},
    "Emboss": {"amount": (0.0, 1.0, "share")},
    "Sketch": {"amount": (0.0, 1.0, "share")},
    "Comicbook": {},
    "Pinch": {**_CENTER, "radius": (0.0, 2.0, _BOTH), "strength": (0.0, 1.0, "share")},
    "Bulge": {**_CENTER, "radius": (0.0, 2.0, _BOTH), "strength": (0.0, 1.0, "share")},
    "Zoom Blur": {**_CENTER, "strength": (0.0, 4.0, "percent of the distance to the centre")},
    "Motion Blur": {"strength": (0.0, 4.0, "pixels"), "angle": (0.0, 360.0, "degrees")},
    "Ripple": {
        **_CENTER,
        "radius": (0.2, 0.7, "not used"),
        "damping": (0.0, 100.0, "number"),
        "amplitude": (0.0, 100.0, "number"),
        "phase": (0.0, 80.0, "twentieths of a wavelength"),
    },
    "Focus Color": {**_CENTER, "radius": (0.0, 2.0, _DIAGONALS), "feather": (0.0, 2.0, _DIAGONALS)},
    "Mirror Move X": {"offset": (0.0, 1.0, _WIDTHS)},
    "Mirror Move Y": {"offset": (0.0, 1.0, _HEIGHTS)},
    "Tile Scale": {"scale": (0.05, 1.0, "share")},
}
