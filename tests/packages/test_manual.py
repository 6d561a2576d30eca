"""The manual pages say all that there is to say, and man can read them."""

import json
import os
import re

import pytest
from conftest import SOURCE, run

HEADER = SOURCE / "ImageFilter/include/NorixEngine/NorixEngine.h"


@pytest.fixture
def pages(prefix):
    folder = prefix / "share/man"
    if not (folder / "man1").is_dir() or not (folder / "man3").is_dir():
        pytest.skip("the manual pages were not built (Debian: go-md2man, doxygen)")
    return folder


def text_of(page):
    """As on a wide terminal, without hyphens at line ends."""
    return run("man", "-l", page, env={**os.environ, "MANWIDTH": "400", "MANPAGER": "cat", "LC_ALL": "C.UTF-8"})


def options_of(help_text):
    return set(re.findall(r"(?<![\w-])--?[a-z][a-z-]*", help_text.split("Examples:")[0]))


def test_every_option_is_in_the_page(prefix, pages):
    page = text_of(pages / "man1/norix.1")
    commands = re.findall(r"^  ([a-z]+) ", run(prefix / "bin/norix", "--help").split("Subcommands:")[1], re.MULTILINE)
    assert "render" in commands and len(commands) >= 5
    for command in commands:
        section = page[page.index(f"\n   norix {command}\n", page.index("\nOPTIONS\n")) :]
        section = re.split(r"\n   norix |\n[A-Z]", section[1:], maxsplit=1)[0]
        help_text = run(prefix / "bin/norix", command, "--help")
        missing = {option for option in options_of(help_text) - {"-h", "--help"} if option not in section}
        assert not missing, f"norix {command}"
        for positional in re.findall(r"^  ([A-Z]+) ", help_text, re.MULTILINE):
            assert f"\n       {positional} " in section or f"\n       {positional}\n" in section


def test_every_effect_and_group_is_in_the_page(prefix, pages):
    listed = json.loads(run(prefix / "bin/norix", "list", "--json"))
    page = text_of(pages / "man1/norix.1")
    names = [each["name"] for each in listed["effects"] + listed["groups"] if each["renders"]]
    assert len(names) == 25
    section = page[page.index("EFFECTS AND GROUPS") : page.index("\nEXAMPLES")]
    assert [name for name in names if name not in section] == []


def test_every_function_has_a_page(pages):
    functions = re.findall(r"^NORIX_API .*?(\w+)\(", HEADER.read_text(), re.MULTILINE)
    assert len(functions) == 9
    page = text_of(pages / "man3/NorixEngine.3")
    for function in functions:
        assert (pages / f"man3/{function}.3").read_text() == ".so man3/NorixEngine.3\n"
        assert f"{function} (" in page
    # Words of the header, from its first part and from its last function.
    assert "A band is a computation of its own" in page
    assert "Frees a record, its name, and names and references to parameter objects of the entries in use." in page


def test_man_has_nothing_to_complain_about(pages):
    for page in sorted(pages.rglob("*.[13]")):
        if page.read_text().startswith(".so "):
            continue
        complaints = run(
            "sh", "-c", 'man --warnings -l "$1" 2>&1 >/dev/null', "sh", page, env={**os.environ, "LC_ALL": "C.UTF-8"}
        )
        assert complaints == "", page
        assert re.search(r'^.*: "\w+ - \S.*"$', run("lexgrog", page).strip()), page
