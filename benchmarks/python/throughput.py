"""How long norixengine and the usual Python ways take for one picture.

python3 benchmarks/python/throughput.py [--size 1920x1080] [--seconds 1.0] [--write docs/python.md]

Prints a table in Markdown: the least of many calls, on one thread and on as many as each takes by itself. The calls of
one effect take turns, so that a busy moment hits no one alone. ``--write`` puts it between the marks in the manual.
"""

from __future__ import annotations

import argparse
import os
import platform
import sys
import time
from collections.abc import Callable
from dataclasses import dataclass
from pathlib import Path
from typing import Any

import cv2  # type: ignore[import]
import norixengine
import numpy as np
import PIL  # type: ignore[import]
from norixengine import Params
from numpy.typing import NDArray
from PIL import Image, ImageFilter

Picture = NDArray[np.uint8]
Call = Callable[[], object]

BEGIN, END = "<!-- throughput begins -->", "<!-- throughput ends -->"


@dataclass(frozen=True)
class Way:
    """One way to the picture."""

    effect: str
    name: str
    #: What it does less or otherwise than the first way of the effect.
    difference: str
    #: Makes the call; the flag says whether on one thread.
    prepare: Callable[[Picture, bool], Call]
    #: Takes more threads by itself.
    threads: bool = True


def norix(params: Params) -> Callable[[Picture, bool], Call]:
    def prepare(image: Picture, single: bool) -> Call:
        out = np.empty_like(image)
        return lambda: norixengine.render(image, params, threads=1 if single else None, out=out)

    return prepare


def opencv(make: Callable[[Picture, Picture], Call]) -> Callable[[Picture, bool], Call]:
    return lambda image, single: make(image, np.empty_like(image))


def alone(make: Callable[[Picture], Call]) -> Callable[[Picture, bool], Call]:
    return lambda image, single: make(image)


def swirl_map(image: Picture, angle: float = 180.0) -> tuple[NDArray[np.float32], NDArray[np.float32]]:
    """Where the pixels of a swirl come from, columns and rows, as norixengine defines it, in float32."""
    height, width = image.shape[:2]
    dy = (np.arange(height, dtype=np.float32) / height - np.float32(0.5))[:, None]
    dx = (np.arange(width, dtype=np.float32) / width - np.float32(0.5))[None, :]
    distance = np.sqrt(dx * dx + dy * dy)
    theta = np.square(np.maximum(1 - distance, 0)) * np.float32(angle / 360 * 8)
    cosine, sine = np.cos(theta), np.sin(theta)
    x = (dx * cosine + dy * sine + np.float32(0.5)) * width
    y = (dy * cosine - dx * sine + np.float32(0.5)) * height
    return np.clip(x, 0, width - 1), np.clip(y, 0, height - 1)


def centred_map(image: Picture) -> tuple[NDArray[np.float32], NDArray[np.float32]]:
    """OpenCV takes the nearest of whole places, norixengine cuts places off."""
    x, y = swirl_map(image)
    return x - np.float32(0.5), y - np.float32(0.5)


def remap_afresh(image: Picture, out: Picture) -> Call:
    return lambda: cv2.remap(image, *centred_map(image), cv2.INTER_NEAREST, dst=out, borderMode=cv2.BORDER_REPLICATE)


def remap_ready(image: Picture, out: Picture) -> Call:
    maps = cv2.convertMaps(*centred_map(image), cv2.CV_16SC2, nninterpolation=True)
    return lambda: cv2.remap(image, *maps, cv2.INTER_NEAREST, dst=out, borderMode=cv2.BORDER_REPLICATE)


def numpy_swirl(image: Picture) -> Call:
    def run() -> Picture:
        x, y = swirl_map(image)
        return image[y.astype(np.intp), x.astype(np.intp)]

    return run


def pillow_mesh(image: Picture) -> Call:
    picture = Image.fromarray(image)
    x, y = swirl_map(image)
    width, height = picture.size
    step = 32
    mesh = []
    for top in range(0, height, step):
        for left in range(0, width, step):
            right, bottom = min(left + step, width), min(top + step, height)
            r, b = min(right, width - 1), min(bottom, height - 1)
            corners = ((top, left), (b, left), (b, r), (top, r))
            quad = [float(value) for row, column in corners for value in (x[row, column], y[row, column])]
            mesh.append(((left, top, right, bottom), quad))
    return lambda: picture.transform(picture.size, Image.Transform.MESH, mesh, Image.Resampling.NEAREST)


