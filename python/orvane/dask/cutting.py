"""`to_dask`: an array cut into blocks."""

from __future__ import annotations

from collections.abc import Sequence
from typing import TYPE_CHECKING, Any, TypeAlias

import numpy as np
from numpy.typing import NDArray

from .. import AnyArray
from ..convert import to_numpy
from .library import HighLevelGraph, da, normalize_chunks, slices_from_chunks, tokenize

if TYPE_CHECKING:
    from dask.array import Array

Given: TypeAlias = int | str | float | None
ChunksGiven: TypeAlias = Given | Sequence[Given] | Sequence[Given | Sequence[int]] | dict[int, Any]


def to_dask(array: AnyArray, chunks: ChunksGiven = "auto", *, name: str | None = None) -> Array:
    """The array as one of Dask's, with blocks as ``chunks`` says, in the words of ``dask.array``.

    Blocks are read-only, as what others see of arrays always is, and in column-major order. Those
    that hold whole columns are views of the elements. Others are copies that are made when they are
    asked for, one by one, as native engines want neighbouring elements. Either shows the elements
    as they are then, so leave the array alone until it has been computed; what a cluster gets is
    copied when it is sent.

    A view with one dimension, ``a[0]``, becomes an array of one dimension. ``name`` is the name of
    the blocks in progress reports, followed by what tells their content.
    """
    numbers = to_numpy(array)
    cut = normalize_chunks(chunks, numbers.shape, dtype=numbers.dtype)
    name = f"{name or 'to_dask'}-{tokenize(array, cut)}"
    keys = np.ndindex(*map(len, cut))
    layer = {
        (name, *place): (Part.block, Part(numbers, within))
        for place, within in zip(keys, slices_from_chunks(cut), strict=True)
    }
    graph = HighLevelGraph.from_collections(name, layer, dependencies=())
    x: Array = da.Array(graph, name, cut, dtype=numbers.dtype)
    return x


class Part:
    """A part of an array, which stays where it is until somebody wants its elements."""

    __slots__ = ("_numbers", "_within")

    def __init__(self, numbers: NDArray[Any], within: tuple[slice, ...] = ()) -> None:
        self._numbers = numbers
        self._within = within

    def block(self) -> NDArray[Any]:
        block = np.asfortranarray(self._numbers[self._within])
        block.flags.writeable = False
        return block

    def __reduce__(self) -> tuple[Any, ...]:
        return Part, (self.block(),)  # of all elements no more than these
