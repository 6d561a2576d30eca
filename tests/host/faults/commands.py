"""What norix is asked to do with the damaged clips."""

from __future__ import annotations

import random
from dataclasses import dataclass

EFFECTS = ["Swirl", "Zoom Blur", "Mirror Move X", "Mirror Move Y", "Vignette", "Emboss", "Ripple", "Motion Blur", "Sketch"]
GROUPS = ["Flip Roll Left", "Mirror Scale Blur", "Tile Zoom Blur", "Blurry Cross Right Up"]

# The output's extension and, where it is not what norix itself chooses, the encoder. Fast ones.
OUTPUTS: list[tuple[str, list[str]]] = [
    (".mkv", ["--codec", "ffv1"]),
    (".mkv", ["--option", "preset=ultrafast"]),
    (".mkv", ["--codec", "mpeg4"]),
    (".mkv", ["--codec", "rawvideo"]),
    (".mp4", ["--option", "preset=ultrafast"]),
    (".mp4", ["--codec", "mpeg4"]),
    (".mov", ["--option", "preset=ultrafast"]),
    (".mov", ["--codec", "qtrle"]),
    (".mov", ["--codec", "prores_ks"]),
    (".webm", ["--codec", "libvpx", "--option", "deadline=good", "--option", "cpu-used=5"]),
    (".avi", []),
    (".avi", ["--codec", "mjpeg"]),
    (".ts", ["--option", "preset=ultrafast"]),
    (".mpg", []),
    (".flv", ["--option", "preset=ultrafast"]),
    (".ogv", []),
    (".nut", ["--codec", "ffv1"]),
    (".gif", []),
    (".png", []),
    (".jpg", []),
]


@dataclass(frozen=True)
class Command:
    """A command line without its files."""

    name: str  # of norix's command
    output: str  # name of the file, or of the gallery's folder
    words: list[str]
    threads: int


def draw(rng: random.Random) -> Command:
    """Any command; render most often."""
    kind = rng.choices(["render", "transition", "gallery"], [78, 14, 8])[0]
    threads = rng.choice([1, 2, 3, 5])
    if kind == "gallery":
        return Command(kind, "gallery", ["--width", "8"] + (["--frame", "3"] if rng.random() < 0.4 else []), threads)
    extension, words = rng.choice(OUTPUTS)
    words = words + ["--progress", rng.choice(["none", "plain", "json"])]
    if kind == "transition":
        words += ["--group", rng.choice(GROUPS), "--duration", rng.choice(["0.05", "0.2", "0.4"])]
        return Command(kind, "out" + extension, words, threads)
    for _ in range(rng.choice([1, 1, 1, 2, 4])):
        if rng.random() < 0.25:
            words += ["--group", rng.choice(GROUPS)]
        else:
            words += ["--effect", rng.choice(EFFECTS), "--level", rng.choice(["0", "5000", "10000", "0:10000", "9000:200"])]
    if rng.random() < 0.2:
        words += ["--format", rng.choice(["yuv420p", "rgb24", "bgra"])]
    if rng.random() < 0.15:
        words += ["--start-frame", str(rng.randint(0, 9)), "--frames", str(rng.randint(1, 9))]
    if extension in (".png", ".jpg"):
        words += ["--frames", "1"] if "--frames" not in words else []
    for option in ("--video-only", "--keep-times"):
        if rng.random() < 0.1:
            words.append(option)
    if rng.random() < 0.1:
        words += ["--bands", str(rng.randint(2, 5))]
    return Command(kind, "out" + extension, words, threads)
