"""Joining, and what is refused to be joined."""

from __future__ import annotations

import json
import shutil
import subprocess
from fractions import Fraction
from pathlib import Path

import pytest
from batch_tools import NORIX, ffmpeg, run_batch, run_well

from norixengine.batch.check import check_result
from norixengine.batch.container import container_options
from norixengine.batch.errors import BatchError
from norixengine.batch.job import Job
from norixengine.batch.pieces import Piece
from norixengine.batch.plan import Clip
from norixengine.batch.probe import Rendered

_MIDDLE = "frames-0000003-0000005.mkv"


@pytest.fixture(scope="module")
def rendered(clips: Path, tmp_path_factory: pytest.TempPathFactory) -> Path:
    """A folder with a plan whose pieces are there."""
    folder = tmp_path_factory.mktemp("rendered")
    (folder / "plan.toml").write_text(
        f'[[clip]]\ninput = "{clips}/short.mp4"\noutput = "out.mkv"\npieces = 3\n[[clip.effect]]\nname = "Swirl"\n'
    )
    for line in run_batch(folder / "plan.toml", "--print-parallel", "pieces").stdout.splitlines():
        subprocess.run(line, shell=True, check=True, capture_output=True)
    return folder


@pytest.fixture
def plan(rendered: Path, tmp_path: Path) -> Path:
    """A plan of its own for every test."""
    shutil.copytree(rendered, tmp_path, dirs_exist_ok=True)
    return tmp_path / "plan.toml"


def _join(plan: Path, code: int = 0) -> str:
    ending = run_batch(plan, "--join", plan.with_name("out.mkv"), code=code)
    if code:
        assert not plan.with_name("out.mkv").exists()
        assert not [path for path in plan.parent.rglob(".*")]
    return ending.stderr


@pytest.mark.parametrize(
    ("arguments", "parameter"),
    [
        (["-vf", "scale=32:24"], "width is 32, that of the first piece 64"),
        (["-c:v", "ffv1"], "codec_name is ffv1, that of the first piece h264"),
        (["-pix_fmt", "yuv444p"], "is "),
        (["-refs", "1"], "extradata_"),
    ],
)
def test_pieces_that_disagree_are_refused(plan: Path, tmp_path: Path, arguments: list[str], parameter: str) -> None:
    piece = tmp_path / "out.mkv.pieces" / _MIDDLE
    piece.rename(tmp_path / "good.mkv")
    ffmpeg("-copyts", "-i", tmp_path / "good.mkv", *arguments, piece)
    said = _join(plan, code=1)
    assert "out.mkv', piece 2 of 3 (frames 3 to 5): cannot be joined: its " in said
    assert parameter in said
    assert f"remove '{piece}'" in said


def test_a_piece_that_is_missing(plan: Path, tmp_path: Path) -> None:
    (tmp_path / "out.mkv.pieces" / _MIDDLE).unlink()
    assert f"piece 2 of 3 (frames 3 to 5): '{tmp_path}/out.mkv.pieces/{_MIDDLE}' is missing" in _join(plan, code=1)


def test_a_piece_that_is_short(plan: Path, clips: Path, tmp_path: Path) -> None:
    piece = tmp_path / "out.mkv.pieces" / _MIDDLE
    run_well(
        NORIX,
        "render",
        clips / "short.mp4",
        piece,
        "-y",
        "--effect",
        "Swirl",
        "--video-only",
        "--keep-times",
        "--start-frame",
        "3",
        "--frames",
        "2",
    )
    assert "piece 2 of 3 (frames 3 to 5): has 2 frames, the plan 3" in _join(plan, code=1)


def test_a_frame_that_is_not_the_recorded_one(plan: Path, tmp_path: Path) -> None:
    piece = tmp_path / "out.mkv.pieces" / _MIDDLE
    run_batch(plan, "--resume", "--keep-pieces")
    (tmp_path / "out.mkv").unlink()
    record = piece.with_name(_MIDDLE + ".json")
    content = json.loads(record.read_text())
    content["hashes"][1] = "0" * 32
    record.write_text(json.dumps(content))
    said = _join(plan, code=1)
    assert "out.mkv', piece 2 of 3 (frames 3 to 5), frame 4: differs in the joined file" in said


def test_the_last_join_removes_the_work_folder(plan: Path, tmp_path: Path) -> None:
    _join(plan)
    assert sorted(path.name for path in tmp_path.iterdir()) == ["out.mkv", "plan.toml"]
    assert "no clip of the plan has this output" in run_batch(plan, "-y", "--join", "other.mkv", code=2).stderr


def _job(pieces: int) -> Job:
    clip = Clip("clip 1", ("in.mp4",), Path("out.mp4"), Path("work"), False)
    return Job(
        clip,
        "norix",
        "norix 1",
        tuple(Piece(2 * number, 2) for number in range(pieces)),
        joined=True,
        starts=tuple(Fraction(2 * number, 25) for number in range(pieces)),
        source_tick=Fraction(1, 25),
    )


def _rendered(hashes: str, ticks: list[int]) -> Rendered:
    return Rendered({}, tuple(hashes), tuple(ticks), 1, Fraction(1, 25))


def test_what_the_check_finds() -> None:
    job = _job(2)
    records = [_rendered("ab", [0, 1]), _rendered("cd", [0, 1])]
    check_result(job, records, _rendered("abcd", [0, 1, 2, 3]))
    check_result(job, records, _rendered("abcd", [7, 8, 9, 10]))
    for hashes, ticks, message in [
        ("abxd", [0, 1, 2, 3], "piece 2 of 2 (frames 2 to 3), frame 2: differs"),
        ("abc", [0, 1, 2], "has 3 frames, its pieces have 4"),
        ("abcde", [0, 1, 2, 3, 4], "has 5 frames, its pieces have 4"),
        (
            "abcd",
            [0, 1, 2, 5],
            "piece 2 of 2 (frames 2 to 3), frame 3: shows 0.200000 seconds after the first frame, not 0.12",
        ),
    ]:
        with pytest.raises(BatchError, match=message.replace("(", r"\(").replace(")", r"\)")):
            check_result(job, records, _rendered(hashes, ticks))


def test_options_of_the_container_are_told_from_the_encoders() -> None:
    options = (
        ("crf", "20"),
        ("movflags", "faststart"),
        ("g", "12"),
        ("preset", "slow"),
        ("metadata_header_padding", "9"),
    )
    assert container_options(".mp4", options) == [("movflags", "faststart"), ("metadata_header_padding", "9")]
    assert container_options(".mkv", options) == [("metadata_header_padding", "9")]
