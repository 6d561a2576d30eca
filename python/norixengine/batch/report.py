"""What the user sees of a run: lines on stderr, results on stdout."""

from __future__ import annotations

import sys
import time

from norixengine.batch.job import Job


class Report:
    """Counts frames and failures, and says how the run goes on."""

    def __init__(self, jobs: list[Job], quiet: bool) -> None:
        self.failures: list[str] = []
        self._failed: set[str] = set()
        self._quiet = quiet
        self._clips = len(jobs)
        self._pieces = sum(len(job.pieces) for job in jobs)
        self._done = 0
        self._frames = 0
        self._started = time.monotonic()
        self._alone = False

    def note(self, text: str) -> None:
        """Something worth knowing."""
        if not self._quiet:
            print(f"norix batch: {text}", file=sys.stderr, flush=True)

    def piece(self, job: Job, number: int, frames: int, worker: str) -> None:
        """A piece is there."""
        self._done += 1
        self._frames += frames
        seconds = time.monotonic() - self._started
        left = seconds / self._done * (self._pieces - self._done)
        clock = f"{int(left) // 60}:{int(left) % 60:02}"
        self.note(
            f"{self._done}/{self._pieces} pieces, {self._frames / max(seconds, 1e-3):.1f} fps, {clock} left: "
            f"{job.piece_label(number)} by {worker}"
        )

    def finished(self, job: Job, frames: int, worker: str) -> None:
        """An output is there."""
        del worker
        pieces = f", joined from {len(job.pieces)} pieces" if job.joined else ""
        print(f"{job.clip.output}: {frames} frames{pieces}", flush=True)

    def failure(self, job: Job, text: str) -> None:
        """Something failed for good."""
        self.failures.append(text)
        self._failed.add(job.clip.label)
        print(f"norix batch: error: {text}", file=sys.stderr, flush=True)

    def workers(self, count: int) -> None:
        """How many workers there are: said when the last one is gone, and when one has come back."""
        if count == 0 and not self._alone:
            self.note("no worker is left; waiting for one")
        elif count > 0 and self._alone:
            self.note("a worker is there again")
        self._alone = count == 0

    def summary(self) -> None:
        """At the end of a run in which something failed."""
        print(
            f"norix batch: error: {len(self._failed)} of {self._clips} clips failed; what is rendered stays, "
            "--resume goes on with it:",
            file=sys.stderr,
        )
        for text in self.failures:
            print(f"  {text}", file=sys.stderr)
