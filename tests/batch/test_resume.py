"""Going on with an earlier run, of the same plan and of one that has changed."""

from __future__ import annotations

import os
import subprocess
from pathlib import Path

import pytest
from batch_tools import assert_same_clip, render_in_one_pass, run_batch

_PLAN = """
[[clip]]
input = "clip.mp4"
output = "out.mkv"
codec = "ffv1"
pieces = 3
[[clip.effect]]
name = "Swirl"
"""


@pytest.fixture
def plan(clips: Path, tmp_path: Path) -> Path:
    """A plan of which all pieces are there, but not the joined file."""
    (tmp_path / "clip.mp4").write_bytes((clips / "short.mp4").read_bytes())
    path = tmp_path / "plan.toml"
    path.write_text(_PLAN)
    for line in run_batch(path, "--print-parallel", "pieces").stdout.splitlines():
        subprocess.run(line, shell=True, check=True, capture_output=True)
    assert len(_pieces(tmp_path)) == 3
    return path


def _pieces(folder: Path) -> dict[str, int]:
    """The pieces, and when they were written."""
    return {path.name: path.stat().st_mtime_ns for path in (folder / "out.mkv.pieces").glob("frames-*.mkv")}


def test_without_it_the_pieces_are_in_the_way(plan: Path, tmp_path: Path) -> None:
    before = _pieces(tmp_path)
    said = run_batch(plan, code=2).stderr
    assert f"'{tmp_path}/out.mkv.pieces' is left of an earlier run: --resume goes on with it; remove it" in said
    assert _pieces(tmp_path) == before


def test_pieces_that_fit_are_not_rendered_again(plan: Path, tmp_path: Path) -> None:
    before = _pieces(tmp_path)
    (tmp_path / "out.mkv.pieces" / "frames-0000003-0000005.mkv").unlink()
    ending = run_batch(plan, "--resume", "--keep-pieces")
    assert "clip 1 (out.mkv): 2 of 3 pieces are there already" in ending.stderr
    after = _pieces(tmp_path)
    assert {name for name in before if before[name] != after[name]} == {"frames-0000003-0000005.mkv"}
    whole = render_in_one_pass(tmp_path / "clip.mp4", tmp_path / "whole.mkv", "--effect", "Swirl", "--codec", "ffv1")
    assert_same_clip(tmp_path / "out.mkv", whole, lossless=True)

    # Once more: nothing is left to do, and the kept pieces go when they are not asked for again.
    ending = run_batch(plan, "--resume")
    assert ending.stdout == "" and "out.mkv' is finished" in ending.stderr
    assert not (tmp_path / "out.mkv.pieces").exists()


@pytest.mark.parametrize(
    ("old", "new", "why"),
    [
        ('name = "Swirl"', 'name = "Swirl"\nlevel = 1', "effects changed"),
        ("pieces = 3", "pieces = 3\nseed = 3", "seed changed"),
        ("pieces = 3", "pieces = 3\noptions = { g = 1 }", "options changed"),
        ("out.mkv", "out.mkv", "input changed"),
    ],
)
def test_a_changed_plan_is_noticed(plan: Path, tmp_path: Path, old: str, new: str, why: str) -> None:
    plan.write_text(plan.read_text().replace(old, new))
    if why == "input changed":
        os.utime(tmp_path / "clip.mp4", (0, 0))
    said = run_batch(plan, "--resume", "--print-parallel", "pieces")
    assert (
        f"pieces frames-0000000-0000002, frames-0000003-0000005, frames-0000006-0000008 no longer fit, {why}: "
        "rendered again"
    ) in said.stderr
    assert len(said.stdout.splitlines()) == 3
    assert not _pieces(tmp_path)


def test_pieces_cut_elsewhere_are_named(plan: Path, tmp_path: Path) -> None:
    before = _pieces(tmp_path)
    plan.write_text(plan.read_text().replace("pieces = 3", "piece-frames = 6"))
    said = run_batch(plan, "--resume", "--print-parallel", "pieces")
    assert (
        "pieces frames-0000000-0000002, frames-0000003-0000005 no longer fit, the pieces are cut at other frames"
        in said.stderr
    )
    assert "1 of 2 pieces is there already" in said.stderr
    assert len(said.stdout.splitlines()) == 1
    kept = "frames-0000006-0000008.mkv"
    assert _pieces(tmp_path) == {kept: before[kept]}


def test_an_output_that_was_replaced_meanwhile_stays(plan: Path, tmp_path: Path) -> None:
    run_batch(plan, "--resume", "--keep-pieces")
    (tmp_path / "out.mkv").write_text("mine")
    said = run_batch(plan, "--resume", code=2).stderr
    assert "out.mkv' exists; add overwrite = true, or -y" in said
    assert (tmp_path / "out.mkv").read_text() == "mine"
