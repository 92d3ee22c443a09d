"""`tree_reduce`: what is combined of all blocks."""

from __future__ import annotations

from collections.abc import Callable, Iterable
from functools import reduce
from operator import index
from typing import TYPE_CHECKING, Any, SupportsIndex

import numpy as np

from .. import ARRAY_TYPES
from ..convert.kinds import Kind, kind_of
from .blocks import checked, noted, shared
from .calling import Caller
from .layout import Layout
from .library import (
    Delayed,
    HighLevelGraph,
    dask,
    flatten,
    funcname,
    optimize,
    tokenize,
)

if TYPE_CHECKING:
    from dask.delayed import Delayed as DaskDelayed


def tree_reduce(
    chunk: Callable[..., Any],
    combine: Callable[[Any, Any], Any],
    *arrays: Any,
    finish: Callable[[Any], Any] | None = None,
    split_every: int | None = None,
    name: str | None = None,
    **keywords: Any,
) -> DaskDelayed:
    """What a function gives for each block, combined two by two until one is left.

    ``chunk`` is called as `map_blocks` calls its function, with the blocks of ``arrays`` and with
    ``keywords``; it gives an array of ``orvane``, or a tuple of arrays, of whatever extents.
    ``combine`` makes one of two such, in the order of the blocks, row by row. ``finish`` makes of
    the last what is wanted, anything. All three may write to what they are given: to a copy.

    ``split_every`` results are combined by one task, 4 unless Dask's configuration says otherwise,
    so that no worker holds more than so many. Gives a ``dask.delayed`` value, whose ``compute()``
    gives the result and which can be an argument of `map_blocks`. Tasks are named after the
    functions, those of blocks after ``name`` where it is given.

    What does not fit raises an error that names the function and the blocks: TypeError when
    ``chunk`` or ``combine`` gives anything else, or ``combine`` another type than it was given.
    """
    called = name or funcname(chunk)
    layout = Layout.of(f"tree_reduce, {called}", arrays, None, None)
    every = dask.config.get("split_every", 4) if split_every is None else split_every
    if not isinstance(every, SupportsIndex) or index(every) < 2:
        raise ValueError(f"tree_reduce, {called}: split_every must be 2 or more, not {every!r}")
    ones = tuple((1,) * layout.blocks_along(axis) for axis in range(len(layout.labels_out)))
    meta = np.empty((0,) * len(ones), object)
    parts = Part(chunk, called, arrays).over_blocks(layout, arrays, keywords, ones, meta)
    if not parts.npartitions:
        raise ValueError(f"tree_reduce, {called}: there is no block")
    combined = _combined(parts, combine, index(every))
    return combined if finish is None else _finished(combined, finish)


class Reduced(Delayed):  # type: ignore[misc]  # it is anything
    """A value that is computed of arrays, so the way to it is made shorter as theirs is."""

    __slots__ = ()

    @staticmethod
    def __dask_optimize__(graph: Any, keys: Any, **settings: Any) -> Any:
        return optimize(graph, keys, **settings)


class Part(Caller):
    """The function of a block."""

    def checked(self, result: Any, shape: tuple[int, ...], giver: str) -> Any:
        _kinds(result, giver)
        return result


class Combiner:
    """The function of two, for any number of those that follow each other."""

    def __init__(self, combine: Callable[[Any, Any], Any]) -> None:
        self.__name__ = funcname(combine)
        self._combine = combine

    def __call__(self, where: str, parts: Iterable[Any]) -> Any:
        where = f"{self.__name__}, {where}"

        def two(one: Any, other: Any) -> Any:
            wanted, given = _kinds(one, where), _kinds(other, where)
            with noted(where):
                both = self._combine(_all_shared(one), _all_shared(other))
            if wanted != given or _kinds(both, f"{where}: the function") != wanted:
                kinds = " and ".join(_told(each) for each in (one, other))
                raise TypeError(f"{where}: of {kinds} the function made {_told(both)}")
            return both

        return reduce(two, parts)


class Finisher:
    """The function of the last."""

    def __init__(self, finish: Callable[[Any], Any]) -> None:
        self.__name__ = funcname(finish)
        self._finish = finish

    def __call__(self, combined: Any) -> Any:
        with noted(self.__name__):
            return self._finish(_all_shared(combined))


def _combined(parts: Any, combine: Callable[[Any, Any], Any], every: int) -> Reduced:
    keys = list(flatten(parts.__dask_keys__()))
    combiner = Combiner(combine)
    name = f"{combiner.__name__}-{tokenize(parts, combine, every)}"
    blocks = [(key[1:], key[1:]) for key in keys]
    layer: dict[Any, Any] = {}
    level = 0
    while len(keys) > 1:
        starts = range(0, len(keys), every)
        blocks_then = [(blocks[i][0], blocks[i : i + every][-1][1]) for i in starts]
        for place, start in enumerate(starts):
            first, last = blocks_then[place]
            group = keys[start : start + every]
            layer[name, level, place] = (combiner, f"blocks {first} to {last}", group)
        keys = [(name, level, place) for place in range(len(starts))]
        blocks = blocks_then
        level += 1
    if not layer:
        return Reduced(keys[0], parts.dask, layer=parts.name)
    graph = HighLevelGraph.from_collections(name, layer, dependencies=[parts])
    return Reduced(keys[0], graph, layer=name)


def _finished(combined: Reduced, finish: Callable[[Any], Any]) -> Reduced:
    finisher = Finisher(finish)
    name = f"{finisher.__name__}-{tokenize(combined.key, finish)}"
    layer = {name: (finisher, combined.key)}
    graph = HighLevelGraph.from_collections(name, layer, dependencies=[combined])
    return Reduced(name, graph)


def _each(value: Any) -> tuple[Any, ...]:
    return value if isinstance(value, tuple) else (value,)


def _kinds(value: Any, giver: str) -> list[Kind]:
    return [kind_of(checked(each, giver)) for each in _each(value)]


def _told(value: Any) -> str:
    told = ", ".join(
        str(kind_of(each)) if isinstance(each, ARRAY_TYPES) else type(each).__name__
        for each in _each(value)
    )
    return f"({told})" if isinstance(value, tuple) else told


def _all_shared(value: Any) -> Any:
    return tuple(map(shared, value)) if isinstance(value, tuple) else shared(value)
