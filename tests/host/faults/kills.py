"""Ends norix at any moment and looks at what is left."""

from __future__ import annotations

import random
import signal
from pathlib import Path

from clips import FRAMES, Clips
from judge import DONE, INTERRUPTED
from process import Ending, Signal, run

_PRECIOUS = b"what was there before"
# Begins with what the process does before it has begun to catch signals.
_MOST_SECONDS = 0.35


def _is_whole(path: Path) -> bool:
    ending = run(["ffmpeg", "-nostdin", "-v", "error", "-i", str(path), "-f", "framemd5", "-"], path.parent, 60)
    frames = sum(1 for line in ending.out.splitlines() if line.startswith("0,"))
    return ending.code == 0 and not ending.err and frames == FRAMES


def try_kill(
    rng: random.Random, norix: str, folder: Path, clips: Clips, limit: float
) -> tuple[str, Ending, list[str]]:
    """Sends a signal, or two, after a random time. Gives what was done, how it ended and what was wrong."""
    number = rng.choice([signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGKILL])
    clip = "h264.mp4"
    extension = rng.choice([".mp4", ".mkv", ".mov"])
    output = folder / f"out{extension}"
    (folder / clip).write_bytes(clips.content(clip))
    existing = rng.random() < 0.5
    if existing:
        output.write_bytes(_PRECIOUS)
    delay = rng.uniform(0, _MOST_SECONDS)
    signals = [Signal(number, delay)]
    if rng.random() < 0.3:
        signals.append(Signal(rng.choice([signal.SIGINT, signal.SIGTERM]), delay + rng.uniform(0, 0.03)))
    # No sound, so that frames can be counted without telling streams apart.
    words = [norix, "render", clip, output.name, "-y", "--effect", "Zoom Blur", "--video-only", "--progress", "none"]
    words += ["--option", "preset=veryslow"]
    ending = run(words, folder, limit, signals=tuple(signals))
    story = f"{' '.join(words[1:])} with {', '.join(f'{each.number} after {each.seconds:.3f} s' for each in signals)}"

    faults = []
    # Before the program catches signals they end it like any other.
    allowed = {DONE, INTERRUPTED, *(-each.number for each in signals)}
    if ending.late or ending.code not in allowed:
        faults.append(f"ended with {ending.code}: {ending.err}")
    left = {path.name for path in folder.iterdir()} - {clip, output.name}
    if ending.code >= 0 and left:
        faults.append(f"left {sorted(left)}")
    if ending.code == DONE:
        if not output.exists() or not _is_whole(output):
            faults.append("done, but the output is not whole")
    elif output.exists():
        untouched = existing and output.read_bytes() == _PRECIOUS
        if not untouched and (ending.code == INTERRUPTED or not _is_whole(output)):
            faults.append("the output is neither whole nor what was there before")
    elif existing:
        faults.append("what was there before is gone")
    # A later run copes with what is left.
    if left:
        second = run(words, folder, limit)
        still = {path.name for path in folder.iterdir()} - {clip, output.name}
        if second.code != DONE or still or not _is_whole(output):
            faults.append(f"the next run ended with {second.code} and left {sorted(still)}: {second.err}")
    return story, ending, faults
