"""The plan file: TOML, checked and turned into dataclasses. All problems are reported together."""

from __future__ import annotations

import difflib
import math
import os
import tomllib
from dataclasses import dataclass
from pathlib import Path
from typing import Any, Callable

from norixengine.batch.catalogue import Catalogue
from norixengine.batch.errors import PlanError

FORMATS = ("yuv420p", "rgb24", "bgra")

_ENCODING = {"codec", "options", "overwrite", "work"}
_CLIP_ONLY = {"input", "output"}
_RENDERING = _ENCODING | {"effect", "duration", "format", "seed", "bands", "pieces", "piece-frames", "at-key-frames"}
_TRANSITION = _ENCODING | {"first", "second", "output", "group", "duration"}
_EFFECT = {"name", "level", "set", "group"}


@dataclass(frozen=True)
class Step:
    """An effect or a group of a chain. Levels run from 0 to 10000."""

    name: str
    is_group: bool
    level: tuple[int, int] | None = None
    fields: tuple[tuple[str, float], ...] = ()


@dataclass(frozen=True)
class Clip:
    """An output of the plan: a clip with effects (one input) or a transition (two inputs)."""

    label: str
    inputs: tuple[str, ...]
    output: Path
    work: Path
    overwrite: bool
    steps: tuple[Step, ...] = ()
    transition: str | None = None
    duration: float | None = None
    codec: str | None = None
    options: tuple[tuple[str, str], ...] = ()
    format: str | None = None
    seed: int | None = None
    bands: int | None = None
    pieces: int | None = None
    piece_frames: int | None = None
    at_key_frames: bool = False


@dataclass(frozen=True)
class Plan:
    """All of a plan file."""

    path: Path
    clips: tuple[Clip, ...]


def is_address(name: str) -> bool:
    """True for inputs that are no files, such as http://..."""
    return "://" in name


def load_plan(path: Path, catalogue: Catalogue, overwrite: bool = False) -> Plan:
    """Reads a plan.

    :param overwrite: existing outputs may be replaced, whatever the plan says
    :raises PlanError: with every problem of the plan
    """
    try:
        with path.open("rb") as file:
            document = tomllib.load(file)
    except OSError as error:
        raise PlanError([f"cannot read the plan '{path}': {error.strerror}"]) from error
    except ValueError as error:  # also for bytes that are no text, and for numbers of thousands of digits
        raise PlanError([f"{path}: not TOML: {_printable(str(error))}"]) from error
    except RecursionError as error:
        raise PlanError([f"{path}: tables or lists lie too deep in each other"]) from error
    reader = _Reader(path, catalogue, overwrite)
    clips = reader.read(document)
    if reader.problems:
        raise PlanError(reader.problems)
    return Plan(path, tuple(clips))


def _nearest(word: str, known: set[str] | list[str]) -> str:
    matches = difflib.get_close_matches(word.lower(), [each.lower() for each in known], 1, 0.5)
    for each in known:
        if matches and each.lower() == matches[0]:
            return f'; did you mean "{each}"?'
    return ""


class _Table:
    """A table of the file whose problems are said with its place."""

    def __init__(self, values: dict[str, Any], place: str, problems: list[str]) -> None:
        self.values = values
        self.place = place
        self._problems = problems

    def problem(self, text: str) -> None:
        """Notes a problem of this table, unless it was noted before."""
        line = _printable(f"{self.place}: {text}")
        if line not in self._problems:
            self._problems.append(line)

    def check_keys(self, known: set[str]) -> None:
        """Notes keys that mean nothing here."""
        for key in self.values:
            if key not in known:
                hint = _nearest(key, known) or "; keys here are: " + ", ".join(sorted(known))
                self.problem(f'unknown key "{key}"{hint}')

    def get(self, key: str, what: str, fits: Callable[[Any], bool]) -> Any:
        """A value, or None when it is missing or not as it should be, which is noted."""
        if key not in self.values:
            return None
        value = self.values[key]
        if fits(value):
            return value
        self.problem(f"{key} = {_shown(value)}: should be {what}")
        return None

    def text(self, key: str) -> str | None:
        """A string that is not empty and can be an argument of a program."""
        value: str | None = self.get(
            key, "a text, not empty and without zeros in it", lambda each: each != "" and _is_argument(each)
        )
        return value

    def whole(self, key: str, least: int, most: int) -> int | None:
        """A whole number."""
        value: int | None = self.get(
            key, f"a whole number from {least} to {most}", lambda each: _is_whole(each) and least <= each <= most
        )
        return value

    def flag(self, key: str) -> bool:
        """A switch, off unless given."""
        return bool(self.get(key, "true or false", lambda each: isinstance(each, bool)))


