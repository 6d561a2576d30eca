"""Runs a program to its end and tells how it ended."""

from __future__ import annotations

import os
import resource
import subprocess
import tempfile
import threading
import time
from dataclasses import dataclass
from pathlib import Path

# More than any run needs; a run that takes it shows as a failure of its own instead of taking the machine's memory.
_MOST_ADDRESS_SPACE = 8 << 30


@dataclass(frozen=True)
class Ending:
    """How a process ended."""

    code: int  # negative: the signal that ended it
    late: bool  # it was killed because it took too long
    peak_kib: int  # most memory it ever held
    seconds: float
    out: str
    err: str


@dataclass(frozen=True)
class Signal:
    """A signal to be sent after a time."""

    number: int
    seconds: float


def run(
    command: list[str], folder: Path, limit: float, *, bounded: bool = False, signals: tuple[Signal, ...] = ()
) -> Ending:
    """Runs a command in a folder. `bounded`: with an address space that has an end."""
    if bounded:
        command = ["prlimit", f"--as={_MOST_ADDRESS_SPACE}", "--core=0", "--", *command]
    begin = time.monotonic()
    with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
        process = subprocess.Popen(command, cwd=folder, stdin=subprocess.DEVNULL, stdout=out, stderr=err)
        late = threading.Event()

        def kill() -> None:
            late.set()
            os.kill(process.pid, 9)

        timers = [threading.Timer(limit, kill)]
        timers += [threading.Timer(each.seconds, os.kill, (process.pid, each.number)) for each in signals]
        for timer in timers:
            timer.start()
        # Nobody else waits for the process, so until here its number is its own.
        os.waitid(os.P_PID, process.pid, os.WEXITED | os.WNOWAIT)
        for timer in timers:
            timer.cancel()
        for timer in timers:
            timer.join()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        seconds = time.monotonic() - begin
        out.seek(0)
        err.seek(0)
        return Ending(
            process.returncode,
            late.is_set(),
            usage.ru_maxrss,
            seconds,
            out.read().decode(errors="replace"),
            err.read().decode(errors="replace"),
        )


def without_core_files() -> None:
    """Crashes are told by their signal; nobody reads thousands of core files."""
    resource.setrlimit(resource.RLIMIT_CORE, (0, resource.getrlimit(resource.RLIMIT_CORE)[1]))
