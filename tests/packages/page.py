"""Runs what a page of the documentation shows: python3 page.py PAGE.md

Blocks are taken in order, in the current folder: "sh" blocks are run, others become the file that the line before the block
begins with. "console" blocks are for people.
"""

import re
import subprocess
import sys
from pathlib import Path

FENCE = "```"


def blocks(page: Path):
    """The language, the text and the line before each block."""
    before, language, text = "", "", ""
    for line in page.read_text().splitlines():
        if line == FENCE:
            yield language, text, before
            before, language, text = "", "", ""
        elif language:
            text += line + "\n"
        elif line.startswith(FENCE):
            language = line.removeprefix(FENCE)
        elif line:
            before = line


def run_page(page: Path) -> int:
    """Runs all blocks and returns how many there were."""
    count = 0
    for language, text, before in blocks(page):
        if language == "console":
            continue
        if language == "sh":
            print(text, end="", flush=True)
            subprocess.run(["sh", "-euc", text], check=True, stdin=subprocess.DEVNULL)
        else:
            name = re.match(r"`([\w.]+)`", before)
            if not name:
                raise ValueError(f"{page}: the line before this block names no file: {before}")
            Path(name[1]).write_text(text)
        count += 1
    return count


if __name__ == "__main__":
    print(run_page(Path(sys.argv[1])), "blocks")
