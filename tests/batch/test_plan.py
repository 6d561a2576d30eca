"""What a plan may say, and what is said about one that cannot be."""

from __future__ import annotations

from pathlib import Path

import pytest
from batch_tools import run_batch

from norixengine.batch.catalogue import Catalogue
from norixengine.batch.errors import PlanError
from norixengine.batch.plan import Plan, Step, load_plan

_CATALOGUE = Catalogue({"Swirl": ["centerX", "centerY"], "Comicbook": []}, ["Flip Roll Left"], (0, 10000))

_GOOD = """
[[clip]]
input = "in.mp4"
output = "out.mkv"
"""
_EFFECT = """
[[clip.effect]]
name = "Swirl"
"""


def _load(folder: Path, text: str) -> Plan:
    for name in ("in.mp4", "other.mp4"):
        (folder / name).touch()
    (folder / "plan.toml").write_text(text)
    return load_plan(folder / "plan.toml", _CATALOGUE)


def _problems(folder: Path, text: str) -> list[str]:
    with pytest.raises(PlanError) as caught:
        _load(folder, text)
    return caught.value.problems


@pytest.mark.parametrize(
    ("text", "message"),
    [
        ("", "no [[clip]] and no [[transition]]"),
        ("[[clip]", "not TOML"),
        ("clip = 3", "clip = 3: should be tables [[clip]]"),
        ("defaults = 3", "defaults = 3: should be a table"),
        ("[clips]\n" + _GOOD + _EFFECT, 'unknown key "clips"; did you mean "clip"?'),
        (
            _GOOD + "colour = 3\n" + _EFFECT,
            'clip 1 (out.mkv): unknown key "colour"; keys here are: at-key-frames, bands',
        ),
        (_GOOD + "piece_frames = 3\n" + _EFFECT, 'unknown key "piece_frames"; did you mean "piece-frames"?'),
        (_GOOD, "no effect: add [[clip.effect]]"),
        (_GOOD + "effect = []", "the list of effects is empty"),
        (_GOOD + 'effect = "Swirl"', 'effect = "Swirl": should be tables'),
        ('[[clip]]\noutput = "out.mkv"\n' + _EFFECT, 'the key "input" is missing'),
        ('[[clip]]\ninput = "in.mp4"\n' + _EFFECT, 'clip 1: the key "output" is missing'),
        ('[[clip]]\ninput = 3\noutput = "out.mkv"\n' + _EFFECT, "input = 3: should be a text"),
        ('[[clip]]\ninput = "no.mp4"\noutput = "out.mkv"\n' + _EFFECT, "input: there is no file"),
        ('[[clip]]\ninput = "."\noutput = "out.mkv"\n' + _EFFECT, "is a folder; name a video file"),
        ('[[clip]]\ninput = "in.mp4"\noutput = "in.mp4"\n' + _EFFECT, "is its own input"),
        ('[[clip]]\ninput = "in.mp4"\noutput = "out"\n' + _EFFECT, "has no extension"),
        ('[[clip]]\ninput = "in.mp4"\noutput = "no/out.mkv"\n' + _EFFECT, "there is no folder"),
        (_GOOD + _EFFECT + _GOOD + _EFFECT, "is the output of clip 1 (out.mkv) as well"),
        (_GOOD + _EFFECT + '[[clip]]\ninput = "other.mp4"\noutput = "./in.mp4"\n' + _EFFECT, "is an input of clip 1"),
        (_GOOD + 'pieces = "4"\n' + _EFFECT, 'pieces = "4": should be a whole number from 1'),
        (_GOOD + "pieces = true\n" + _EFFECT, "pieces = true: should be a whole number"),
        (_GOOD + "pieces = 0\n" + _EFFECT, "pieces = 0: should be"),
        (_GOOD + "piece-frames = 2.5\n" + _EFFECT, "piece-frames = 2.5: should be"),
        (_GOOD + "pieces = 2\npiece-frames = 5\n" + _EFFECT, "exclude each other"),
        (_GOOD + "at-key-frames = 1\n" + _EFFECT, "at-key-frames = 1: should be true or false"),
        (_GOOD + "overwrite = 1\n" + _EFFECT, "overwrite = 1: should be true or false"),
        (_GOOD + "codec = 3\n" + _EFFECT, "codec = 3: should be a text"),
        (_GOOD + 'format = "rgba"\n' + _EFFECT, 'format = "rgba": should be one of yuv420p, rgb24, bgra'),
        (_GOOD + "seed = -1\n" + _EFFECT, "seed = -1: should be"),
        (_GOOD + "duration = 0\n" + _EFFECT, "duration = 0: should be seconds"),
        (_GOOD + "options = 3\n" + _EFFECT, "options = 3: should be a table"),
        (_GOOD + "options = { crf = [1] }\n" + _EFFECT, "options: crf = [1]: should be a text or a number"),
        (_GOOD + '[[clip.effect]]\nname = "Swril"', 'effect 1: there is no effect "Swril"; did you mean "Swirl"?'),
        (_GOOD + "[[clip.effect]]\nlevel = 3", 'give a "name" for an effect or a "group"'),
        (
            _GOOD + '[[clip.effect]]\nname = "Swirl"\ngroup = "Flip Roll Left"',
            'give a "name" for an effect or a "group"',
        ),
        (_GOOD + '[[clip.effect]]\ngroup = "Flip"', 'there is no group "Flip"'),
        (_GOOD + '[[clip.effect]]\ngroup = "Flip Roll Left"\nlevel = 3', '"level" is for effects'),
        (_GOOD + _EFFECT + "level = 10001", "level = 10001: should be a whole number from 0 to 10000"),
        (_GOOD + _EFFECT + "level = 2.5", "level = 2.5: should be"),
        (_GOOD + _EFFECT + "level = true", "level = true: should be"),
        (_GOOD + _EFFECT + 'level = "0:1:2"', 'level = "0:1:2": should be'),
        (_GOOD + _EFFECT + 'level = "0:x"', 'level = "0:x": should be'),
        (_GOOD + _EFFECT + "lvel = 3", 'unknown key "lvel"; did you mean "level"?'),
        (_GOOD + _EFFECT + "set = { middle = 3 }", 'set: "Swirl" has no field "middle"; it has: centerX, centerY'),
        (_GOOD + _EFFECT + "set = { centerx = 3 }", 'did you mean "centerX"?'),
        (_GOOD + _EFFECT + 'set = { centerX = "3" }', 'set: centerX = "3": should be a number'),
        (_GOOD + _EFFECT + "set = { centerX = nan }", "set: centerX = nan: should be a number"),
        ('[[transition]]\nfirst = "in.mp4"\nsecond = "other.mp4"\noutput = "o.mp4"', 'the key "group" is missing'),
        ('[[transition]]\nfirst = "in.mp4"\noutput = "o.mp4"\ngroup = "Flip Roll Left"', 'the key "second" is missing'),
        (
            '[[transition]]\nfirst = "in.mp4"\nsecond = "other.mp4"\noutput = "o.mp4"\n'
            'group = "Flip Roll Left"\npieces = 2',
            'transition 1 (o.mp4): unknown key "pieces"',
        ),
        (
            '[defaults]\nwork = "w"\n[[defaults.effect]]\nname = "Swirl"\n'
            '[[clip]]\ninput = "in.mp4"\noutput = "a-b.mkv"\n[[clip]]\ninput = "in.mp4"\noutput = "a/b.mkv"\n',
            "is the work folder of clip 1 (a-b.mkv) as well",
        ),
        ('[defaults]\ninput = "in.mp4"\n' + _GOOD + _EFFECT, 'defaults: unknown key "input"'),
        ('[defaults]\npieces = "x"\n' + _GOOD + _EFFECT, 'defaults: pieces = "x"'),
    ],
)
def test_problem(tmp_path: Path, text: str, message: str) -> None:
    (tmp_path / "a").mkdir()
    problems = _problems(tmp_path, text)
    assert len(problems) == 1, problems
    assert problems[0].startswith(str(tmp_path / "plan.toml"))
    assert message in problems[0]


