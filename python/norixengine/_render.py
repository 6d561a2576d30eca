"""Pictures from pictures."""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass
from typing import Final, SupportsFloat, SupportsIndex, cast

from norixengine import _engine
from norixengine._catalogue import DEFAULT_LEVEL, find_effect, find_group
from norixengine._numbers import HIGHEST, LOWEST, thread_count, whole
from norixengine._params import Params
from norixengine._pictures import (
    Checked,
    Order,
    Picture,
    check_order,
    check_out,
    check_picture,
    give,
    new_picture,
    prepare,
)

_HIGHEST_SEED: Final = 2**32 - 1
#: What `norix render` starts the first frame with.
_DEFAULT_SEED: Final = 1


@dataclass(frozen=True)
class Enlarge:
    """A step of a group that enlarges the picture about its centre; what goes beyond the borders is cut off."""

    #: Percent of the width, 100 and more.
    percent_x: int
    #: Percent of the height, 100 and more.
    percent_y: int


def render(
    image: Picture,
    effect: str | Params,
    *,
    level: SupportsIndex | None = None,
    threads: SupportsIndex | None = None,
    out: Picture | None = None,
    order: Order = "rgb",
    seed: SupportsIndex = _DEFAULT_SEED,
    **fields: SupportsFloat,
) -> Picture:
    """Renders a picture with an effect.

    Args:
        image: an array of uint8, (H, W, 3) RGB or (H, W, 4) RGBA; or the planes of a YUV 4:2:0 picture, a tuple
            (Y, U, V) or (Y, U, V, A) of arrays with Y and A (H, W), U and V ((H + 1) // 2, (W + 1) // 2). It is not
            changed. Any strides; see :class:`CopyWarning` for those that are copied.
        effect: a name of :func:`effects`, or :class:`Params`.
        level: 0 (weakest) to 10000 (strongest), 5000 unless given; what it sets, :func:`effects` says.
        threads: at most so many threads, or None for all cores that this process may use. The picture is the same for
            every number. Effects whose pixels depend on where a band of rows begins take one
            (``Effect.uses_threads``), and so do small pictures. Other Python threads run meanwhile.
        out: where to write, of the shape of ``image`` and without memory in common; new arrays unless given.
        order: "rgb", or "bgr" for arrays as OpenCV has them. "Sketch", "Comicbook" and "Focus Color" tell red from
            blue. Does not matter for planes.
        seed: start of the random numbers of "Ground Glass", 0 to 2**32 - 1. They belong to the process (C's ``rand``).
        **fields: settings of the effect, in the units of :func:`effects`; they win over the level.

    Returns:
        ``out``, or new arrays: the same shapes and order. What an effect does not write is the source's: alpha in
        "Comicbook" and "Focus Color", an odd last row of planes in "Sketch". Alpha otherwise moves with the pixels or
        passes unchanged, as docs/effects.md says.

    "Comicbook" and "Focus Color" work on pixels of four bytes, BGRA: other arrays are rendered through that, which
    moves bytes and changes none. Vignette falls off, and Bulge bulges, in (H, W, 3) otherwise than in (H, W, 4): that
    is how the engine defines them.

    Raises:
        TypeError: an argument of a wrong type, an array that is not uint8 (the message says how to convert it).
        ValueError: a name that does not exist (the message has the nearest), a number out of its range, a shape that
            is no picture, an ``out`` that does not fit, is read-only or shares memory with ``image``; "Comicbook" on
            planes.

    >>> import numpy, norixengine
    >>> image = numpy.zeros((4, 6, 3), numpy.uint8)
    >>> image[...] = numpy.array([[0], [10], [20], [30], [40], [50]])
    >>> norixengine.render(image, "Mirror Move X", offset=0.5)[0, :, 0]
    array([20, 10,  0,  0, 10, 20], dtype=uint8)
    """
    params = _params_of(effect, level, fields)
    count = thread_count(threads)
    start = whole(seed, "seed", 0, _HIGHEST_SEED)
    source = check_picture(image, "image")
    target = _target(out, [source])
    _render_step(params, source, target, check_order(order), count, start)
    return cast(Picture, out if out is not None else give(target.planes))


def group_entries(group: str, time: SupportsIndex) -> tuple[Params | Enlarge, ...]:
    """The steps of a group effect at a moment of the transition, in the order in which they are applied.

    Args:
        group: a name of :func:`groups`.
        time: 0 (begin) to 10000 (end of the transition).

    Returns:
        effects with their settings, and :class:`Enlarge` where the group asks for a larger picture.

    >>> import norixengine
    >>> norixengine.group_entries("Blurry Roll Left", 0)
    (Params('Mirror Move X', offset=0.0), Params('Motion Blur', strength=0.0, angle=0.0))
    """
    find_group(group)
    steps: list[Params | Enlarge] = []
    for effect, values, percent_x, percent_y in _engine.group_entries(group, _moment(time)):
        if effect is None:
            steps.append(Enlarge(percent_x, percent_y))
        else:
            fields = {field.name: value for field, value in zip(find_effect(effect).fields, values, strict=True)}
            steps.append(Params(effect, level=DEFAULT_LEVEL, **fields))
    return tuple(steps)


