"""Pieces that fail, runs that are interrupted, and what is done about them."""

from __future__ import annotations

import json
import os
import signal
import subprocess
from pathlib import Path

import pytest
from batch_tools import (
    NORIX,
    PATIENCE_SECONDS,
    assert_same_clip,
    batch_command,
    render_in_one_pass,
    run_batch,
    wait_until,
)

_PLAN = """
[[clip]]
input = "{clips}/clip.mp4"
output = "a.mkv"
codec = "ffv1"
pieces = 3
[[clip.effect]]
name = "Swirl"
level = "0:10000"
[[clip]]
input = "{clips}/short.mp4"
output = "b.mkv"
codec = "ffv1"
pieces = 2
[[clip.effect]]
name = "Comicbook"
"""
_WORDS = ["--effect", "Swirl", "--level", "0:10000", "--codec", "ffv1"]


@pytest.fixture
def plan(clips: Path, tmp_path: Path) -> Path:
    """A plan of two clips."""
    path = tmp_path / "plan.toml"
    path.write_text(_PLAN.format(clips=clips))
    return path


def _wrapper(folder: Path, script: str) -> Path:
    """A norix that does something of its own when it renders a piece of the second clip's or the first's."""
    path = folder / "wrapped-norix"
    path.write_text(
        f"""#!/bin/sh
case "$*" in
  *--video-only*)
    echo "$*" >> "{folder}/calls"
    {script}
    ;;
esac
exec "{NORIX}" "$@"
"""
    )
    path.chmod(0o755)
    return path


def _calls(folder: Path) -> list[str]:
    calls = folder / "calls"
    return calls.read_text().splitlines() if calls.exists() else []


def _leavings(folder: Path) -> list[str]:
    """Files that should never be left: parts of a piece or of an output."""
    return [path.name for path in folder.rglob("*") if path.name.startswith(".")]


def test_a_piece_that_fails_is_tried_again(plan: Path, clips: Path, tmp_path: Path) -> None:
    wrapper = _wrapper(
        tmp_path,
        f"""case "$*" in
      *"--start-frame 16"*) [ -e "{tmp_path}/failed" ] || {{ touch "{tmp_path}/failed"; exit 1; }} ;;
    esac""",
    )
    run_batch(plan, norix=wrapper)
    assert sum("--start-frame 16" in call for call in _calls(tmp_path)) == 2
    assert len(_calls(tmp_path)) == 6
    assert_same_clip(
        tmp_path / "a.mkv", render_in_one_pass(clips / "clip.mp4", tmp_path / "whole.mkv", *_WORDS), lossless=True
    )


def test_a_piece_that_goes_on_failing_is_reported_and_the_rest_goes_on(plan: Path, clips: Path, tmp_path: Path) -> None:
    wrapper = _wrapper(
        tmp_path,
        """case "$*" in
      *"--start-frame 16"*) echo "norix: error: the machine is on fire" >&2; exit 1 ;;
    esac""",
    )
    ending = run_batch(plan, "--retries", "1", norix=wrapper, code=1)
    assert sum("--start-frame 16" in call for call in _calls(tmp_path)) == 2
    assert ending.stdout == f"{tmp_path}/b.mkv: 9 frames, joined from 2 pieces\n"
    message = f"'{tmp_path}/a.mkv', piece 2 of 3 (frames 16 to 32): norix: the machine is on fire"
    assert f"norix batch: error: {message}\n" in ending.stderr
    assert "1 of 2 clips failed" in ending.stderr
    assert ending.stderr.endswith(f"  {message}\n")
    assert not (tmp_path / "a.mkv").exists()
    assert not _leavings(tmp_path)

    (tmp_path / "calls").unlink()
    ending = run_batch(plan, "--resume")
    assert "clip 1 (a.mkv): 2 of 3 pieces are there already" in ending.stderr
    assert "clip 2 (b.mkv): '" in ending.stderr and "b.mkv' is finished" in ending.stderr
    assert ending.stdout == f"{tmp_path}/a.mkv: 50 frames, joined from 3 pieces\n"
    assert_same_clip(
        tmp_path / "a.mkv", render_in_one_pass(clips / "clip.mp4", tmp_path / "whole.mkv", *_WORDS), lossless=True
    )
    assert not list(tmp_path.glob("*.pieces"))