def _printable(text: str) -> str:
    """On one line, and nothing in it that a terminal would obey."""
    return "".join(each if each.isprintable() else each.encode("unicode_escape").decode() for each in text)


def _shown(value: Any) -> str:
    if isinstance(value, bool):
        return "true" if value else "false"
    try:
        return f'"{value}"' if isinstance(value, str) else str(value)
    except ValueError:
        return "a number of thousands of digits"


def _is_argument(value: Any) -> bool:
    return isinstance(value, str) and "\0" not in value


def _is_whole(value: Any) -> bool:
    return isinstance(value, int) and not isinstance(value, bool)


def _is_number(value: Any) -> bool:
    try:
        return isinstance(value, (int, float)) and not isinstance(value, bool) and math.isfinite(value)
    except OverflowError:  # whole numbers have no limit
        return False


def _are_tables(value: Any) -> bool:
    return isinstance(value, list) and all(isinstance(each, dict) for each in value)


class _Reader:
    """Reads the document and collects problems."""

    def __init__(self, path: Path, catalogue: Catalogue, overwrite: bool) -> None:
        self.problems: list[str] = []
        self._path = path
        self._folder = path.parent.absolute()
        self._catalogue = catalogue
        self._overwrite = overwrite

    def read(self, document: dict[str, Any]) -> list[Clip]:
        """All clips, then all transitions."""
        top = self._table(document, str(self._path))
        top.check_keys({"defaults", "clip", "transition"})
        defaults: dict[str, Any] = top.get("defaults", "a table [defaults]", lambda each: isinstance(each, dict)) or {}
        self._check_defaults(defaults)
        clips = []
        for kind in ("clip", "transition"):
            entries = top.get(kind, f"tables [[{kind}]]", _are_tables) or []
            for number, entry in enumerate(entries, 1):
                clips.append(self._read_entry(kind, number, entry, defaults))
        if not clips and not self.problems:
            top.problem("no [[clip]] and no [[transition]]: there is nothing to render")
        found = [clip for clip in clips if clip]
        self._check_outputs(found)
        return found

    def _table(self, values: dict[str, Any], place: str) -> _Table:
        return _Table(values, place, self.problems)

    def _check_defaults(self, defaults: dict[str, Any]) -> None:
        table = self._table(defaults, f"{self._path}: defaults")
        table.check_keys(_RENDERING)
        self._common(table)
        if "effect" in defaults:
            self._steps(table)

    def _read_entry(self, kind: str, number: int, entry: dict[str, Any], defaults: dict[str, Any]) -> Clip | None:
        known = _RENDERING | _CLIP_ONLY if kind == "clip" else _TRANSITION
        named = f" ({entry['output']})" if isinstance(entry.get("output"), str) else ""
        label = f"{kind} {number}{named}"
        own = self._table(entry, f"{self._path}: {label}")
        own.check_keys(known)
        usual = {key: value for key, value in defaults.items() if key in known and key not in entry}
        if kind == "transition":
            usual.pop("duration", None)
        elif {"pieces", "piece-frames"} & entry.keys():
            usual = {key: value for key, value in usual.items() if key not in ("pieces", "piece-frames")}
        # What is wrong in the defaults has been said once, there.
        silent: list[str] = []
        common = self._common(_Table(usual, own.place, silent)) | self._common(own)
        keys = ("input",) if kind == "clip" else ("first", "second")
        inputs = [self._input(own, key) for key in keys]
        output = self._file(own, "output")
        if "output" not in entry:
            own.problem('the key "output" is missing')
        if kind == "clip":
            chain = own if "effect" in entry else _Table(usual, own.place, silent)
            common["steps"] = tuple(self._steps(chain))
            if "effect" not in entry and "effect" not in usual:
                own.problem("no effect: add [[clip.effect]] with a name, or [[defaults.effect]]")
        else:
            common["transition"] = self._group(own)
        if output is None or not all(inputs):
            return None
        work = common.pop("work", None)
        overwrite = bool(common.pop("overwrite", False)) or self._overwrite
        return Clip(
            label=label,
            inputs=tuple(each for each in inputs if each),
            output=output,
            work=self._work_folder(work, output),
            overwrite=overwrite,
            **common,
        )

    def _file(self, table: _Table, key: str) -> Path | None:
        """The absolute path that a key names, or None when it is missing or no path at all, which is noted."""
        name = table.text(key)
        if name is None:
            return None
        try:
            path = Path(os.path.abspath(self._folder / Path(name).expanduser()))
            path.lstat()
        except (FileNotFoundError, NotADirectoryError):
            return path  # what this means depends on the key
        except (OSError, RuntimeError) as error:  # too long a name; the home of nobody
            table.problem(f"{key} = {_shown(name)}: {getattr(error, 'strerror', None) or error}")
            return None
        return path

    def _work_folder(self, work: Path | None, output: Path) -> Path:
        if not work:
            return output.with_name(output.name + ".pieces")
        # One folder serves many outputs, which may have the same name in folders of their own.
        parents = os.path.relpath(output.parent, self._folder).replace("..", "up").strip("./").replace("/", "-")
        return work / f"{parents + '-' if parents else ''}{output.name}.pieces"

    def _input(self, table: _Table, key: str) -> str | None:
        if key not in table.values:
            table.problem(f'the key "{key}" is missing')
            return None
        name = table.text(key)
        if name is None or is_address(name):
            return name
        path = self._file(table, key)
        if path is None:
            return None
        if path.is_dir():
            table.problem(f"{key}: '{path}' is a folder; name a video file")
            return None
        if not path.exists():
            table.problem(f"{key}: there is no file '{path}'")
            return None
        return str(path)

    def _common(self, table: _Table) -> dict[str, Any]:
        """The keys that clips and defaults share, by the names of Clip; only those that are given."""
        if "pieces" in table.values and "piece-frames" in table.values:
            table.problem('"pieces" and "piece-frames" exclude each other: one sets the number, the other the length')
        found: dict[str, Any] = {
            "codec": table.text("codec"),
            "work": self._file(table, "work"),
            "options": self._options(table),
            "duration": table.get(
                "duration", "seconds from 0.001 to 86400", lambda each: _is_number(each) and 0.001 <= each <= 86400
            ),
            "format": table.get("format", "one of " + ", ".join(FORMATS), lambda each: each in FORMATS),
            "seed": table.whole("seed", 0, 2**32 - 1),
            "bands": table.whole("bands", 1, 65536),
            "pieces": table.whole("pieces", 1, 10**6),
            "piece_frames": table.whole("piece-frames", 1, 10**9),
        }
        for key in ("overwrite", "at-key-frames"):
            flag = table.flag(key)
            if key in table.values:
                found[key.replace("-", "_")] = flag
        return {key: value for key, value in found.items() if value is not None}

    def _options(self, table: _Table) -> tuple[tuple[str, str], ...] | None:
        values = table.get(
            "options", 'a table such as { crf = 20, preset = "slow" }', lambda each: isinstance(each, dict)
        )
        if values is None:
            return None
        options = []
        for key, value in values.items():
            if key == "" or "=" in key or not _is_argument(key):
                table.problem(f"options: {_shown(key)}: should be the name of an option")
            elif isinstance(value, bool):
                options.append((key, "1" if value else "0"))
            elif _is_argument(value) or _is_number(value):
                options.append((key, str(value)))
            else:
                table.problem(f"options: {key} = {_shown(value)}: should be a text or a number")
        return tuple(options)

    def _steps(self, table: _Table) -> list[Step]:
        entries = table.get("effect", "tables [[clip.effect]]", _are_tables)
        if entries is None:
            return []
        if not entries:
            table.problem("the list of effects is empty")
        steps = []
        for number, entry in enumerate(entries, 1):
            step = self._step(self._table(entry, f"{table.place}: effect {number}"))
            if step:
                steps.append(step)
        return steps

    def _step(self, table: _Table) -> Step | None:
        table.check_keys(_EFFECT)
        if ("name" in table.values) == ("group" in table.values):
            table.problem('give a "name" for an effect or a "group", one of them')
            return None
        if "group" in table.values:
            for key in ("level", "set"):
                if key in table.values:
                    table.problem(f'"{key}" is for effects; a group follows its time')
            group = self._group(table)
            return Step(group, True) if group else None
        name = table.text("name")
        if name is None:
            return None
        fields = self._catalogue.effects.get(name)
        if fields is None:
            table.problem(f'there is no effect "{name}"{_nearest(name, list(self._catalogue.effects))}')
            return None
        return Step(name, False, self._level(table), tuple(self._fields(table, name, fields)))

    def _group(self, table: _Table) -> str | None:
        if "group" not in table.values:
            table.problem('the key "group" is missing')
            return None
        name = table.text("group")
        if name is not None and name not in self._catalogue.groups:
            table.problem(f'there is no group "{name}"{_nearest(name, self._catalogue.groups)}')
            return None
        return name

    def _level(self, table: _Table) -> tuple[int, int] | None:
        lowest, highest = self._catalogue.levels
        value = table.values.get("level")
        if value is None:
            return None
        parts = value.split(":") if isinstance(value, str) else [value]
        try:
            levels = [int(each) if isinstance(each, str) else each for each in parts]
        except ValueError:
            levels = []
        fits = 1 <= len(levels) <= 2 and all(_is_whole(each) and lowest <= each <= highest for each in levels)
        if not fits:
            table.problem(
                f'level = {_shown(value)}: should be a whole number from {lowest} to {highest}, or two as "FROM:TO"'
            )
            return None
        return (levels[0], levels[-1])

    def _fields(self, table: _Table, effect: str, known: list[str]) -> list[tuple[str, float]]:
        values = table.get("set", "a table such as { centerX = 0.3 }", lambda each: isinstance(each, dict)) or {}
        fields = []
        for key, value in values.items():
            if key not in known:
                hint = _nearest(key, known) or ("; it has: " + ", ".join(known) if known else "; it has none")
                table.problem(f'set: "{effect}" has no field "{key}"{hint}')
            elif not _is_number(value):
                table.problem(f"set: {key} = {_shown(value)}: should be a number")
            else:
                fields.append((key, value))
        return fields

    def _check_outputs(self, clips: list[Clip]) -> None:
        def same(path: str | Path) -> str:
            return os.path.realpath(path)

        readers = {same(name): clip for clip in clips for name in clip.inputs if not is_address(name)}
        writers: dict[str, Clip] = {}
        folders: dict[str, Clip] = {}
        for clip in clips:
            table = self._table({}, f"{self._path}: {clip.label}")
            output = same(clip.output)
            if output in writers:
                table.problem(f"output: '{clip.output}' is the output of {writers[output].label} as well")
            elif same(clip.work) in folders:
                other = folders[same(clip.work)].label
                table.problem(f"work: '{clip.work}' is the work folder of {other} as well; give them different folders")
            writers.setdefault(output, clip)
            folders.setdefault(same(clip.work), clip)
            if output in readers:
                whose = "its own input" if readers[output] is clip else f"an input of {readers[output].label}"
                table.problem(f"output: '{clip.output}' is {whose}; name another file")
            elif clip.output.is_dir():
                table.problem(f"output: '{clip.output}' is a folder; name a file")
            if not clip.output.suffix:
                table.problem(f"output: '{clip.output}' has no extension, which chooses the container")
            if not clip.output.parent.is_dir():
                table.problem(f"output: there is no folder '{clip.output.parent}'")
