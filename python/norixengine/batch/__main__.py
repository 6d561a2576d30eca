"""python3 -m norixengine.batch PLAN"""

from __future__ import annotations

import os
import signal
import sys
from pathlib import Path
from types import FrameType

from norixengine.batch.catalogue import read_catalogue, read_version
from norixengine.batch.errors import DONE, FAILED, INTERRUPTED, USAGE, BatchError, Interrupted, PlanError
from norixengine.batch.fingerprint import fingerprint
from norixengine.batch.job import Job
from norixengine.batch.join import join_clip
from norixengine.batch.options import Options, parse_options
from norixengine.batch.parallel import join_lines, piece_lines
from norixengine.batch.plan import Plan, is_address, load_plan
from norixengine.batch.prepare import prepare, settle
from norixengine.batch.report import Report
from norixengine.batch.state import is_finished, remove_work


def _run_on_cluster(jobs: list[Job], options: Options, report: Report) -> None:
    # Here and not above: Dask is large, and the other ways do without it.
    from norixengine.batch.cluster import Runner, connect, inspect_workers, threads_of

    with connect(options.scheduler, options.workers, options.wait) as client:
        files = sorted({name for job in jobs for name in job.clip.inputs if not is_address(name)})
        folders = sorted({path for job in jobs for path in (job.clip.work, job.clip.output.parent)})
        workers = inspect_workers(client, options.norix, jobs[0].version, fingerprint(), files, folders)
        problems = [f"the worker {each.address} {problem}" for each in workers for problem in each.problems]
        if problems:
            raise BatchError("\n".join(problems))
        threads = threads_of(workers)
        if options.threads:
            threads = {address: options.threads for address in threads}
        report.note(f"{len(workers)} worker{'s' if len(workers) > 1 else ''}")
        Runner(client, threads, options.retries, report).run(jobs)


def _join_here(jobs: list[Job], report: Report) -> None:
    for job in jobs:
        try:
            frames = join_clip(job)
        except Interrupted:
            raise
        except BatchError as error:
            report.failure(job, str(error))
        else:
            report.finished(job, frames, "")


def _chosen(jobs: list[Job], names: tuple[str, ...]) -> list[Job]:
    chosen = []
    for name in names:
        path = Path(os.path.abspath(name))
        found = [job for job in jobs if job.clip.output == path]
        if not found:
            raise PlanError([f"--join {name}: no clip of the plan has this output"])
        chosen += found
    return chosen


def _clean_up(jobs: list[Job], options: Options) -> None:
    """Removes the work folders once the whole plan is finished; until then they tell what is done."""
    if options.keep_pieces or not all(is_finished(job) for job in jobs):
        return
    for job in jobs:
        remove_work(job.clip.work)


def _options_for_joins(options: Options) -> list[str]:
    words = ["--norix", options.norix] if options.norix != "norix" else []
    words += ["--overwrite"] if options.overwrite else []
    return words + (["--keep-pieces"] if options.keep_pieces else [])


def _read(options: Options) -> tuple[Plan, list[Job]]:
    version = read_version(options.norix)
    plan = load_plan(options.plan, read_catalogue(options.norix), options.overwrite)
    return plan, prepare(plan, options.norix, version)


def _render(options: Options) -> int:
    plan, jobs = _read(options)
    # Joins belong to an earlier step by their nature.
    resume = options.resume or bool(options.join) or options.print_parallel == "joins"
    jobs, notes = settle(jobs, plan, resume)
    to_do = [job for job in (_chosen(jobs, options.join) if options.join else jobs) if not job.done]
    report = Report(to_do, options.quiet)
    for text in [*(f"{job.clip.label}: {note}" for job in to_do for note in job.notes), *notes]:
        report.note(text)
    if options.print_parallel:
        lines = (
            piece_lines(jobs, options.threads)
            if options.print_parallel == "pieces"
            else join_lines(jobs, options.plan, _options_for_joins(options))
        )
        print("".join(f"{line}\n" for line in lines), end="", flush=True)
        return DONE
    if options.join:
        _join_here(to_do, report)
    elif to_do:
        _run_on_cluster(to_do, options, report)
    _clean_up(jobs, options)
    if report.failures:
        report.summary()
        return FAILED
    return DONE


def _interrupt(number: int, frame: FrameType | None) -> None:
    del number, frame
    raise KeyboardInterrupt


def main(arguments: list[str] | None = None) -> int:
    """Runs the command and gives its exit code."""
    options = parse_options(arguments)
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, _interrupt)
    try:
        return _render(options)
    except PlanError as error:
        _tell(error.problems)
        return USAGE
    except (KeyboardInterrupt, Interrupted):
        _tell(["interrupted; what is rendered stays, --resume goes on with it"])
        return INTERRUPTED
    except BatchError as error:
        _tell(str(error).splitlines())
        return FAILED


def _tell(problems: list[str]) -> None:
    for problem in problems:
        print(f"norix batch: error: {problem}", file=sys.stderr)


if __name__ == "__main__":
    sys.exit(main())
