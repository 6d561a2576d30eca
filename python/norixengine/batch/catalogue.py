"""What norix can do: the effects and groups that it lists."""

from __future__ import annotations

import functools
import json
import os
import shutil
from dataclasses import dataclass

from norixengine.batch.errors import BatchError
from norixengine.batch.process import run_well


@dataclass(frozen=True)
class Catalogue:
    """Effects that have a picture with the names of their fields, groups, and the range of levels."""

    effects: dict[str, list[str]]
    groups: list[str]
    levels: tuple[int, int]


def read_catalogue(norix: str) -> Catalogue:
    """Asks norix.

    :raises BatchError: there is no norix, or it gives no list
    """
    text = run_well([norix, "list", "--json"])
    try:
        listed = json.loads(text)
        effects = {
            each["name"]: [field["name"] for field in each["fields"]] for each in listed["effects"] if each["renders"]
        }
        groups = [each["name"] for each in listed["groups"] if each["renders"]]
        return Catalogue(effects, groups, (listed["levels"]["lowest"], listed["levels"]["highest"]))
    except (ValueError, KeyError, TypeError) as error:
        raise BatchError(f"'{norix} list --json' gave no list of effects ({error!r})") from error


def read_version(norix: str) -> str:
    """The version, "norix 0.1.0": without the instruction set, which does not change the result.

    :raises BatchError: there is no norix
    """
    path = shutil.which(norix)
    return _version_of(path, os.stat(path).st_mtime_ns) if path else run_well([norix, "--version"])


@functools.cache
def _version_of(path: str, changed: int) -> str:
    del changed  # asked again when the file is another one
    return run_well([path, "--version"]).strip().partition(" (")[0]
