"""Every run draws the same cases."""

from __future__ import annotations

from hypothesis import HealthCheck, settings

settings.register_profile(
    "norix",
    derandomize=True,
    deadline=None,
    database=None,
    max_examples=12,
    suppress_health_check=[HealthCheck.too_slow, HealthCheck.data_too_large],
)
settings.load_profile("norix")
