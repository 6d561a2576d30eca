"""The completions, in the shells that people type into."""

import os
import pty
import re
import select
import shutil
import time

import pytest
from conftest import BUILD, run

PROMPT = "ready>"


class Shell:
    """A shell at a terminal."""

    def __init__(self, command, environment, folder):
        pid, self.terminal = pty.fork()
        if pid == 0:
            os.chdir(folder)
            os.execvpe(command[0], command, environment)
        self.pid = pid
        self.seen = ""

    def type(self, text):
        os.write(self.terminal, text.encode())

    def wait_for(self, pattern, seconds=30):
        """What the terminal has shown up to and with `pattern`, without colours and cursor movements."""
        end = time.monotonic() + seconds
        while not (found := re.search(pattern, self.seen)):
            ready, _, _ = select.select([self.terminal], [], [], max(0.0, end - time.monotonic()))
            assert ready, f"no {pattern!r} in {self.seen!r}"
            self.seen += os.read(self.terminal, 65536).decode(errors="replace")
            self.seen = re.sub(r"\x1b\[[0-9;?]*[A-Za-z]|\x1b[=>]|\x07|\r", "", self.seen)
        text, self.seen = self.seen[: found.end()], self.seen[found.end() :]
        return text

    def complete(self, text):
        """The words of the command after the tab, as the command gets them."""
        self.type(text + "\t")
        self.type(" end\n")
        words = self.wait_for(r"<end>\n").split("<norix>")[-1]
        self.wait_for(PROMPT)
        return re.findall(r"<([^>]*)>", words)[:-1]

    def close(self):
        os.close(self.terminal)
        os.waitpid(self.pid, 0)


@pytest.fixture(params=["bash", "zsh"])
def shell(request, tmp_path):
    if not shutil.which(request.param):
        pytest.skip(f"{request.param} is not installed")
    # What stands on the command line, each word in angle brackets.
    commands = tmp_path / "bin"
    commands.mkdir()
    (commands / "norix").write_text("#!/bin/sh\nprintf '<norix>'; printf '<%s>' \"$@\"; echo\n")
    (commands / "norix").chmod(0o755)
    (tmp_path / "folder").mkdir()
    (tmp_path / "folder/clip.mp4").touch()
    environment = {**os.environ, "PATH": f"{commands}:{os.environ['PATH']}", "TERM": "dumb", "HOME": str(tmp_path)}
    if request.param == "bash":
        base = "/usr/share/bash-completion/bash_completion"
        if not os.path.exists(base):
            pytest.skip("bash-completion is not installed")
        start = f"source {base}; source {BUILD}/describe/norix.bash"
        shell = Shell(["bash", "--norc", "--noprofile", "-i"], environment, tmp_path / "folder")
        shell.type(f"bind 'set enable-bracketed-paste off'; {start}; PS1='re''ady>'\n")
    else:
        start = f"fpath=({BUILD}/describe $fpath); autoload -Uz compinit; compinit -u -D; unsetopt zle_bracketed_paste 2>/dev/null"
        shell = Shell(["zsh", "-f", "-i"], environment, tmp_path / "folder")
        shell.type(f"{start}; unset zle_bracketed_paste; PS1='re''ady>'\n")
    shell.wait_for(PROMPT)
    yield shell
    shell.close()


def test_commands(shell):
    assert shell.complete("norix tra") == ["transition"]


def test_options(shell):
    assert shell.complete("norix render in.mp4 out.mp4 --start-f") == ["render", "in.mp4", "out.mp4", "--start-frame"]


@pytest.mark.parametrize("typed", ["Zoo", "'Zoo", '"Zoo', "Zoom\\ B"])
def test_effects(shell, typed):
    assert shell.complete(f"norix render in.mp4 out.mp4 --effect {typed}")[3:] == ["--effect", "Zoom Blur"]


def test_groups(shell):
    assert shell.complete("norix transition a.mp4 b.mp4 out.mp4 --group Blurry\\ Cr")[4:] == [
        "--group",
        "Blurry Cross Right Up",
    ]


def test_fields_of_the_effect_before(shell):
    shell.type("norix render in.mp4 out.mp4 --effect Pinch --effect Swirl --set an\t180 end\n")
    words = shell.wait_for(r"<end>\n").split("<norix>")[-1]
    assert "<angle=180>" in words


def test_words(shell):
    assert shell.complete("norix render in.mp4 out.mp4 --progress js")[-1] == "json"


def test_files(shell):
    assert shell.complete("norix render cl") == ["render", "clip.mp4"]


def test_the_shell_finds_no_mistake():
    run("bash", "-n", BUILD / "describe/norix.bash")
    if shutil.which("zsh"):
        run("zsh", "-n", BUILD / "describe/_norix")
    if shutil.which("shellcheck"):
        run("shellcheck", "-s", "bash", "-e", "SC2034,SC2207,SC2154", BUILD / "describe/norix.bash")
