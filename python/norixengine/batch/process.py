"""Runs norix, ffmpeg and ffprobe so that they can be stopped from another thread."""

from __future__ import annotations

import shutil
import subprocess
import threading
from dataclasses import dataclass

from norixengine.batch.errors import BatchError, Interrupted


@dataclass(frozen=True)
class Ending:
    """How a process ended."""

    code: int
    out: str
    err: str


_lock = threading.Lock()
_running: dict[str, set[subprocess.Popen[str]]] = {}
_stopped: set[str] = set()


def _bound_to_this_process(command: list[str]) -> list[str]:
    # A worker that is killed takes what it started with it.
    setpriv = shutil.which("setpriv")
    return [setpriv, "--pdeathsig", "TERM", "--", *command] if setpriv else command


def run(command: list[str], run_id: str = "") -> Ending:
    """Runs a command to its end.

    :param run_id: what :func:`stop` stops; processes of no run are not stopped
    :raises Interrupted: the run was stopped
    :raises BatchError: the program does not exist
    """
    if not shutil.which(command[0]):
        raise BatchError(f"the program '{command[0]}' was not found")
    with _lock:
        if run_id in _stopped:
            raise Interrupted("interrupted")
        # A group of its own: an interrupt from the terminal is passed on by stop() alone.
        process = subprocess.Popen(
            _bound_to_this_process(command),
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            errors="replace",
            start_new_session=True,
        )
        _running.setdefault(run_id, set()).add(process)
    try:
        out, err = process.communicate()
    except BaseException:
        process.terminate()
        process.wait()
        raise
    finally:
        with _lock:
            _running[run_id].discard(process)
            if not _running[run_id]:
                del _running[run_id]
    if run_id in _stopped:
        raise Interrupted("interrupted")
    return Ending(process.returncode, out, err)


def run_well(command: list[str], run_id: str = "") -> str:
    """Runs a command that must succeed, and gives what it wrote to stdout.

    :raises BatchError: it failed; the text is what it wrote to stderr
    """
    ending = run(command, run_id)
    if ending.code == 0:
        return ending.out
    said = ending.err.strip() or f"ended with {ending.code} and without a word"
    raise BatchError(f"{command[0]}: {said}")


def stop(run_id: str) -> int:
    """Ends the processes of a run in this process, and lets it start no more. Gives how many there were."""
    with _lock:
        _stopped.add(run_id)
        processes = list(_running.get(run_id, ()))
    for process in processes:
        process.terminate()
    return len(processes)
