"""Tells whether two machines have the same version of this package."""

import hashlib
from pathlib import Path


def fingerprint() -> str:
    """A hash of the package's sources."""
    digest = hashlib.sha256()
    for path in sorted(Path(__file__).parent.glob("*.py")):
        digest.update(path.name.encode() + b"\0" + path.read_bytes() + b"\0")
    return digest.hexdigest()
