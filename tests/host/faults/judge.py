"""What norix promises of every run, whatever it was given."""

from __future__ import annotations

import re
from dataclasses import dataclass, field
from pathlib import Path

from process import Ending, run

DONE, FAILED, USAGE, INTERRUPTED = 0, 1, 2, 130
_PLAYER_SECONDS = 60
# What decoders of other streams say: their packets are copied as they are, damaged ones too. Times of decoding are guessed
# by the reader in some containers.
_PARDONED = re.compile(
    r"^\[(aac|ac3|flac|mp2|mp3|opus|pcm|vorbis|wma|srt|subrip|mov_text|text)\w* @ "
    r"|^\[null @ .*non monotonically increasing dts|^    Last message repeated"
)


@dataclass
class Verdict:
    """What was wrong with a run, and the video's hash where there is one."""

    faults: list[str] = field(default_factory=list)
    video: str = ""

    def expect(self, right: bool, fault: str) -> None:
        if not right:
            self.faults.append(fault)


def _check_messages(verdict: Verdict, ending: Ending, names: list[str]) -> None:
    lines = ending.err.splitlines()
    foreign = [line for line in lines if not line.startswith(("norix: ", '{"'))]
    verdict.expect(not foreign, f"stderr holds what is not norix's own: {foreign[:3]}")
    errors = [line for line in lines if line.startswith("norix: error: ")]
    verdict.expect(len(errors) == (0 if ending.code == DONE else 1), f"{len(errors)} error messages")
    if ending.code == FAILED and errors:
        verdict.expect(any(name in errors[0] for name in names), f"the message names no file: {errors[0]}")


def _complaints(ending: Ending) -> str:
    if ending.code != 0:
        return f"exit code {ending.code}: {ending.err}"
    return "\n".join(line for line in ending.err.splitlines() if not _PARDONED.match(line))[:300]


def _check_playable(verdict: Verdict, ending: Ending, output: Path) -> None:
    player = ["ffmpeg", "-nostdin", "-v", "error", "-noautorotate", "-i", str(output)]
    copied = run([*player, "-map", "0", "-c", "copy", "-f", "null", "-"], output.parent, _PLAYER_SECONDS)
    verdict.expect(not _complaints(copied), f"the output cannot be read: {_complaints(copied)}")
    hashes = ["-map", "0:V:0", "-fps_mode", "passthrough", "-f", "framemd5", "-"]
    played = run([*player, *hashes], output.parent, _PLAYER_SECONDS)
    verdict.expect(not _complaints(played), f"the output's video cannot be played: {_complaints(played)}")
    verdict.video = played.out
    told = re.search(r": (\d+) frames?, ", ending.out)
    verdict.expect(told is not None, f"stdout tells no frames: {ending.out}")
    frames = sum(1 for line in played.out.splitlines() if line and not line.startswith("#"))
    # Of pictures that do not change GIF holds one, and of Theora's FFmpeg reads one.
    if told is not None and output.suffix not in (".gif", ".ogv"):
        verdict.expect(frames == int(told[1]), f"{told[1]} frames are told, {frames} are there")


def _check_gallery(verdict: Verdict, folder: Path) -> None:
    names = {path.name for path in folder.iterdir()}
    verdict.expect({"index.html", "index.md", "swirl.png"} <= names, f"the gallery holds {sorted(names)}")


def judge(ending: Ending, folder: Path, inputs: dict[str, bytes], output: str) -> Verdict:
    """Holds a run in `folder` on `inputs` to the promises."""
    verdict = Verdict()
    verdict.expect(not ending.late, "it did not end in time")
    if ending.late:
        return verdict
    verdict.expect(ending.code >= 0, f"signal {-ending.code} ended it: {ending.err[-2000:]}")
    if ending.code < 0:
        return verdict
    verdict.expect(ending.code in (DONE, FAILED, USAGE), f"exit code {ending.code}: {ending.err[-3000:]}")
    _check_messages(verdict, ending, [*inputs, output])
    for name, content in inputs.items():
        verdict.expect((folder / name).read_bytes() == content, f"the input {name} has changed")
    there = {path.name for path in folder.iterdir()} - set(inputs)
    kept = ending.code == DONE or (ending.code == FAILED and "what could be decoded" in ending.err)
    verdict.expect(there == ({output} if kept else set()), f"the folder holds {sorted(there)}: {ending.err}")
    if kept and output in there:
        if output == "gallery":
            _check_gallery(verdict, folder / output)
        else:
            _check_playable(verdict, ending, folder / output)
    return verdict
