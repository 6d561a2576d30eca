"""Renders many clips, and long clips in pieces, on a Dask cluster: ``python3 -m norixengine.batch plan.toml``."""