BLUR_WEIGHTS = np.array([19, 15, 11, 6, 26, 19, 15, 11, 6], np.float32) / 128


def filter2d_motion(image: Picture, out: Picture) -> Call:
    kernel = np.zeros((1, 17), np.float32)
    kernel[0, ::2] = BLUR_WEIGHTS
    return lambda: cv2.filter2D(image, -1, kernel, dst=out, borderType=cv2.BORDER_REPLICATE)


def shifted_sum_motion(image: Picture) -> Call:
    weights = (BLUR_WEIGHTS * 128).astype(np.uint16)

    def run() -> Picture:
        wide = np.pad(image, ((0, 0), (8, 8), (0, 0)), mode="edge").astype(np.uint16)
        width = image.shape[1]
        total = np.zeros(image.shape, np.uint16)
        for k, weight in enumerate(weights):
            total += weight * wide[:, 2 * k : 2 * k + width]
        return (total >> 7).astype(np.uint8)

    return run


RELIEF = np.array([[-2, -1, 0], [-1, 1, 1], [0, 1, 2]], np.float32)


def filter2d_emboss(image: Picture, out: Picture) -> Call:
    return lambda: cv2.filter2D(image, -1, RELIEF, dst=out, borderType=cv2.BORDER_REPLICATE)


def pillow_emboss(image: Picture) -> Call:
    picture = Image.fromarray(image)
    return lambda: picture.filter(ImageFilter.EMBOSS)


def vignette_mask(image: Picture) -> NDArray[np.float32]:
    height, width = image.shape[:2]
    y, x = np.ogrid[:height, :width]
    distance = np.hypot(x / width - 0.5, y / height - 0.5)
    factor = np.clip(1 - (distance - 0.2) / (0.9 - 0.2), 0, 1).astype(np.float32)
    return np.repeat(factor[..., None], 3, axis=2)


def multiply_vignette(image: Picture, out: Picture) -> Call:
    mask = vignette_mask(image)
    return lambda: cv2.multiply(image, mask, dst=out, dtype=cv2.CV_8U)


def numpy_vignette(image: Picture) -> Call:
    mask = vignette_mask(image)
    out = np.empty_like(image)
    return lambda: np.multiply(image, mask, out=out, casting="unsafe")


