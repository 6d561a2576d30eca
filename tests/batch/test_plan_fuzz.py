"""Any file as a plan: it is read, or refused with problems that name what is wrong.

The same examples every time, unless NORIX_FUZZ_EXAMPLES sets how many new ones each test tries.
"""

from __future__ import annotations

import json
import os
from pathlib import Path
from typing import Any

import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

from norixengine.batch.catalogue import Catalogue
from norixengine.batch.errors import PlanError
from norixengine.batch.plan import Plan, Step, load_plan

_WISHED = os.environ.get("NORIX_FUZZ_EXAMPLES")
_SETTINGS = settings(
    max_examples=int(_WISHED or 80),
    derandomize=_WISHED is None,
    database=None,
    deadline=None,
    suppress_health_check=[HealthCheck.too_slow],
)

_EFFECTS: dict[str, list[str]] = {
    "Swirl": ["centerX", "centerY", "radius", "angle"],
    "Emboss": ["amount"],
    "Comicbook": [],
}
_GROUPS = ["Flip Roll Left", "Tile Zoom Blur"]
_CATALOGUE = Catalogue(_EFFECTS, _GROUPS, (0, 10000))

_CLIP_KEYS = """input output codec options overwrite work effect duration format seed bands pieces piece-frames
at-key-frames first second group""".split()
_EFFECT_KEYS = ["name", "level", "set", "group"]

_WHOLE = """
[defaults]
codec = "ffv1"
options = { g = 1, preset = "slow", flag = true }
overwrite = true
work = "w"
[[defaults.effect]]
name = "Swirl"
level = "0:10000"
set = { centerX = 0.25, angle = 1e2 }
[[clip]]
input = "in.mp4"
output = "a.mkv"
pieces = 4
at-key-frames = true
[[clip]]
input = "http://example.org/in.mp4"
output = "b.mkv"
piece-frames = 9
seed = 7
bands = 2
format = "bgra"
duration = 1.5
[[clip.effect]]
group = "Flip Roll Left"
[[clip.effect]]
name = "Comicbook"
level = 10
[[transition]]
first = "in.mp4"
second = "other.mp4"
output = "c.mkv"
group = "Tile Zoom Blur"
"""


def _toml(value: Any) -> str:
    """A value as TOML writes it within a line."""
    if isinstance(value, bool):
        return "true" if value else "false"
    if isinstance(value, str):
        return json.dumps(value, ensure_ascii=False).replace("\x7f", "\\u007f")
    if isinstance(value, list):
        return "[" + ", ".join(map(_toml, value)) + "]"
    if isinstance(value, dict):
        return "{" + ", ".join(f"{_toml(key)} = {_toml(each)}" for key, each in value.items()) + "}"
    return str(value) if isinstance(value, _Literal) else repr(value)


class _Literal(str):
    """What stands in the file as it is."""


def _document(tables: dict[str, Any]) -> str:
    return "".join(f"{_toml(key)} = {_toml(value)}\n" for key, value in tables.items())