def test_all_problems_are_said_together(tmp_path: Path) -> None:
    problems = _problems(
        tmp_path,
        _GOOD + "pieces = 0\ncolour = 1\n" + _EFFECT + "level = -1\n"
        '[[clip]]\ninput = "no.mp4"\noutput = "o.mkv"\n' + _EFFECT,
    )
    assert len(problems) == 4
    assert sum("clip 1 (out.mkv)" in problem for problem in problems) == 3
    assert sum("clip 2 (o.mkv)" in problem for problem in problems) == 1


def test_a_plan_that_is_not_there(tmp_path: Path) -> None:
    with pytest.raises(PlanError, match="cannot read the plan"):
        load_plan(tmp_path / "no.toml", _CATALOGUE)


def test_defaults_hold_unless_a_clip_says_otherwise(tmp_path: Path) -> None:
    plan = _load(
        tmp_path,
        """
[defaults]
codec = "ffv1"
pieces = 4
options = { g = 1, preset = "slow", flag = true }
overwrite = true
at-key-frames = true
[[defaults.effect]]
name = "Swirl"
level = "0:10000"
set = { centerX = 0.25 }
[[clip]]
input = "in.mp4"
output = "a.mkv"
[[clip]]
input = "in.mp4"
output = "b.mkv"
codec = "libx264"
piece-frames = 9
overwrite = false
at-key-frames = false
seed = 7
bands = 2
format = "bgra"
duration = 1.5
[[clip.effect]]
group = "Flip Roll Left"
[[clip.effect]]
name = "Comicbook"
level = 10
""",
    )
    first, second = plan.clips
    assert first.inputs == (str(tmp_path / "in.mp4"),)
    assert first.output == tmp_path / "a.mkv"
    assert first.work == tmp_path / "a.mkv.pieces"
    assert first.steps == (Step("Swirl", False, (0, 10000), (("centerX", 0.25),)),)
    assert (first.codec, first.pieces, first.piece_frames) == ("ffv1", 4, None)
    assert first.options == (("g", "1"), ("preset", "slow"), ("flag", "1"))
    assert first.overwrite and first.at_key_frames
    assert second.steps == (Step("Flip Roll Left", True), Step("Comicbook", False, (10, 10)))
    assert (second.codec, second.pieces, second.piece_frames) == ("libx264", None, 9)
    assert not second.overwrite and not second.at_key_frames
    assert (second.seed, second.bands, second.format, second.duration) == (7, 2, "bgra", 1.5)


