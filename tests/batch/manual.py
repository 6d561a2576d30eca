"""Commands and files of the manual, docs/batch.md."""

from __future__ import annotations

import re
from pathlib import Path

_MANUAL = Path(__file__).parents[2] / "docs" / "batch.md"


def manual_blocks(language: str) -> list[str]:
    """The code blocks of that language."""
    return re.findall(rf"```{language}\n(.*?)```", _MANUAL.read_text(), re.DOTALL)


def manual_commands() -> list[str]:
    """All command lines, without comments."""
    lines = [line.partition("  #")[0].strip() for block in manual_blocks("sh") for line in block.splitlines()]
    return [line for line in lines if line and not line.startswith("#")]
