"""`from_dask`: the blocks of a Dask array in one array."""

from __future__ import annotations

import sys
from collections.abc import Iterable, Iterator
from typing import TYPE_CHECKING, Any
from uuid import uuid4

import numpy as np
from numpy.typing import NDArray

from .. import AnyArray
from ..convert import writable
from ..convert.fitting import fit
from ..convert.kinds import Kind, Wish, kind_of_dtype, read_wish
from ..convert.memory import row_at_least
from ..convert.ndarrays import without_mask
from ..convert.places import named
from ..convert.reading import ndarray_of
from .blocks import by
from .chunks import require_array, require_kind, require_known
from .library import da, dask, get_scheduler, slices_from_chunks

if TYPE_CHECKING:
    from dask.array import Array

Place = tuple[int, ...]

_TOGETHER = 1 << 26
"""Bytes that are fetched from a cluster at once: enough that the round trips do not count."""


def from_dask(x: Array, type: Any = None, *, is_complex: bool | None = None) -> AnyArray:
    """One array of a Dask array, which is computed by the scheduler that Dask would take.

    Each block goes to its place when it is there, and is dropped: beside the array, only blocks
    under way are in memory. ``type`` and ``is_complex`` are those of `orvane.asarray`. An array of
    one dimension becomes a row.

    TypeError for elements that no array has, ValueError for those that do not fit and for blocks
    whose extents are not known or are not what the array says; each names the block.
    """
    require_array(x, "from_dask")
    wish = read_wish(type, is_complex, None)
    require_known(x, "from_dask")
    kind = require_kind(x, "from_dask", wish)
    shape = tuple(map(int, x.shape))
    whole = kind.make(size=row_at_least(shape))
    with writable(whole) as numbers:
        target = Target(numbers.reshape(shape, order="F"), kind, x)
        client = _client_for(x)
        if client is None:
            _compute_here(x, target)
        else:
            for place, block in _computed_by(client, x):
                target.take(block, place)
    return whole


class Target:
    """The elements of the whole, to which blocks are brought; by several threads, in any order."""

    def __init__(self, numbers: NDArray[Any], kind: Kind, x: Any) -> None:
        self._numbers = numbers
        self._kind = kind
        self._name = x.name
        places = np.ndindex(*x.numblocks)
        self._within = dict(zip(places, slices_from_chunks(x.chunks), strict=True))
        self._token = uuid4().hex

    def take(self, block: Any, place: Place) -> None:
        where = f"block {place} of {self._name}"
        within = self._within[place]
        shape = tuple(each.stop - each.start for each in within)
        if not isinstance(block, np.ndarray):
            with named(where):
                block = ndarray_of(block, Wish(*self._kind, None))
        if block.shape != shape:
            raise ValueError(f"{where} is {by(block.shape)}, where its chunk is {by(shape)}")
        if kind_of_dtype(block.dtype) != self._kind or isinstance(block, np.ma.MaskedArray):
            with named(where):
                block = fit(without_mask(block), self._kind)
        self._numbers[within] = block

    def __call__(self, block: Any, block_id: Place) -> NDArray[Any]:
        self.take(block, block_id)
        return np.empty((0,) * len(block_id), np.bool_)

    def __dask_tokenize__(self) -> str:
        return self._token  # of this one alone: what Dask keeps for another has been brought there


def _compute_here(x: Any, target: Target) -> None:
    if _shares_memory(x):
        nothing = tuple((0,) * count for count in x.numblocks)
        meta = np.empty((0,) * x.ndim, np.bool_)
        written = da.map_blocks(target, x, chunks=nothing, meta=meta, token="from_dask")
        written.persist()
    else:
        for place, block in zip(np.ndindex(*x.numblocks), _computed_elsewhere(x), strict=True):
            target.take(block, place)


def _computed_elsewhere(x: Any) -> Iterator[Any]:
    """Blocks of which other processes have given all before the first can be taken."""
    blocks: list[Any] = list(dask.compute(*x.to_delayed().ravel()))
    blocks.reverse()
    while blocks:
        yield blocks.pop()


def _shares_memory(x: Any) -> bool:
    """Whether tasks run in this process, and so can bring their blocks themselves."""
    get = get_scheduler(collections=[x])
    return get in (dask.threaded.get, dask.local.get_sync)


def _client_for(x: Any) -> Any:
    """The client of the cluster that computes; None where none does, or from within a task of it.

    There, to wait for other tasks takes what Dask's own way of computing does.
    """
    distributed = sys.modules.get("distributed")
    client = getattr(get_scheduler(collections=[x]), "__self__", None)
    if client is None or distributed is None or not isinstance(client, distributed.Client):
        return None
    state = sys.modules["distributed.worker"].thread_state
    return None if hasattr(state, "execution_state") else client


def _computed_by(client: Any, x: Any) -> Iterator[tuple[Place, Any]]:
    """The blocks as the cluster has computed them, some at a time."""
    distributed: Any = sys.modules["distributed"]
    futures = distributed.futures_of(client.persist(x))
    held = {future.key: future for future in futures}
    del futures
    for batch in distributed.as_completed(list(held.values())).batches():
        for keys in _by_size(x, [future.key for future in batch]):
            blocks = client.gather([held.pop(key) for key in keys])
            for key in keys:
                yield key[1:], blocks.pop(0)


def _by_size(x: Any, keys: Iterable[Any]) -> Iterator[list[Any]]:
    """The keys, in groups whose blocks may come together."""
    group: list[Any] = []
    size = 0
    for key in keys:
        extents = (x.chunks[axis][place] for axis, place in enumerate(key[1:]))
        size += int(np.prod(list(extents), initial=x.dtype.itemsize))
        group.append(key)
        if size >= _TOGETHER:
            yield group
            group, size = [], 0
    if group:
        yield group
