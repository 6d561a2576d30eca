"""Threads: the same picture for every number, and other Python threads run meanwhile."""

from __future__ import annotations

import multiprocessing
import os
import threading
import time
from collections.abc import Callable
from concurrent.futures import ThreadPoolExecutor
from typing import Any

import norixengine
import numpy as np
import pytest
from expected import expected
from norixengine import Params
from pictures import LAYOUTS, noise, planes_of

EFFECTS = norixengine.effects()


@pytest.mark.parametrize("layout", LAYOUTS)
@pytest.mark.parametrize("effect", EFFECTS, ids=[effect.name for effect in EFFECTS])
def test_every_number_of_threads_gives_the_same(effect: norixengine.Effect, layout: str) -> None:
    if layout.startswith("yuv") and not effect.takes_planes:
        pytest.skip("takes no planes")
    image = noise(layout, 801, 417)
    one = planes_of(norixengine.render(image, effect.name, level=3000, threads=1))
    for plane, right in zip(one, expected(effect.name, 3000, {}, layout, planes_of(image)), strict=True):
        np.testing.assert_array_equal(plane, right)
    for threads in (2, 3, 5, 64, None):
        many = planes_of(norixengine.render(image, effect.name, level=3000, threads=threads))
        for a, b in zip(one, many, strict=True):
            np.testing.assert_array_equal(a, b)


def test_a_negative_feather_is_settled_once() -> None:
    image = noise("rgba", 700, 700)
    one = norixengine.render(image, "Focus Color", feather=-1, threads=1)
    np.testing.assert_array_equal(norixengine.render(image, "Focus Color", feather=-1, threads=7), one)


def time_of_others(effect: str, image: Any, threads: int) -> float:
    """The share of the processor's time that other threads than the caller spend."""
    out = np.empty_like(image)
    norixengine.render(image, effect, threads=threads, out=out)
    own, all_ = time.thread_time(), time.process_time()
    for _ in range(5):
        norixengine.render(image, effect, threads=threads, out=out)
    own, all_ = time.thread_time() - own, time.process_time() - all_
    return 1 - own / all_


def in_the_end(happens: Callable[[], bool]) -> bool:
    """Tries until it happens: another program may take the processor at any moment, and for long."""
    end = time.monotonic() + 60
    while not happens():
        if time.monotonic() > end:
            return False
    return True


def test_threads_take_their_part() -> None:
    # So large that the caller cannot be through before the others have had a turn, however busy the machine is.
    large = noise("rgb", 6000, 4000)
    assert in_the_end(lambda: time_of_others("Focus Color", large, 4) > 0.2)
    assert in_the_end(lambda: time_of_others("Focus Color", large, 1) < 0.05)
    assert in_the_end(lambda: time_of_others("Swirl", noise("rgb", 1600, 1200), 4) < 0.05)
    # Not worth a thread.
    assert in_the_end(lambda: time_of_others("Motion Blur", noise("rgb", 250, 250), 4) < 0.05)


def test_all_cores_are_those_of_the_process(monkeypatch: pytest.MonkeyPatch) -> None:
    large = noise("rgb", 1600, 1200)
    monkeypatch.setattr(os, "sched_getaffinity", lambda _: {0})
    seen = []
    monkeypatch.setattr("norixengine._engine.render", lambda *arguments: seen.append(arguments[5]))
    norixengine.render(large, "Motion Blur")
    monkeypatch.setattr(os, "sched_getaffinity", lambda _: {0, 3, 5})
    norixengine.render(large, "Motion Blur")
    norixengine.render(large, "Motion Blur", threads=2)
    assert seen == [1, 3, 2]


def longest_pause(render: Any) -> tuple[float, float]:
    """How long this thread stood still at most while another one rendered, and how long that took."""
    durations = []

    def work() -> None:
        begin = time.perf_counter()
        render()
        durations.append(time.perf_counter() - begin)

    thread = threading.Thread(target=work)
    last = time.perf_counter()
    pause = 0.0
    thread.start()
    while True:
        ended = bool(durations)
        now = time.perf_counter()
        pause = max(pause, now - last)
        last = now
        if ended:
            break
    thread.join()
    return pause, durations[0]


@pytest.mark.parametrize("what", ["effect", "enlarging"])
def test_other_python_threads_run_meanwhile(what: str) -> None:
    image = noise("rgba", 3000, 2000)
    out = np.empty_like(image)

    def render() -> None:
        if what == "effect":
            norixengine.render(image, "Ground Glass", out=out)
        else:
            norixengine._engine.enlarge(150, 150, "rgba", [out], [image], 1)

    render()

    def goes_on() -> bool:
        pause, duration = longest_pause(render)
        return pause < duration / 3

    # A thread that waits for the interpreter's lock stands still every time.
    assert in_the_end(goes_on)


def test_calls_from_many_threads() -> None:
    """All effects and layouts at the same time, with settings in common."""
    jobs: list[tuple[Any, Params, int]] = []
    for i, effect in enumerate(EFFECTS):
        params = Params(effect.name, level=3000 + i)
        for k, layout in enumerate(LAYOUTS):
            if effect.takes_planes or not layout.startswith("yuv"):
                # Every picture of another size: tables that follow the size are another's at once.
                jobs += [(noise(layout, 300 + 17 * k + n, 260 + 9 * i), params, n) for n in range(3)]

    def run(job: tuple[Any, Params, int]) -> list[Any]:
        image, params, seed = job
        return planes_of(norixengine.render(image, params, threads=3, seed=seed))

    alone = [run(job) for job in jobs]
    with ThreadPoolExecutor(8) as pool:
        together = list(pool.map(run, jobs))
    for one, other in zip(alone, together):
        for a, b in zip(one, other, strict=True):
            np.testing.assert_array_equal(a, b)


def test_seeds_repeat_the_picture() -> None:
    image = noise("yuv", 64, 48)
    first = norixengine.render(image, "Ground Glass", seed=7)
    again = norixengine.render(image, "Ground Glass", seed=7)
    other = norixengine.render(image, "Ground Glass", seed=8)
    np.testing.assert_array_equal(first[0], again[0])
    assert not np.array_equal(first[0], other[0])
    np.testing.assert_array_equal(
        norixengine.render(image, "Ground Glass")[0], norixengine.render(image, "Ground Glass", seed=1)[0]
    )


def test_the_past_does_not_show() -> None:
    """Ripple's tables follow the fields in whole numbers only."""
    image = noise("rgb", 90, 70)
    params = Params("Ripple", damping=90.0)
    norixengine.render(image, params)
    params.damping = 90.75
    np.testing.assert_array_equal(
        norixengine.render(image, params), norixengine.render(image, Params("Ripple", damping=90.75))
    )


def _digest(image: Any) -> int:
    return int(norixengine.render(image, "Motion Blur", threads=4).astype(np.int64).sum())


def test_forked_processes_render() -> None:
    image = noise("rgb", 900, 700)
    wanted = _digest(image)
    with multiprocessing.get_context("fork").Pool(2) as pool:
        assert pool.map(_digest, [image] * 4) == [wanted] * 4
