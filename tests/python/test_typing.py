"""Types: the package, its stub and these tests under mypy, and what type checkers tell users."""

from __future__ import annotations

import ast
import os
import subprocess
import sys
from importlib.util import find_spec
from pathlib import Path

import norixengine
import pytest
from norixengine import _engine

SOURCE = Path(os.environ["NORIX_SOURCE_FOLDER"])
TESTS = Path(__file__).parent


def mypy(*arguments: str | Path, cwd: Path) -> subprocess.CompletedProcess[str]:
    if find_spec("mypy") is None:
        pytest.skip("mypy is not installed")
    environment = {**os.environ, "MYPYPATH": f"{SOURCE / 'python'}:{TESTS}"}
    return subprocess.run(
        [sys.executable, "-m", "mypy", "--strict", "--cache-dir", str(Path.cwd() / "mypy-cache"), *map(str, arguments)],
        capture_output=True,
        text=True,
        env=environment,
        cwd=cwd,
        check=False,
    )


def test_package_and_tests() -> None:
    scripts = [*(SOURCE / "python" / "examples").glob("*.py"), *(SOURCE / "benchmarks" / "python").glob("*.py")]
    run = mypy(SOURCE / "python" / "norixengine", *sorted(TESTS.glob("*.py")), *scripts, cwd=TESTS)
    assert run.returncode == 0, run.stdout + run.stderr


def test_what_users_are_told(tmp_path: Path) -> None:
    program = tmp_path / "program.py"
    program.write_text(
        """
import numpy as np
from numpy.typing import NDArray
import norixengine

image: NDArray[np.uint8] = np.zeros((4, 4, 3), np.uint8)
a: NDArray[np.uint8] = norixengine.render(image, "Swirl", level=3, angle=2)
planes = (image, image, image)
b: tuple[NDArray[np.uint8], NDArray[np.uint8], NDArray[np.uint8]] = norixengine.render(planes, "Swirl")
c: tuple[NDArray[np.uint8], NDArray[np.uint8]] = norixengine.render(planes, "Swirl")
norixengine.render("photo.png", "Swirl")
norixengine.render(image, "Swirl", order="RGB")
norixengine.render(image, 3)
p = norixengine.Params("Swirl")
p.angle = 3
p.angle = "x"
d: int = p.radius
"""
    )
    lines = [line.split(":")[1] for line in mypy(program, cwd=tmp_path).stdout.splitlines() if ": error:" in line]
    assert lines == ["10", "11", "12", "13", "16", "17"]


def test_the_stub_names_what_there_is() -> None:
    tree = ast.parse((SOURCE / "python" / "norixengine" / "_engine.pyi").read_text())
    stubs = {node.name: node for node in tree.body if isinstance(node, ast.FunctionDef)}
    values = {
        node.target.id for node in tree.body if isinstance(node, ast.AnnAssign) and isinstance(node.target, ast.Name)
    }
    assert {*stubs, *values} == {name for name in vars(_engine) if not name.startswith("_")}
    for name, stub in stubs.items():
        # pybind11 begins the docstring with the signature.
        said = (getattr(_engine, name).__doc__ or "").splitlines()[0]
        assert [argument.arg for argument in stub.args.args] == [
            part.split(":")[0].strip()
            for part in said.partition("(")[2].rpartition(") ->")[0].split(", ")
            if ":" in part
        ], name


def test_the_package_is_marked_as_typed() -> None:
    assert (Path(norixengine.__file__).parent / "py.typed").exists()


def test_everything_public_is_documented() -> None:
    for name in norixengine.__all__:
        documented = getattr(norixengine, name)
        assert documented.__doc__ and not documented.__doc__.startswith(f"{name}("), name