@pytest.fixture(scope="session")
def folder(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """Where plans are read from, with two inputs."""
    made = tmp_path_factory.mktemp("plans")
    for name in ("in.mp4", "other.mp4"):
        (made / name).touch()
    return made


def _load(folder: Path, text: str | bytes) -> Plan:
    plan = folder / "plan.toml"
    plan.write_bytes(text if isinstance(text, bytes) else text.encode())
    return load_plan(plan, _CATALOGUE)


def _problems(folder: Path, text: str | bytes) -> list[str]:
    """What is said about a plan, which may be nothing; each begins with the file and fits into a line of a terminal."""
    try:
        plan = _load(folder, text)
    except PlanError as error:
        assert error.problems
        for problem in error.problems:
            assert problem.startswith(f"{folder / 'plan.toml'}: "), problem
            assert problem.isprintable(), repr(problem)
        return error.problems
    assert plan.clips
    return []


def _texts() -> st.SearchStrategy[str]:
    return st.one_of(
        st.sampled_from(
            ["in.mp4", "other.mp4", "out.mkv", "~/o.mkv", "~nobody-here/o.mkv", ".", "/", "a/../o.mkv", "x://y"]
        ),
        st.sampled_from(
            [*_EFFECTS, *_GROUPS, "Swril", "yuv420p", "bgra", "0:10000", "1:2:3", "-1", "\0.mkv", "o" * 300 + ".mkv"]
        ),
        st.text(st.characters(blacklist_categories=["Cs"]), max_size=12),
    )


def _numbers() -> st.SearchStrategy[Any]:
    return st.one_of(
        st.integers(-3, 10001),
        st.integers(),
        st.floats(),
        st.sampled_from([2**32 - 1, 2**32, 10**400, _Literal("0x" + "f" * 5000), _Literal("9" * 5000)]),
    )


def _values() -> st.SearchStrategy[Any]:
    scalars = st.one_of(
        _texts(),
        _numbers(),
        st.booleans(),
        st.sampled_from([_Literal("1979-05-27"), _Literal("07:32:00"), _Literal("-nan")]),
    )
    keys = st.one_of(st.sampled_from(_CLIP_KEYS + _EFFECT_KEYS + ["centerX"]), _texts())
    return st.recursive(
        scalars, lambda inner: st.lists(inner, max_size=3) | st.dictionaries(keys, inner, max_size=3), max_leaves=8
    )


def _some_of(values: dict[str, st.SearchStrategy[Any]]) -> st.SearchStrategy[dict[str, Any]]:
    """Tables with some of the keys."""
    none: dict[str, st.SearchStrategy[Any]] = {}
    return st.fixed_dictionaries(none, optional=values)


def _tables(keys: list[str], likely: dict[str, st.SearchStrategy[Any]]) -> st.SearchStrategy[dict[str, Any]]:
    """Tables with some of the keys, whose values often are as they should be."""
    return _some_of({key: likely[key] | _values() if key in likely else _values() for key in keys})


def _damaged_plans() -> st.SearchStrategy[dict[str, Any]]:
    effect = _tables(
        _EFFECT_KEYS,
        {
            "name": st.sampled_from(list(_EFFECTS)),
            "level": st.integers(0, 10000),
            "set": st.just({"centerX": 0.5}),
            "group": st.sampled_from(_GROUPS),
        },
    )
    clip = _tables(
        _CLIP_KEYS,
        {
            "input": st.just("in.mp4"),
            "first": st.just("in.mp4"),
            "second": st.just("other.mp4"),
            "output": _texts().map(lambda name: name + ".mkv"),
            "group": st.sampled_from(_GROUPS),
            "effect": st.lists(effect, max_size=2),
        },
    )
    clips = st.lists(clip, max_size=3) | _values()
    return _some_of({"defaults": clip | _values(), "clip": clips, "transition": clips, "odd": _values()})


@_SETTINGS
@given(st.binary(max_size=200) | st.text(st.characters(blacklist_categories=["Cs"])).map(str.encode))
def test_any_bytes(folder: Path, content: bytes) -> None:
    assert _problems(folder, content)


@_SETTINGS
@given(st.data())
def test_a_plan_with_damaged_places(folder: Path, data: st.DataObject) -> None:
    text = _WHOLE
    for _ in range(data.draw(st.integers(1, 4))):
        start = data.draw(st.integers(0, len(text)))
        end = min(len(text), start + data.draw(st.integers(0, 12)))
        text = (
            text[:start]
            + data.draw(st.sampled_from(["", "\n", '"', "[[", "]", "=", "{", "9" * 20, "\0", "~"]) | _texts())
            + text[end:]
        )
    _problems(folder, text)


@_SETTINGS
@given(_damaged_plans())
def test_any_tables(folder: Path, document: dict[str, Any]) -> None:
    _problems(folder, _document(document))


@_SETTINGS
@given(st.sampled_from([1, 50, 500, 3000]), st.sampled_from(["[", "{a=", "a.", "[["]))
def test_any_depth(folder: Path, depth: int, opening: str) -> None:
    assert _problems(folder, "x = " + opening * depth)
    assert _problems(folder, opening * depth)


_NO_PATHS = ["", "\0", "o" * 300, "~nobody-here/o.mkv"]
_HUGE = [10**400, _Literal("0x" + "f" * 5000)]

# What a clip's keys cannot be: values at the edges, and what is of another kind.
_WRONG: dict[str, tuple[list[Any], st.SearchStrategy[Any]]] = {
    "input": ([*_NO_PATHS, "no.mp4", ".", ["in.mp4"]], st.integers()),
    "output": ([*_NO_PATHS, "in.mp4", ".", "out", "no/o.mkv"], st.integers()),
    "codec": (["", "\0"], st.integers()),
    "options": ([{"": 1}, {"a=b": 1}, {"a": "\0"}, {"a": 10**400}, {"a": []}], _numbers() | _texts()),
    "overwrite": ([], _numbers() | _texts()),
    "work": (_NO_PATHS, st.integers()),
    "effect": ([[]], _numbers() | _texts()),
    "duration": ([0, -1, 86401, *_HUGE, _Literal("nan"), _Literal("inf")], _texts() | st.booleans()),
    "format": (["", "rgba", "YUV420P"], _numbers()),
    "seed": ([-1, 2**32, 1.0, *_HUGE], _texts() | st.booleans()),
    "bands": ([0, 65537, 2.0, *_HUGE], _texts() | st.booleans()),
    "pieces": ([0, 10**6 + 1, 2.0, *_HUGE], _texts() | st.booleans()),
    "piece-frames": ([0, 10**9 + 1, 2.0, *_HUGE], _texts() | st.booleans()),
    "at-key-frames": ([], _numbers() | _texts()),
}


def _assert_named(folder: Path, key: str, value: Any) -> None:
    clip = {"input": "in.mp4", "output": "out.mkv", "effect": [{"name": "Swirl"}], key: value}
    problems = _problems(folder, _document({"clip": [clip]}))
    assert problems, f"{key} = {value}"
    if "not TOML" not in problems[0]:
        assert all(key in problem.partition(": clip 1")[2] for problem in problems), problems


@pytest.mark.parametrize("key", sorted(_WRONG))
def test_a_value_out_of_range_is_named(folder: Path, key: str) -> None:
    for value in _WRONG[key][0]:
        _assert_named(folder, key, value)


@pytest.mark.parametrize("key", sorted(_WRONG))
@settings(_SETTINGS, max_examples=_SETTINGS.max_examples // 4)
@given(st.data())
def test_a_value_of_another_kind_is_named(folder: Path, key: str, data: st.DataObject) -> None:
    _assert_named(folder, key, data.draw(_WRONG[key][1]))


def _levels() -> st.SearchStrategy[tuple[int, int]]:
    return st.tuples(st.integers(0, 10000), st.integers(0, 10000))


def _finite() -> st.SearchStrategy[float]:
    return st.floats(allow_nan=False, allow_infinity=False)


def _steps() -> st.SearchStrategy[Step]:
    effects = st.sampled_from(sorted(_EFFECTS)).flatmap(
        lambda name: st.builds(
            Step,
            st.just(name),
            st.just(False),
            st.none() | _levels(),
            st.dictionaries(st.sampled_from(_EFFECTS[name]), _finite()).map(lambda fields: tuple(fields.items()))
            if _EFFECTS[name]
            else st.just(()),
        )
    )
    return effects | st.builds(Step, st.sampled_from(_GROUPS), st.just(True))


def _written(step: Step) -> dict[str, Any]:
    if step.is_group:
        return {"group": step.name}
    table: dict[str, Any] = {"name": step.name, "set": dict(step.fields)}
    if step.level:
        first, last = step.level
        table["level"] = first if first == last else f"{first}:{last}"
    return table


_GOOD: dict[str, st.SearchStrategy[Any]] = {
    "codec": st.text(st.characters(blacklist_categories=["Cs"], blacklist_characters="\0"), min_size=1),
    "duration": st.floats(0.001, 86400),
    "format": st.sampled_from(["yuv420p", "rgb24", "bgra"]),
    "seed": st.integers(0, 2**32 - 1),
    "bands": st.integers(1, 65536),
    "pieces": st.integers(1, 10**6),
    "overwrite": st.booleans(),
    "at-key-frames": st.booleans(),
}


@_SETTINGS
@given(st.lists(st.tuples(_some_of(_GOOD), st.lists(_steps(), min_size=1)), min_size=1, max_size=4))
def test_a_valid_plan_comes_back(folder: Path, wanted: list[tuple[dict[str, Any], list[Step]]]) -> None:
    tables = [
        {"input": "in.mp4", "output": f"{number}.mkv", "effect": [_written(step) for step in steps], **values}
        for number, (values, steps) in enumerate(wanted)
    ]
    plan = _load(folder, _document({"clip": tables}))
    assert len(plan.clips) == len(wanted)
    for number, (clip, (values, steps)) in enumerate(zip(plan.clips, wanted)):
        assert (clip.inputs, clip.output) == ((str(folder / "in.mp4"),), folder / f"{number}.mkv")
        assert clip.steps == tuple(steps)
        for key in _GOOD:
            assert getattr(clip, key.replace("-", "_")) == values.get(
                key, False if "-" in key or key == "overwrite" else None
            )
