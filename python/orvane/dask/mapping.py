"""`map_blocks`: a function of arrays, applied to the blocks of Dask arrays."""

from __future__ import annotations

from collections.abc import Callable, Sequence
from typing import TYPE_CHECKING, Any

import numpy as np
from numpy.typing import NDArray

from .. import AnyArray
from ..convert.kinds import Kind, kind_of, read_wish
from .blocks import block_of_array, by, checked, size_of_shape
from .calling import Caller
from .layout import Layout
from .library import funcname

if TYPE_CHECKING:
    from dask.array import Array
from .trial import Trial


def map_blocks(
    function: Callable[..., AnyArray],
    *arrays: Any,
    type: Any = None,
    is_complex: bool | None = None,
    chunks: Sequence[int | Sequence[int]] | None = None,
    drop_axis: int | Sequence[int] | None = None,
    new_axis: int | Sequence[int] | None = None,
    name: str | None = None,
    **keywords: Any,
) -> Array:
    """A Dask array of what a function of arrays gives for each block of Dask arrays.

    As ``dask.array.map_blocks``, but the function takes and gives arrays of ``orvane``. Of
    ``arrays``, those of Dask are given block by block; along each dimension, counted from the last,
    they have the same chunks, or one, which goes with all. Everything else is given as it is:
    numbers, arrays of ``orvane``, and what ``dask.delayed`` and `tree_reduce` give, computed. A
    block of one dimension is a row. The function may write to what it is given: to a copy.

    ``type`` and ``is_complex`` say what elements the function gives, and ``chunks`` the extents of
    its blocks: for each dimension those of all blocks, or of each. What is not given is found out
    by two calls with small blocks of ones (twos on the diagonal).

    ``drop_axis`` and ``new_axis`` are dimensions that the result has not, and has besides; blocks
    are given side by side along those that are dropped. The function gets ``block_id``, the place
    of the block, where it has such a keyword, and all other ``keywords``. Tasks are named after the
    function, or ``name``.

    What does not fit raises an error that names the function and the block: TypeError when the
    function gives anything but an array, or another type than was said or found; ValueError for
    other extents.
    """
    called = name or funcname(function)
    layout = Layout.of(f"map_blocks, {called}", arrays, drop_axis, new_axis)
    wish = read_wish(type, is_complex, None)
    if chunks is None or wish.array_type is None:
        trial = Trial(function, layout, arrays, keywords)
        kind, extents = trial.kind(wish), trial.chunks() if chunks is None else chunks
    else:
        kind, extents = Kind(wish.array_type, bool(wish.is_complex)), chunks
    fitted = layout.fit_chunks(extents)
    applied = Applied(function, called, arrays, kind)
    meta = np.empty((0,) * len(fitted), kind.dtype)
    mapped: Array = applied.over_blocks(layout, arrays, keywords, fitted, meta)
    return mapped


class Applied(Caller):
    """A function of arrays as a function of blocks."""

    def __init__(
        self, function: Callable[..., AnyArray], called: str, arrays: Sequence[Any], kind: Kind
    ) -> None:
        super().__init__(function, called, arrays)
        self._kind = kind

    def checked(self, result: Any, shape: tuple[int, ...], giver: str) -> NDArray[Any]:
        array = checked(result, giver)
        kind = kind_of(array)
        if kind != self._kind:
            raise TypeError(f"{giver} gave {kind}, where {self._kind} was to come")
        given, wanted = size_of_shape(array.size), size_of_shape(shape)
        if given != wanted:
            raise ValueError(f"{giver} gave {by(given)}, where {by(wanted)} was to come")
        return block_of_array(array, shape)

    def _told_apart(self) -> tuple[Any, ...]:
        return *super()._told_apart(), str(self._kind)