def numpy_mirror(image: Picture) -> Call:
    width = image.shape[1]
    columns = np.abs(np.arange(width) - width // 2 + 0.5).astype(np.intp)
    out = np.empty_like(image)
    return lambda: np.take(image, columns, axis=1, out=out, mode="clip")


def numpy_mirror_slices(image: Picture) -> Call:
    half = image.shape[1] // 2
    out = np.empty_like(image)

    def run() -> None:
        out[:, half:] = image[:, : image.shape[1] - half]
        out[:, :half] = image[:, :half][:, ::-1]

    return run


WAYS = [
    Way("Swirl", "norixengine", "", norix(Params("Swirl"))),
    Way(
        "Swirl",
        "OpenCV: remap, map of numpy",
        "places in float32, rounded: a twelfth of the pixels are neighbours",
        opencv(remap_afresh),
    ),
    Way(
        "Swirl",
        "OpenCV: remap, ready map",
        "the same, and the map is made once: only for a swirl that stands still",
        opencv(remap_ready),
    ),
    Way("Swirl", "numpy: fancy indexing", "places in float32", alone(numpy_swirl), False),
    Way(
        "Swirl",
        "Pillow: transform MESH",
        "ready mesh; bilinear within cells of 32 x 32, so the middle is coarse; no out",
        alone(pillow_mesh),
        False,
    ),
    Way("Motion Blur", "norixengine", "", norix(Params("Motion Blur", strength=2, angle=0))),
    Way("Motion Blur", "OpenCV: filter2D", "sums in float, rounded", opencv(filter2d_motion)),
    Way("Motion Blur", "numpy: shifted sums", "the same weights and rounding", alone(shifted_sum_motion), False),
    Way("Emboss", "norixengine", "", norix(Params("Emboss", amount=1))),
    Way("Emboss", "OpenCV: filter2D", "sums in float", opencv(filter2d_emboss)),
    Way(
        "Emboss",
        "Pillow: ImageFilter.EMBOSS",
        "another kernel, of two taps and an offset; edges are copied; no out",
        alone(pillow_emboss),
        False,
    ),
    Way("Vignette", "norixengine", "", norix(Params("Vignette"))),
    Way("Vignette", "OpenCV: multiply, ready mask", "the mask is made once; rounds", opencv(multiply_vignette)),
    Way("Vignette", "numpy: multiply, ready mask", "the mask is made once", alone(numpy_vignette), False),
    Way("Mirror Move X", "norixengine", "", norix(Params("Mirror Move X", offset=0.5))),
    Way("Mirror Move X", "numpy: take, ready columns", "the columns are made once", alone(numpy_mirror), False),
    Way("Mirror Move X", "numpy: slices", "this one move only", alone(numpy_mirror_slices), False),
]


def least(calls: dict[Any, Call], seconds: float) -> dict[Any, float]:
    """Milliseconds of the quickest call of each; they take turns for so many seconds."""
    best = dict.fromkeys(calls, float("inf"))
    for call in calls.values():
        call()
    end = time.perf_counter() + seconds * len(calls)
    rounds = 0
    while rounds < 5 or time.perf_counter() < end:
        rounds += 1
        for key, call in calls.items():
            begin = time.perf_counter()
            call()
            best[key] = min(best[key], (time.perf_counter() - begin) * 1000)
    return best


def machine() -> str:
    cpu = "an unknown processor"
    for line in Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            cpu = line.partition(":")[2].strip()
            break
    return (
        f"{cpu}, {len(os.sched_getaffinity(0))} cores, {norixengine.instruction_set()}; {platform.system()}, Python "
        f"{platform.python_version()}, numpy {np.__version__}, OpenCV {cv2.__version__}, Pillow {PIL.__version__}"
    )


def picture(width: int, height: int) -> Picture:
    """Smooth colours under a little noise."""
    y, x = np.mgrid[:height, :width]
    smooth = np.stack([x * 200 // width, y * 200 // height, (x + y) * 200 // (width + height)], axis=-1)
    noise = np.random.default_rng(1).integers(0, 56, smooth.shape)
    made: Picture = (smooth + noise).astype(np.uint8)
    return made


def table(width: int, height: int, seconds: float) -> str:
    image = picture(width, height)
    lines = [
        f"{width}x{height} RGB, milliseconds for one picture, the least of many calls in turns; in brackets how many "
        f"times as long as norixengine. {machine()}.",
        "",
        "| effect | way | one thread | its own threads | less or different |",
        "|---|---|---:|---:|---|",
    ]
    for effect in dict.fromkeys(way.effect for way in WAYS):
        ways = [way for way in WAYS if way.effect == effect]
        # OpenCV's number of threads belongs to the process.
        cv2.setNumThreads(1)
        single = least({way.name: way.prepare(image, True) for way in ways}, seconds)
        cv2.setNumThreads(-1)
        many = least({way.name: way.prepare(image, False) for way in ways if way.threads}, seconds)
        for way in ways:
            cells = [
                f"{times[way.name]:.2f} ({times[way.name] / times['norixengine']:.1f}x)" if way.name in times else "-"
                for times in (single, many)
            ]
            lines.append(f"| {effect} | {way.name} | {cells[0]} | {cells[1]} | {way.difference} |")
    return "\n".join(lines)


def main() -> int:
    parser = argparse.ArgumentParser(description="norixengine and the usual Python ways, milliseconds for one picture")
    parser.add_argument("--size", default="1920x1080", help="WIDTHxHEIGHT [1920x1080]")
    parser.add_argument("--seconds", type=float, default=1.0, help="measured for each call [1.0]")
    parser.add_argument("--write", type=Path, help="a Markdown file whose marks the table is put between")
    options = parser.parse_args()
    width, _, height = options.size.partition("x")
    if not (width.isdecimal() and height.isdecimal() and int(width) > 0 and int(height) > 0):
        parser.error(f"--size must be WIDTHxHEIGHT, such as 1920x1080, not {options.size!r}")
    result = table(int(width), int(height), options.seconds)
    print(result)
    if options.write:
        text = options.write.read_text()
        before, begin, rest = text.partition(BEGIN)
        _, end, after = rest.partition(END)
        if not begin or not end:
            parser.error(f"{options.write} has no place for the table: the lines {BEGIN!r} and {END!r}")
        options.write.write_text(f"{before}{BEGIN}\n\n{result}\n\n{END}{after}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
