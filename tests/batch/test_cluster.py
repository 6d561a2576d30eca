"""A Dask cluster of separate processes on this machine, started as users start theirs."""

from __future__ import annotations

import os
import shlex
import signal
import subprocess
from collections.abc import Iterator
from pathlib import Path

import pytest
from batch_tools import (
    NORIX,
    PATIENCE_SECONDS,
    assert_same_clip,
    batch_command,
    make_clip,
    render_in_one_pass,
    run_batch,
    wait_until,
)
from manual import manual_commands

_STEPS = """
[[clip.effect]]
name = "Zoom Blur"
level = "0:10000"
[[clip.effect]]
name = "Swirl"
"""
_WORDS = ["--effect", "Zoom Blur", "--level", "0:10000", "--effect", "Swirl", "--codec", "ffv1"]


class Cluster:
    """A scheduler and its workers, each with a norix of its own on the PATH."""

    def __init__(self, folder: Path) -> None:
        self.folder = folder
        self._processes: list[subprocess.Popen[bytes]] = []
        self._start("dask-scheduler", "--host 127.0.0.1 --port 0 --no-dashboard", dict(os.environ))
        wait_until((folder / "scheduler.json").exists, "the scheduler has written its file")

    def _start(self, program: str, more: str, environment: dict[str, str]) -> subprocess.Popen[bytes]:
        commands = [line for line in manual_commands() if line.startswith(program)]
        assert commands, f"the manual does not tell how to start {program}"
        words = shlex.split(commands[0]) + shlex.split(more)
        with (self.folder / "cluster.log").open("ab") as log:
            process = subprocess.Popen(
                words, cwd=self.folder, env=environment, stdout=log, stderr=log, start_new_session=True
            )
        self._processes.append(process)
        return process

    def add_worker(self, norix: str, **variables: str) -> subprocess.Popen[bytes]:
        """A worker to which "norix" is that script."""
        programs = self.folder / f"programs-{len(self._processes)}"
        programs.mkdir()
        (programs / "norix").write_text(f"#!/bin/sh\n{norix}\n")
        (programs / "norix").chmod(0o755)
        path = f"{programs}:{os.environ['PATH']}"
        return self._start(
            "dask-worker",
            f"--host 127.0.0.1 --local-directory {programs}",
            dict(os.environ) | {"PATH": path} | variables,
        )

    def close(self) -> None:
        """Ends all of it."""
        for process in self._processes:
            try:
                os.killpg(process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            process.wait()


@pytest.fixture
def cluster(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> Iterator[Cluster]:
    """A scheduler without workers; "norix" is on the PATH."""
    programs = tmp_path / "programs"
    programs.mkdir()
    (programs / "norix").symlink_to(NORIX)
    monkeypatch.setenv("PATH", f"{programs}:{os.environ['PATH']}")
    found = Cluster(tmp_path)
    yield found
    found.close()


def _state_of(process: int) -> str:
    """One letter, T for stopped; empty when the process is gone."""
    try:
        return Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()[0]
    except (FileNotFoundError, ProcessLookupError):
        return ""


def _is_told_to_end(process: int) -> bool:
    """True when SIGTERM waits for a process that stands still."""
    status = Path(f"/proc/{process}/status").read_text()
    waiting = next(line for line in status.splitlines() if line.startswith("ShdPnd:")).split()[1]
    return bool(int(waiting, 16) & 1 << (signal.SIGTERM - 1))


def _freeze(pid_file: Path, work: Path) -> int:
    """Stops the process that a worker's norix is while it writes a piece, and gives its id."""
    frozen: list[int] = []

    def attempt() -> bool:
        try:
            process = int(pid_file.read_text())
            command = Path(f"/proc/{process}/cmdline").read_bytes().split(b"\0")
            if command[0] != NORIX.encode() or not list(work.glob(f"*.{process}.part")):
                return False
            os.kill(process, signal.SIGSTOP)
        except (FileNotFoundError, ProcessLookupError, ValueError):
            return False
        wait_until(lambda: _state_of(process) in ("T", "Z", ""), "norix stands still")
        if _state_of(process) != "T" or not list(work.glob(f"*.{process}.part")):
            return False  # it was at its end
        frozen.append(process)
        return True

    wait_until(attempt, "the worker has a running norix")
    return frozen[-1]


def test_a_worker_that_is_killed_loses_nothing(cluster: Cluster, tmp_path: Path) -> None:
    clip = make_clip(tmp_path / "clip.mp4", 48, "-vf", "scale=480:360")
    plan = tmp_path / "plan.toml"
    plan.write_text(f'[[clip]]\ninput = "clip.mp4"\noutput = "out.mkv"\ncodec = "ffv1"\npiece-frames = 8\n{_STEPS}')
    pid_file = tmp_path / "pid"
    doomed = cluster.add_worker(
        f"""case "$*" in
      *--video-only*) echo $$ > "{pid_file}.part"; mv "{pid_file}.part" "{pid_file}" ;;
    esac
    exec "{NORIX}" "$@" """
    )
    cluster.add_worker(f'exec "{NORIX}" "$@"')
    run = subprocess.Popen(
        batch_command(plan, "--scheduler", tmp_path / "scheduler.json", "--workers", "2", norix="norix"),
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
    )
    try:
        norix = _freeze(pid_file, tmp_path / "out.mkv.pieces")
        # The worker and the nanny that would start it again: as if the machine was gone.
        os.killpg(doomed.pid, signal.SIGKILL)
        doomed.wait()
        wait_until(lambda: _is_told_to_end(norix), "the norix of the lost worker is told to end")
        os.kill(norix, signal.SIGCONT)
        wait_until(lambda: _state_of(norix) in ("Z", ""), "it has ended")
        out, err = run.communicate(timeout=PATIENCE_SECONDS)
    finally:
        run.kill()
    assert run.returncode == 0, err
    assert out == f"{tmp_path}/out.mkv: 48 frames, joined from 6 pieces\n"
    # Every piece is reported once, and all by one of the two.
    assert all(sum(f"piece {number} of 6 " in line for line in err.splitlines()) == 1 for number in range(1, 7))
    whole = render_in_one_pass(clip, tmp_path / "whole.mkv", *_WORDS)
    assert_same_clip(tmp_path / "out.mkv", whole, lossless=True)
    assert not (tmp_path / "out.mkv.pieces").exists()


def test_workers_are_checked_first(cluster: Cluster, clips: Path, tmp_path: Path) -> None:
    plan = tmp_path / "plan.toml"
    plan.write_text(f'[[clip]]\ninput = "{clips}/short.mp4"\noutput = "out.mkv"\npieces = 2\n{_STEPS}')
    alone = run_batch(plan, "--scheduler", tmp_path / "scheduler.json", "--wait", "1", code=1).stderr
    assert "has too few workers: start them with dask-worker tcp://127.0.0.1:" in alone
    cluster.add_worker('echo "norix 99.0 (AVX2)"')
    cluster.add_worker("exit 1", PYTHONPATH="")
    said = run_batch(
        plan, "--scheduler", tmp_path / "scheduler.json", "--workers", "2", "--resume", norix="norix", code=1
    ).stderr
    assert "has norix 99.0, this machine has norix " in said
    assert "has no 'norix'; install it there" in said
    assert "cannot import norixengine.batch" in said
    assert not (tmp_path / "out.mkv").exists()


def test_a_scheduler_that_is_not_there(clips: Path, tmp_path: Path) -> None:
    plan = tmp_path / "plan.toml"
    plan.write_text(f'[[clip]]\ninput = "{clips}/short.mp4"\noutput = "out.mkv"\n{_STEPS}')
    for address in ("tcp://127.0.0.1:1", "nonsense", str(tmp_path / "no.json")):
        said = run_batch(plan, "--scheduler", address, "--wait", "1", "--resume", code=1).stderr
        assert f"no Dask scheduler answers at '{address}'" in said
