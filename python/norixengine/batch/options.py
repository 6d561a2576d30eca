"""The command line."""

from __future__ import annotations

import argparse
from dataclasses import dataclass
from pathlib import Path

_EXAMPLES = """\
examples:
  python3 -m norixengine.batch plan.toml                                   on this machine
  python3 -m norixengine.batch plan.toml --scheduler tcp://10.0.0.5:8786   on a Dask cluster
  python3 -m norixengine.batch plan.toml --resume                          go on with an interrupted run
  python3 -m norixengine.batch plan.toml --print-parallel pieces | parallel
  python3 -m norixengine.batch plan.toml --print-parallel joins | parallel

a plan:
  [[clip]]
  input = "clip.mp4"
  output = "swirled.mkv"
  piece-frames = 240
  [[clip.effect]]
  name = "Swirl"
  level = "0:10000"

Exit codes: 0 done, 1 failed, 2 wrong usage or plan, 130 interrupted."""


@dataclass(frozen=True)
class Options:
    """All that the command line says."""

    plan: Path
    scheduler: str
    workers: int | None
    wait: int
    threads: int | None
    retries: int
    resume: bool
    overwrite: bool
    keep_pieces: bool
    print_parallel: str | None
    join: tuple[str, ...]
    norix: str
    quiet: bool


def _number(text: str, least: int) -> int:
    try:
        number = int(text)
    except ValueError:
        number = least - 1
    if number < least:
        raise argparse.ArgumentTypeError(f"'{text}' is not a whole number from {least} on")
    return number


def _from_one(text: str) -> int:
    return _number(text, 1)


def _from_zero(text: str) -> int:
    return _number(text, 0)


def parse_options(arguments: list[str] | None = None) -> Options:
    """Reads the command line; ends the process with 2 when it is wrong."""
    parser = argparse.ArgumentParser(
        prog="python3 -m norixengine.batch",
        epilog=_EXAMPLES,
        allow_abbrev=False,
        formatter_class=argparse.RawDescriptionHelpFormatter,
        description="Renders the clips of a plan with norix, long ones in pieces, on a Dask " "cluster.",
    )
    parser.add_argument("plan", metavar="PLAN", type=Path, help="TOML file that lists clips, effects and outputs")
    parser.add_argument(
        "--scheduler",
        default="local",
        metavar="ADDRESS",
        help="address or .json file of a Dask scheduler, or local for workers in this process [local]",
    )
    parser.add_argument(
        "--workers",
        type=_from_one,
        metavar="N",
        help="local: number of workers [half the cores]; otherwise how many to wait for [1]",
    )
    parser.add_argument(
        "--wait",
        type=_from_one,
        default=30,
        metavar="SECONDS",
        help="how long to wait for the scheduler and its workers [30]",
    )
    parser.add_argument(
        "--threads",
        type=_from_one,
        metavar="N",
        help="threads of every norix [so many that all workers of a machine use each core once]",
    )
    parser.add_argument(
        "--retries",
        type=_from_zero,
        default=2,
        metavar="N",
        help="how often a piece is tried again when norix fails [2]",
    )
    parser.add_argument(
        "--resume",
        action="store_true",
        help="go on with an earlier run; pieces that still fit the plan are not rendered again",
    )
    parser.add_argument("-y", "--overwrite", action="store_true", help="replace outputs that exist")
    parser.add_argument("--keep-pieces", action="store_true", help="keep the work folders of finished clips")
    parser.add_argument(
        "--print-parallel",
        choices=("pieces", "joins"),
        help="render nothing, print one command per line for GNU parallel: first the pieces, then the joins",
    )
    parser.add_argument(
        "--join",
        action="append",
        default=[],
        metavar="OUTPUT",
        help="join the pieces of this output, here and without Dask; repeatable",
    )
    parser.add_argument(
        "--norix", default="norix", metavar="COMMAND", help="the norix command, on all machines [norix]"
    )
    parser.add_argument("-q", "--quiet", action="store_true", help="say nothing but errors on stderr")
    found = parser.parse_args(arguments)
    if found.join and found.print_parallel:
        parser.error("--join and --print-parallel exclude each other")
    return Options(
        plan=found.plan,
        scheduler=found.scheduler,
        workers=found.workers,
        wait=found.wait,
        threads=found.threads,
        retries=found.retries,
        resume=found.resume,
        overwrite=found.overwrite,
        keep_pieces=found.keep_pieces,
        print_parallel=found.print_parallel,
        join=tuple(found.join),
        norix=found.norix,
        quiet=found.quiet,
    )
