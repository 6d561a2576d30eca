"""What the tests of the installation share: where things are, how commands are run."""

import os
import subprocess
from pathlib import Path

import pytest

BUILD = Path(os.environ["NORIX_BUILD"])
SOURCE = Path(os.environ["NORIX_SOURCE"])
# Below a prefix.
LIBRARIES = Path(os.environ["NORIX_LIBRARY_FOLDER"])


def run(*command, **options):
    """Runs a command and returns its output; a failure shows all that it printed."""
    done = subprocess.run(
        [str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options
    )
    assert done.returncode == 0, f"{command} ended with {done.returncode}:\n{done.stdout}"
    return done.stdout


@pytest.fixture(scope="session")
def prefix(tmp_path_factory):
    """The installation in a folder of its own."""
    folder = tmp_path_factory.mktemp("prefix")
    run("cmake", "--install", BUILD, "--prefix", folder)
    return folder
