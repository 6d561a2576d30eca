"""Errors that are told to the user without a traceback, and exit codes, which are norix's own."""

DONE = 0
FAILED = 1
USAGE = 2
INTERRUPTED = 130


class BatchError(Exception):
    """Something failed; the text is for the user."""


class PlanError(BatchError):
    """The plan or the command line asks for something that does not exist or does not fit together.

    :param problems: one line for each
    """

    def __init__(self, problems: list[str]) -> None:
        super().__init__(problems)
        self.problems = problems

    def __str__(self) -> str:
        return "\n".join(self.problems)


class Interrupted(BatchError):
    """The run was told to stop."""