def render_group(
    image: Picture,
    group: str,
    time: SupportsIndex,
    *,
    threads: SupportsIndex | None = None,
    out: Picture | None = None,
    order: Order = "rgb",
) -> Picture:
    """Renders a picture with every step of a group effect, in order, at a moment of the transition.

    Args:
        image: as for :func:`render`.
        group: a name of :func:`groups`.
        time: 0 (begin) to 10000 (end of the transition).
        threads, out, order: as for :func:`render`.

    Returns:
        ``out``, or new arrays: the same shapes and order.

    Raises:
        TypeError, ValueError: as :func:`render` does.
    """
    steps = group_entries(group, time)
    count = thread_count(threads)
    source = check_picture(image, "image")
    target = _target(out, [source])
    _render_steps(steps, source, target, check_order(order), count)
    return cast(Picture, out if out is not None else give(target.planes))


def transition(
    a: Picture,
    b: Picture,
    group: str,
    time: SupportsIndex,
    *,
    threads: SupportsIndex | None = None,
    out: Picture | None = None,
    order: Order = "rgb",
) -> Picture:
    """The picture of a transition between two pictures at a moment.

    While the time is below 5000 it shows ``a``, from then on ``b``, with every step of the group applied in order.

    Args:
        a, b: two pictures of one shape, as for :func:`render`.
        group: a name of :func:`groups`.
        time: 0 (begin) to 10000 (end of the transition).
        threads, out, order: as for :func:`render`; ``out`` must share memory with neither picture.

    Returns:
        ``out``, or new arrays: the same shapes and order.

    Raises:
        TypeError, ValueError: as :func:`render` does; pictures of different shapes.
    """
    steps = group_entries(group, time)
    count = thread_count(threads)
    first = check_picture(a, "a")
    second = check_picture(b, "b")
    if first.shapes != second.shapes:
        raise ValueError(f"a and b must have one shape, not {_shapes(first)} and {_shapes(second)}")
    target = _target(out, [first, second])
    shown = first if _moment(time) < HIGHEST // 2 else second
    _render_steps(steps, shown, target, check_order(order), count)
    return cast(Picture, out if out is not None else give(target.planes))


def _moment(time: object) -> int:
    return whole(time, "time", LOWEST, HIGHEST)


def _shapes(picture: Checked) -> str:
    return str(picture.shapes if picture.planar else picture.shapes[0])


def _params_of(effect: object, level: SupportsIndex | None, fields: dict[str, SupportsFloat]) -> Params:
    if not isinstance(effect, Params):
        return Params(cast(str, effect), level=DEFAULT_LEVEL if level is None else level, **fields)
    if level is not None or fields:
        given = ", ".join((["level"] if level is not None else []) + list(fields))
        raise TypeError(
            f"effect is a Params and has its own settings, so {given} cannot be given; set them in the Params"
        )
    return effect


def _target(out: object, sources: Sequence[Checked]) -> Checked:
    if out is None:
        return Checked("out", new_picture(sources[0]))
    return check_out(out, sources)


def _render_step(params: Params, source: Checked, target: Checked, order: Order, threads: int, seed: int) -> None:
    info = find_effect(params.effect)
    if source.planar and not info.takes_planes:
        raise ValueError(f"{info.name!r} does nothing to YUV planes; convert {source.name} to RGB")
    # "Ground Glass" walks over planes by their bytes, gaps included.
    tight = source.planar and info.name == "Ground Glass"
    arrays = prepare(source, target, tight=tight)
    values = tuple(params.fields.values())
    _engine.render(info.name, values, source.format(order), arrays.target, arrays.source, threads, seed)
    arrays.finish()


def _render_steps(steps: Sequence[Params | Enlarge], source: Checked, out: Checked, order: Order, threads: int) -> None:
    between: list[Checked] = []
    for i, step in enumerate(steps):
        if i + 1 == len(steps):
            target = out
        else:
            # Two pictures take turns.
            if len(between) < 2:
                between.append(Checked(source.name, new_picture(source)))
            target = between[i % 2]
        if isinstance(step, Enlarge):
            arrays = prepare(source, target, tight=False)
            percent = (step.percent_x, step.percent_y)
            _engine.enlarge(*percent, source.format(order), arrays.target, arrays.source, threads)
            arrays.finish()
        else:
            _render_step(step, source, target, order, threads, _DEFAULT_SEED)
        source = target
