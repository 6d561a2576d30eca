"""Dask: starts or finds the cluster, checks its workers, and runs the jobs on it."""

# Dask's calls are typed in part only.
# mypy: allow-untyped-calls

from __future__ import annotations

import logging
import os
import queue
import uuid
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from dataclasses import dataclass
from pathlib import Path
from typing import Any

import distributed

from norixengine.batch.errors import BatchError
from norixengine.batch.job import Job
from norixengine.batch.join import join_clip
from norixengine.batch.process import stop
from norixengine.batch.render import render_piece
from norixengine.batch.report import Report
from norixengine.batch.state import is_finished

_LOCAL = "local"
_SECONDS_BETWEEN_LOOKS = 1.0


def _quiet() -> None:
    # Lost workers and failed tasks are reported here, by clip and piece.
    for name in ("distributed", *(name for name in logging.root.manager.loggerDict if name.startswith("distributed."))):
        logging.getLogger(name).setLevel(logging.CRITICAL)


@contextmanager
def connect(scheduler: str, workers: int | None, patience: int) -> Iterator[distributed.Client]:
    """A client of the scheduler at that address, or of a cluster in this process for "local".

    :param scheduler: an address, the name of a scheduler file that ends with .json, or "local"
    :param patience: seconds to wait for the scheduler, and again for the workers

    :raises BatchError: nobody answers, or no worker comes
    """
    _quiet()
    if scheduler == _LOCAL:
        count = workers or max(1, len(os.sched_getaffinity(0)) // 2)
        with distributed.LocalCluster(
            n_workers=count, threads_per_worker=1, processes=False, dashboard_address=None, protocol="inproc://"
        ) as cluster, distributed.Client(cluster) as client:
            yield client
        return
    where = {"scheduler_file": scheduler} if scheduler.endswith(".json") else {"address": scheduler}
    try:
        if "scheduler_file" in where and not os.path.exists(scheduler):
            raise FileNotFoundError(scheduler)
        client = distributed.Client(**where, timeout=patience)
    except (OSError, ValueError, TimeoutError) as error:
        raise BatchError(
            f"no Dask scheduler answers at '{scheduler}': start one with dask-scheduler and give the address "
            "that it prints, such as tcp://192.168.1.10:8786"
        ) from error
    with client:
        try:
            client.wait_for_workers(workers or 1, timeout=patience)
        except TimeoutError as error:
            raise BatchError(
                f"the scheduler at '{scheduler}' has too few workers: start them with "
                f"dask-worker {client.scheduler.address} --nthreads 1"
            ) from error
        yield client


@dataclass(frozen=True)
class WorkerReport:
    """What a worker told about itself."""

    address: str
    host: str
    cores: int
    slots: int
    problems: tuple[str, ...]


def _inspector() -> Callable[..., dict[str, Any]]:
    # Nested, so that it is sent as it is: a worker need not have this package to say that it lacks it.
    def inspect(
        norix: str, fingerprint: str, files: list[str], folders: dict[str, str], dask_worker: Any
    ) -> dict[str, Any]:
        import os
        import socket
        import subprocess

        def told(*command: str) -> str:
            try:
                return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()
            except (OSError, subprocess.CalledProcessError):
                return ""

        missing = [name for name in files if not os.access(name, os.R_OK)]
        for folder, token in folders.items():
            if not (os.path.exists(os.path.join(folder, token)) and os.access(folder, os.W_OK)):
                missing.append(folder)
        try:
            from norixengine.batch.fingerprint import fingerprint as own_fingerprint

            same_package = own_fingerprint() == fingerprint
            package = "" if same_package else "has another version of norixengine.batch"
        except ImportError as error:
            package = f"cannot import norixengine.batch ({error}); set PYTHONPATH before starting dask-worker"
        return {
            "norix": told(norix, "--version").partition(" (")[0],
            "ffmpeg": bool(told("ffmpeg", "-version")),
            "ffprobe": bool(told("ffprobe", "-version")),
            "missing": missing,
            "package": package,
            "host": socket.gethostname(),
            "cores": len(os.sched_getaffinity(0)),
            "slots": dask_worker.state.nthreads,
        }

    return inspect


def inspect_workers(
    client: distributed.Client, norix: str, version: str, fingerprint: str, files: list[str], folders: list[Path]
) -> list[WorkerReport]:
    """Asks every worker for its norix and whether it sees the same files.

    :param files: that workers have to read
    :param folders: that workers have to write to
    """
    token = f".{uuid.uuid4().hex}.norix-batch"
    try:
        for folder in folders:
            (folder / token).touch()
        tokens = {str(folder): token for folder in folders}
        told = client.run(_inspector(), norix, fingerprint, files, tokens)
    finally:
        for folder in folders:
            (folder / token).unlink(missing_ok=True)
    return [_judge(address, each, norix, version) for address, each in told.items()]


def _judge(address: str, told: dict[str, Any], norix: str, version: str) -> WorkerReport:
    problems = []
    if not told["norix"]:
        problems.append(f"has no '{norix}'; install it there, or name it with --norix")
    elif told["norix"] != version:
        problems.append(f"has {told['norix']}, this machine has {version}; install the same")
    problems += [f"has no {tool}; install it there" for tool in ("ffmpeg", "ffprobe") if not told[tool]]
    if told["package"]:
        problems.append(told["package"])
    if told["missing"]:
        problems.append(
            f"does not see {', '.join(repr(name) for name in told['missing'][:3])}: inputs and outputs have to be "
            "in folders that all machines share under the same names"
        )
    return WorkerReport(address, str(told["host"]), int(told["cores"]), int(told["slots"]), tuple(problems))


def threads_of(reports: list[WorkerReport]) -> dict[str, int]:
    """Threads for norix on every worker, so that the tasks of a machine together use each core once."""
    slots: dict[str, int] = {}
    for report in reports:
        slots[report.host] = slots.get(report.host, 0) + report.slots
    return {report.address: max(1, report.cores // slots[report.host]) for report in reports}


def piece_task(job: Job, number: int, threads: dict[str, int], run_id: str) -> tuple[int, str]:
    """Renders a piece on a worker; gives its number of frames and the worker."""
    worker = distributed.get_worker()
    usual = max(1, len(os.sched_getaffinity(0)) // worker.state.nthreads)
    return render_piece(job, number, threads.get(worker.address, usual), run_id), worker.address


def join_task(job: Job, run_id: str) -> tuple[int, str]:
    """Joins a clip on a worker; gives its number of frames and the worker."""
    worker = distributed.get_worker()
    # After the loss of a worker this may be the second time.
    frames = job.frames or 0 if is_finished(job) else join_clip(job, run_id)
    return frames, worker.address


@dataclass
class _Waiting:
    """A job whose tasks are under way."""

    job: Job
    pieces_left: int
    failed: bool = False


class Runner:
    """Runs jobs on a cluster. Everything about retries, lost workers and order is left to Dask."""

    def __init__(self, client: distributed.Client, threads: dict[str, int], retries: int, report: Report) -> None:
        self._client = client
        self._threads = threads
        self._retries = retries
        self._report = report
        self._run_id = uuid.uuid4().hex
        self._ended: queue.Queue[distributed.Future] = queue.Queue()
        self._tasks: dict[str, tuple[_Waiting, int | None]] = {}
        self._futures: dict[str, distributed.Future] = {}

    def run(self, jobs: list[Job]) -> None:
        """Renders and joins all jobs, and reports what fails."""
        try:
            for order, job in enumerate(jobs):
                waiting = _Waiting(job, len(job.pieces))
                for number in range(len(job.pieces)):
                    self._submit(f"piece-{order}-{number}", -order, waiting, number)
            while self._futures:
                self._take()
        except BaseException:
            self._cancel()
            raise

    def _submit(self, name: str, priority: int, waiting: _Waiting, number: int | None) -> None:
        key = f"norix-{self._run_id}-{name}"
        options = {"key": key, "retries": self._retries, "priority": priority, "pure": False}
        if number is None:
            future = self._client.submit(join_task, waiting.job, self._run_id, **options)
        else:
            future = self._client.submit(piece_task, waiting.job, number, self._threads, self._run_id, **options)
        self._tasks[key] = (waiting, number)
        self._futures[key] = future
        future.add_done_callback(self._ended.put)

    def _take(self) -> None:
        try:
            future = self._ended.get(timeout=_SECONDS_BETWEEN_LOOKS)
        except queue.Empty:
            self._look_at_workers()
            return
        del self._futures[future.key]
        waiting, number = self._tasks.pop(future.key)
        problem = self._problem(future)
        if number is None:
            self._joined(waiting, future, problem)
        else:
            self._rendered(waiting, number, future, problem)

    def _problem(self, future: distributed.Future) -> str:
        """In words, empty when the task went well."""
        if future.status == "finished":
            return ""
        if future.status != "error":
            return "the scheduler has lost it"
        error = future.exception()
        if isinstance(error, distributed.KilledWorker):
            return "every worker that ran it died; too little memory, perhaps"
        return str(error) if isinstance(error, BatchError) else f"{type(error).__name__}: {error}"

    def _rendered(self, waiting: _Waiting, number: int, future: distributed.Future, problem: str) -> None:
        waiting.pieces_left -= 1
        label = waiting.job.piece_label(number)
        if problem:
            waiting.failed = True
            self._report.failure(waiting.job, problem if label in problem else f"{label}: {problem}")
        else:
            self._report.piece(waiting.job, number, *future.result())
        if waiting.pieces_left == 0 and not waiting.failed:
            # Before any further piece, so that a clip is finished as early as possible.
            self._submit(f"join-{uuid.uuid4().hex}", 1, waiting, None)

    def _joined(self, waiting: _Waiting, future: distributed.Future, problem: str) -> None:
        if problem:
            self._report.failure(waiting.job, problem)
        else:
            self._report.finished(waiting.job, *future.result())

    def _look_at_workers(self) -> None:
        if self._client.status != "running":
            raise BatchError("the connection to the scheduler is lost; what is rendered stays, go on with --resume")
        self._report.workers(len(self._client.scheduler_info()["workers"]))

    def _cancel(self) -> None:
        if self._client.status != "running":
            return
        self._client.cancel(list(self._futures.values()))
        self._client.run(stop, self._run_id)