def test_a_transition_takes_what_fits_from_the_defaults(tmp_path: Path) -> None:
    plan = _load(
        tmp_path,
        """
[defaults]
codec = "ffv1"
pieces = 4
duration = 9
[[transition]]
first = "in.mp4"
second = "other.mp4"
output = "a.mkv"
group = "Flip Roll Left"
""",
    )
    clip = plan.clips[0]
    assert clip.inputs == (str(tmp_path / "in.mp4"), str(tmp_path / "other.mp4"))
    assert (clip.transition, clip.codec, clip.pieces, clip.duration) == ("Flip Roll Left", "ffv1", None, None)


def test_names_are_relative_to_the_plan_and_work_folders_apart(tmp_path: Path) -> None:
    (tmp_path / "sub").mkdir()
    plan = _load(
        tmp_path,
        '[defaults]\nwork = "w"\n[[defaults.effect]]\nname = "Swirl"\n'
        '[[clip]]\ninput = "in.mp4"\noutput = "a.mkv"\n[[clip]]\ninput = "in.mp4"\noutput = "sub/a.mkv"\n',
    )
    assert [clip.work for clip in plan.clips] == [tmp_path / "w/a.mkv.pieces", tmp_path / "w/sub-a.mkv.pieces"]


def test_norix_and_the_clips_are_asked_before_anything_runs(clips: Path, tmp_path: Path) -> None:
    (tmp_path / "text.mp4").write_text("no video")
    (tmp_path / "there.mkv").touch()
    (tmp_path / "plan.toml").write_text(
        f"""
[[defaults.effect]]
name = "Swirl"
[[clip]]
input = "{clips}/clip.mp4"
output = "a.mkv"
codec = "nocodec"
[[clip]]
input = "text.mp4"
output = "b.mkv"
[[clip]]
input = "{clips}/clip.mp4"
output = "c.mkv"
options = {{ nooption = 3 }}
"""
    )
    said = run_batch(tmp_path / "plan.toml", code=2).stderr.splitlines()
    assert len(said) == 3
    assert "clip 1 (a.mkv): norix: this FFmpeg has no video encoder 'nocodec'" in said[0]
    assert "clip 2 (b.mkv): norix: cannot read" in said[1]
    assert "clip 3 (c.mkv): norix: neither the encoder" in said[2]
    assert sorted(path.name for path in tmp_path.iterdir()) == ["plan.toml", "text.mp4", "there.mkv"]


def test_existing_outputs_stay(clips: Path, tmp_path: Path) -> None:
    (tmp_path / "out.mkv").write_text("mine")
    plan = tmp_path / "plan.toml"
    plan.write_text(f'[[clip]]\ninput = "{clips}/silent.mp4"\noutput = "out.mkv"\n' + _EFFECT)
    said = run_batch(plan, code=2).stderr
    assert "out.mkv' exists; add overwrite = true, or -y" in said
    assert (tmp_path / "out.mkv").read_text() == "mine"
    run_batch(plan, "-y")
    assert (tmp_path / "out.mkv").stat().st_size > 1000
    assert sorted(path.name for path in tmp_path.iterdir()) == ["out.mkv", "plan.toml"]


def test_the_command_line(tmp_path: Path) -> None:
    text = run_batch("--help").stdout
    for word in (
        "--scheduler",
        "--resume",
        "--retries",
        "--print-parallel",
        "examples:",
        "Exit codes:",
        "[[clip.effect]]",
    ):
        assert word in text
    assert "PLAN" in run_batch(code=2).stderr
    assert "'0' is not a whole number from 1 on" in run_batch("plan.toml", "--workers", "0", code=2).stderr
    assert "cannot read the plan" in run_batch(tmp_path / "no.toml", code=2).stderr
    missing = run_batch(tmp_path / "no.toml", norix="no-such-norix", code=1).stderr
    assert "the program 'no-such-norix' was not found" in missing
