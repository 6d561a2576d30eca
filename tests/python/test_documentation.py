"""What the manual, the docstrings and the example say is what happens."""

from __future__ import annotations

import doctest
import os
import pkgutil
import re
import shutil
import subprocess
import sys
from importlib import import_module
from pathlib import Path

import norixengine
import numpy as np
import pytest

SOURCE = Path(os.environ["NORIX_SOURCE_FOLDER"])
MANUAL = (SOURCE / "docs" / "python.md").read_text()


def blocks(language: str) -> list[str]:
    return re.findall(rf"^```{language}\n(.*?)^```$", MANUAL, re.MULTILINE | re.DOTALL)


@pytest.fixture
def folder(tmp_path: Path) -> Path:
    """A place that looks like the source's folder to commands."""
    for name in ("python", "assets"):
        (tmp_path / name).symlink_to(SOURCE / name)
    random = np.random.default_rng(1).integers(0, 256, (90, 160, 3), dtype=np.uint8)
    pillow = pytest.importorskip("PIL.Image")
    pillow.fromarray(random).save(tmp_path / "bird.png")
    return tmp_path


def run(command: list[str], folder: Path) -> str:
    return subprocess.run(command, cwd=folder, check=True, capture_output=True, text=True, timeout=100).stdout


def test_docstrings() -> None:
    tried = 0
    names = ["norixengine", *(f"norixengine.{module.name}" for module in pkgutil.iter_modules(norixengine.__path__))]
    for name in names:
        result = doctest.testmod(import_module(name))
        assert result.failed == 0, name
        tried += result.attempted
    assert tried > 15


def test_python_of_the_manual(folder: Path) -> None:
    program = folder / "manual.py"
    program.write_text("\n".join(blocks("python")))
    output = run([sys.executable, "-W", "error", str(program)], folder).splitlines()
    promised = re.findall(r"^ *print\(.*?\) +# (.*)$", MANUAL, re.MULTILINE)
    assert len(promised) == 2
    for text in promised:
        start = text.removesuffix(" ...")
        assert any(line.startswith(start) for line in output), text
    assert (folder / "blurred.png").exists()


def test_commands_of_the_manual(folder: Path) -> None:
    lines = [line for block in blocks("sh") for line in block.splitlines()]
    commands = [line for line in lines if not line.startswith(("cmake", "export"))]
    assert len(commands) == 4
    for command in commands:
        if shutil.which(command.split()[0]) is None:
            pytest.skip(f"{command.split()[0]} is not installed")
        output = run(["sh", "-c", command], folder)
        if "__version__" in command:
            assert output == f"{norixengine.__version__} {norixengine.instruction_set()}\n"
        if "effects()" in command:
            assert output.startswith("Ground Glass: ")
    pillow = pytest.importorskip("PIL.Image")
    with pillow.open(folder / "sheet.png") as sheet:
        # Five columns, a row for every effect.
        assert sheet.width == 5 * 240 + 4 * 4 + 2 * 4
        assert sheet.height % len(norixengine.effects()) == 0


def test_the_sheet_shows_the_effects(folder: Path) -> None:
    pillow = pytest.importorskip("PIL.Image")
    run([sys.executable, "python/examples/contact_sheet.py", "bird.png", "sheet.png", "--width", "160"], folder)
    with pillow.open(folder / "bird.png") as opened:
        picture = np.asarray(opened.convert("RGBA"))
    with pillow.open(folder / "sheet.png") as opened:
        sheet = np.asarray(opened)
    step = sheet.shape[0] // len(norixengine.effects())
    for row, effect in enumerate(norixengine.effects()):
        for column, level in enumerate((0, 2500, 5000, 7500, 10000)):
            top, left = row * step + 20, 4 + column * 164
            wanted = norixengine.render(picture, effect.name, level=level)[..., :3]
            np.testing.assert_array_equal(sheet[top : top + 90, left : left + 160], wanted)


def test_what_the_manual_says_of_threads() -> None:
    sentence = MANUAL.partition("for every number. ")[2].partition(" are cut")[0]
    assert set(re.findall(r'"([^"]+)"', sentence)) == {e.name for e in norixengine.effects() if e.uses_threads}


def test_the_example_answers_mistakes(folder: Path) -> None:
    command = [sys.executable, "python/examples/contact_sheet.py", "missing.png", "sheet.png"]
    said = subprocess.run(command, cwd=folder, capture_output=True, text=True, check=False)
    assert said.returncode == 2
    assert "missing.png cannot be read as a picture" in said.stderr
    assert not (folder / "sheet.png").exists()


def test_the_benchmark_runs(tmp_path: Path) -> None:
    pytest.importorskip("cv2")
    manual = tmp_path / "manual.md"
    manual.write_text("before\n<!-- throughput begins -->\nold\n<!-- throughput ends -->\nafter\n")
    script = SOURCE / "benchmarks" / "python" / "throughput.py"
    run([sys.executable, str(script), "--size", "64x48", "--seconds", "0.001", "--write", str(manual)], tmp_path)
    text = manual.read_text()
    assert text.startswith("before\n") and text.endswith("\nafter\n") and "old" not in text
    rows = [line for line in text.splitlines() if line.startswith("| ")][1:]
    assert len(rows) > 10
    assert all(re.search(r"\| \d+\.\d\d \(\d+\.\dx\) \|", row) for row in rows)
    bad = subprocess.run([sys.executable, str(script), "--size", "big"], capture_output=True, text=True, check=False)
    assert bad.returncode == 2 and "--size must be WIDTHxHEIGHT, such as 1920x1080, not 'big'" in bad.stderr