def test_a_norix_that_is_killed_is_reported(plan: Path, tmp_path: Path) -> None:
    wrapper = _wrapper(
        tmp_path,
        f"""case "$*" in
      *"--start-frame 16"*) [ -e "{tmp_path}/failed" ] || {{ touch "{tmp_path}/failed"; kill -9 $$; }} ;;
    esac""",
    )
    ending = run_batch(plan, "--retries", "0", norix=wrapper, code=1)
    assert "(frames 16 to 32): norix was killed by signal 9" in ending.stderr


def test_a_piece_of_another_length_is_refused(plan: Path, tmp_path: Path) -> None:
    # As if the clip had turned out shorter than counted.
    wrapper = _wrapper(
        tmp_path,
        f"""case "$*" in
      *"--start-frame 16"*) exec "{NORIX}" "$@" --frames 16 ;;
    esac""",
    )
    wrapper.write_text(
        wrapper.read_text().replace('"$@" --frames 16', '$(echo "$@" | sed "s/--frames 17/--frames 16/")')
    )
    plan.write_text(plan.read_text().replace('name = "Swirl"\nlevel = "0:10000"', 'name = "Swirl"'))
    ending = run_batch(plan, "--retries", "0", norix=wrapper, code=1)
    assert "a.mkv', piece 2 of 3 (frames 16 to 32): has 16 frames, the plan 17" in ending.stderr
    assert len(list((tmp_path / "a.mkv.pieces").glob("*.mkv"))) == 2


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_an_interrupt_stops_norix_and_leaves_what_can_be_resumed(
    plan: Path, clips: Path, tmp_path: Path, number: signal.Signals
) -> None:
    # The process keeps its id when it becomes what it waits with.
    wrapper = _wrapper(
        tmp_path,
        f"""case "$*" in
      *"--start-frame 16"*)
        echo $$ > "{tmp_path}/pid.part"; mv "{tmp_path}/pid.part" "{tmp_path}/pid"
        exec sleep 1000 ;;
    esac""",
    )
    process = subprocess.Popen(
        batch_command(plan, "--workers", "1", norix=wrapper), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True
    )
    try:
        wait_until((tmp_path / "pid").exists, "a piece is being rendered")
        process.send_signal(number)
        _, err = process.communicate(timeout=PATIENCE_SECONDS)
    finally:
        process.kill()
    assert process.returncode == 130
    assert "interrupted; what is rendered stays, --resume goes on with it" in err
    assert "Traceback" not in err
    waiting = int((tmp_path / "pid").read_text())
    wait_until(lambda: not Path(f"/proc/{waiting}").exists(), "norix has ended")
    assert not _leavings(tmp_path)
    state = json.loads((tmp_path / "a.mkv.pieces" / "state.json").read_text())
    assert state["finished"] is None and len(state["pieces"]) == 3

    if number == signal.SIGTERM:
        return
    before = len(_calls(tmp_path))
    wrapper.write_text(wrapper.read_text().replace("exec sleep 1000", ":"))
    ending = run_batch(plan, "--resume", norix=wrapper)
    assert "clip 1 (a.mkv): 1 of 3 pieces is there already" in ending.stderr
    assert len(_calls(tmp_path)) == before + 4
    assert_same_clip(
        tmp_path / "a.mkv", render_in_one_pass(clips / "clip.mp4", tmp_path / "whole.mkv", *_WORDS), lossless=True
    )


def test_nothing_runs_while_earlier_pieces_are_in_the_way(plan: Path, tmp_path: Path) -> None:
    folder = tmp_path / "a.mkv.pieces"
    folder.mkdir()
    (folder / "mine.txt").write_text("mine")
    said = run_batch(plan, code=2).stderr
    assert f"'{folder}' exists and is no work folder" in said
    assert os.listdir(folder) == ["mine.txt"]
    assert not (tmp_path / "b.mkv.pieces").exists()
