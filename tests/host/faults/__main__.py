"""Runs norix on damaged clips, one for each seed, and holds every run to what norix promises.

Ends with a summary and 1 if a run broke a promise. A seed alone can be run again with --first SEED --seeds 1 --keep FOLDER.
"""

from __future__ import annotations

import argparse
import os
import random
import shutil
import sys
import tempfile
import time
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from pathlib import Path

import commands
import damage
import kills
from clips import RECIPES, Clips
from judge import judge
from process import Ending, run, without_core_files


@dataclass(frozen=True)
class Setup:
    """What all runs have in common."""

    norix: str
    clips: Clips
    limit: float  # seconds
    bounded: bool
    keep: Path | None


@dataclass(frozen=True)
class Result:
    """How the run of a seed went."""

    seed: int
    story: str
    ending: Ending
    faults: list[str]


def _words(command: commands.Command, inputs: list[str], threads: int) -> list[str]:
    files = inputs if command.name == "transition" else inputs[:1]
    return [command.name, *files, command.output, *command.words, "--threads", str(threads)]


def _without_speed(text: str) -> str:
    """The lines that are the same for every run: progress is not."""
    return "\n".join(line for line in text.splitlines() if " fps" not in line and '"fps"' not in line)


def try_seed(seed: int, setup: Setup) -> Result:
    """Damages a clip, runs norix on it and judges."""
    rng = random.Random(seed)
    folder = Path(tempfile.mkdtemp(prefix=f"faults-{seed}-"))
    try:
        if rng.random() < 0.08:
            told, ending, faults = kills.try_kill(rng, setup.norix, folder, setup.clips, setup.limit)
            return Result(seed, told, ending, faults)
        command = commands.draw(rng)
        inputs: dict[str, bytes] = {}
        story = []
        hurt = rng.randint(1, 3) if command.name == "transition" else 1
        for k in range(2 if command.name == "transition" else 1):
            clip = rng.choice(list(RECIPES))
            kind = damage.draw(rng) if hurt >> k & 1 else damage.leave
            name = f"{'ab'[k]}-{clip}"
            inputs[name] = bytes(kind(bytearray(setup.clips.content(clip)), rng))
            (folder / name).write_bytes(inputs[name])
            story.append(f"{clip} ({kind.__name__})")
        words = _words(command, list(inputs), command.threads)
        ending = run([setup.norix, *words], folder, setup.limit, bounded=setup.bounded)
        verdict = judge(ending, folder, inputs, command.output)
        if not verdict.faults and rng.random() < 0.3:
            # The same again on another number of threads.
            _remove(folder / command.output)
            again = run([setup.norix, *_words(command, list(inputs), 4)], folder, setup.limit, bounded=setup.bounded)
            other = judge(again, folder, inputs, command.output)
            verdict.faults += other.faults
            verdict.expect(again.code == ending.code, f"exit codes {ending.code} and {again.code}")
            same = _without_speed(again.err) == _without_speed(ending.err) and again.out == ending.out
            verdict.expect(same, f"other words: {ending.err}{ending.out} / {again.err}{again.out}")
            verdict.expect(verdict.video == other.video, "another video on other threads")
        if verdict.faults and setup.keep is not None:
            _remove(setup.keep / str(seed))
            shutil.copytree(folder, setup.keep / str(seed))
        return Result(seed, f"{', '.join(story)}: norix {' '.join(words)}", ending, verdict.faults)
    finally:
        shutil.rmtree(folder)


def _remove(path: Path) -> None:
    if path.is_dir():
        shutil.rmtree(path)
    else:
        path.unlink(missing_ok=True)


def summarise(results: list[Result], seconds: float) -> None:
    """Prints what came out."""
    codes = Counter(result.ending.code for result in results)
    told = ", ".join(f"{count} with {code}" for code, count in sorted(codes.items()))
    most = max(results, key=lambda result: result.ending.peak_kib)
    slowest = max(results, key=lambda result: result.ending.seconds)
    failed = [result.seed for result in results if result.faults]
    print(
        f"{len(results)} runs in {seconds:.0f} s; exit codes: {told}; "
        f"most memory {most.ending.peak_kib / 1024:.0f} MiB (seed {most.seed}); "
        f"longest {slowest.ending.seconds:.1f} s (seed {slowest.seed}); "
        f"{len(failed)} broke a promise{': seeds ' + ' '.join(map(str, failed)) if failed else ''}"
    )


def main() -> int:
    parser = argparse.ArgumentParser(prog="check-faults", description="Runs norix on damaged clips.")
    parser.add_argument("--norix", required=True, help="the command under test")
    parser.add_argument("--assets", type=Path, required=True, help="folder of the whole clips")
    parser.add_argument("--store", type=Path, required=True, help="folder that keeps what is made of them")
    parser.add_argument("--first", type=int, default=1, help="first seed [1]")
    parser.add_argument("--seeds", type=int, default=1000, help="number of seeds [1000]")
    parser.add_argument("--limit", type=float, default=30, help="seconds a run may take [30]")
    parser.add_argument("--unbounded", action="store_true", help="without a limit of the address space, for sanitizers")
    parser.add_argument("--keep", type=Path, help="folder for the files of runs that broke a promise")
    words = parser.parse_args()
    without_core_files()
    setup = Setup(words.norix, Clips(words.assets, words.store), words.limit, not words.unbounded, words.keep)
    begin = time.monotonic()
    results = []
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        for result in pool.map(lambda seed: try_seed(seed, setup), range(words.first, words.first + words.seeds)):
            results.append(result)
            for fault in result.faults:
                print(f"seed {result.seed}: {result.story}\n  {fault}", flush=True)
    summarise(results, time.monotonic() - begin)
    return 1 if any(result.faults for result in results) else 0


if __name__ == "__main__":
    sys.exit(main())
