"""A contact sheet: every effect at five levels, from one picture.

Usage: python3 contact_sheet.py PICTURE SHEET [--width 240]

The marks "# %%" make cells of it in editors that know notebooks.
"""

# %% What is needed
from __future__ import annotations

import argparse
import sys

import norixengine
import numpy as np
from numpy.typing import NDArray
from PIL import Image, ImageDraw  # type: ignore[import]

LEVELS = (0, 2500, 5000, 7500, 10000)
NAME_HEIGHT = 20
GAP = 4


# %% One picture becomes a row: an effect at five levels
def row_of(effect: str, picture: NDArray[np.uint8]) -> NDArray[np.uint8]:
    """The pictures side by side, (H, 5 W + gaps, 4)."""
    height, width = picture.shape[:2]
    row = np.full((height, len(LEVELS) * (width + GAP) - GAP, 4), 255, np.uint8)
    for i, level in enumerate(LEVELS):
        # A slice of the row is written in place.
        left = i * (width + GAP)
        norixengine.render(picture, effect, level=level, out=row[:, left : left + width])
    return row


# %% Rows and names become a sheet
def contact_sheet(picture: Image.Image) -> Image.Image:
    # Four channels: Bulge and Vignette are round and soft in these.
    pixels = np.asarray(picture.convert("RGBA"))
    rows = [(effect.name, Image.fromarray(row_of(effect.name, pixels))) for effect in norixengine.effects()]
    step = NAME_HEIGHT + picture.height + GAP
    sheet = Image.new("RGB", (rows[0][1].width + 2 * GAP, step * len(rows)), "white")
    draw = ImageDraw.Draw(sheet)
    for i, (name, row) in enumerate(rows):
        draw.text((GAP, i * step + 4), f"{name}   levels {', '.join(map(str, LEVELS))}", fill="black")
        sheet.paste(row, (GAP, i * step + NAME_HEIGHT), row)
    return sheet


# %% The command
def main() -> int:
    parser = argparse.ArgumentParser(description="Every effect at five levels, from one picture.")
    parser.add_argument("picture", help="anything that Pillow reads")
    parser.add_argument("sheet", help="the file to write, such as sheet.png")
    parser.add_argument("--width", type=int, default=240, help="of one small picture, in pixels [240]")
    options = parser.parse_args()
    if options.width < 1:
        parser.error(f"--width must be at least 1, not {options.width}")
    try:
        with Image.open(options.picture) as opened:
            picture = opened.convert("RGBA")
    except OSError as error:
        parser.error(f"{options.picture} cannot be read as a picture: {error}")
    height = max(1, round(picture.height * options.width / picture.width))
    contact_sheet(picture.resize((options.width, height))).save(options.sheet)
    return 0


# %%
if __name__ == "__main__":
    sys.exit(main())
