"""The commands of the manual: GNU parallel, and Dask on this machine."""

from __future__ import annotations

import os
import subprocess
import sys
from pathlib import Path

import pytest
from batch_tools import NORIX, PATIENCE_SECONDS, assert_same_clip, ffmpeg, render_in_one_pass, run_batch
from manual import manual_blocks, manual_commands

_SWIRL_WORDS = ["--effect", "Swirl", "--codec", "ffv1"]


@pytest.fixture
def shell(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> Path:
    """A folder where a shell finds norix, and this Python as python3."""
    programs = tmp_path / "programs"
    programs.mkdir()
    (programs / "norix").symlink_to(NORIX)
    (programs / "python3").write_text(f'#!/bin/sh\nexec "{sys.executable}" "$@"\n')
    (programs / "python3").chmod(0o755)
    monkeypatch.setenv("PATH", f"{programs}:{os.environ['PATH']}")
    monkeypatch.setenv("HOME", str(tmp_path / "home"))
    (tmp_path / "home" / ".parallel").mkdir(parents=True)
    (tmp_path / "home" / ".parallel" / "will-cite").touch()
    return tmp_path


def _run(line: str, folder: Path) -> subprocess.CompletedProcess[str]:
    ending = subprocess.run(
        ["bash", "-o", "pipefail", "-c", line], cwd=folder, capture_output=True, text=True, timeout=PATIENCE_SECONDS
    )
    assert ending.returncode == 0, f"{line}\n{ending.stdout}\n{ending.stderr}"
    return ending


def _parallel_lines() -> list[str]:
    lines = [line for line in manual_commands() if "| parallel" in line]
    assert len(lines) == 2
    return lines


def test_gnu_parallel_renders_the_same(shell: Path, clips: Path) -> None:
    folder = shell / 'it\'s a "folder" & more'
    folder.mkdir()
    (folder / "a clip.mp4").write_bytes((clips / "clip.mp4").read_bytes())
    (folder / "plan.toml").write_text(
        """
[defaults]
codec = "ffv1"
[[defaults.effect]]
name = "Swirl"
[[clip]]
input = "a clip.mp4"
output = "it's $HOME.mkv"
pieces = 3
[[clip]]
input = "a clip.mp4"
output = "whole.mkv"
"""
    )
    for line in _parallel_lines():
        _run(line, folder)
    assert sorted(path.name for path in folder.iterdir()) == ["a clip.mp4", "it's $HOME.mkv", "plan.toml", "whole.mkv"]
    whole = render_in_one_pass(folder / "a clip.mp4", shell / "one.mkv", *_SWIRL_WORDS)
    assert_same_clip(folder / "it's $HOME.mkv", whole, lossless=True)
    assert_same_clip(folder / "whole.mkv", whole, lossless=True)


def test_only_what_is_missing_is_printed(clips: Path, tmp_path: Path) -> None:
    plan = tmp_path / "plan.toml"
    plan.write_text(
        f'[[clip]]\ninput = "{clips}/short.mp4"\noutput = "out.mkv"\npieces = 3\n[[clip.effect]]\nname = "Swirl"\n'
    )
    lines = run_batch(plan, "--print-parallel", "pieces", "--threads", "1").stdout.splitlines()
    assert len(lines) == 3 and all("--threads 1" in line for line in lines)
    subprocess.run(lines[1], shell=True, check=True, capture_output=True)
    again = run_batch(plan, "--print-parallel", "pieces", "--threads", "1", "--resume").stdout.splitlines()
    assert again == [lines[0], lines[2]]
    joins = run_batch(plan, "--print-parallel", "joins", "-y").stdout.splitlines()
    assert len(joins) == 1 and joins[0].endswith(f"--overwrite --join {tmp_path}/out.mkv")
    assert not (tmp_path / "out.mkv").exists()


def test_the_plan_of_the_manual(shell: Path, clips: Path) -> None:
    blocks = manual_blocks("toml")
    assert len(blocks) == 1
    (shell / "plan.toml").write_text(blocks[0].replace("piece-frames = 240", "piece-frames = 6"))
    for name, frames in (("bird.mp4", "9"), ("meadow.mp4", "40")):
        ffmpeg("-i", clips / "clip.mp4", "-frames:v", frames, shell / name)
    (shell / "bird.mp4").write_bytes((clips / "clip.mp4").read_bytes())
    commands = [
        line for line in manual_commands() if line.startswith("python3") and "scheduler" not in line and "|" not in line
    ]
    assert commands == ["python3 -m norixengine.batch plan.toml", "python3 -m norixengine.batch plan.toml --resume"]
    ending = _run(commands[0], shell)
    assert len(ending.stdout.splitlines()) == 3
    words = [
        "--effect",
        "Swirl",
        "--level",
        "0:10000",
        "--set",
        "centerX=0.3",
        "--group",
        "Flip Roll Left",
        "--codec",
        "ffv1",
    ]
    assert_same_clip(
        shell / "bird-swirled.mkv", render_in_one_pass(shell / "bird.mp4", shell / "one.mkv", *words), lossless=True
    )
    assert {"meadow-drawn.mp4", "both.mkv"} <= {path.name for path in shell.iterdir()}
