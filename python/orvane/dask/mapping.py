"""`map_blocks`: a function of arrays, applied to the blocks of Dask arrays."""

from __future__ import annotations

from collections.abc import Callable, Sequence
from typing import TYPE_CHECKING, Any

import numpy as np
from numpy.typing import NDArray

from .. import AnyArray
from ..convert.kinds import Kind, kind_of, read_wish
from .blocks import block_of_array, by, checked, size_of_shape
from .calling import Caller, held
from .chunks import Chunks
from .layout import Layout
from .library import da, funcname, has_keyword

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
    are given side by side along those that are dropped. The function gets ``block_id`` and
    ``block_info`` where it has such keywords, and all other ``keywords``. Tasks are named after the
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
        kind, extents = trial.kind(wish), chunks or trial.chunks()
    else:
        kind, extents = Kind(wish.array_type, bool(wish.is_complex)), chunks
    fitted = layout.fit_chunks(extents)
    blocks_at = tuple(isinstance(each, da.Array) for each in arrays)
    wrapper = AppliedWithInfo if has_keyword(function, "block_info") else Applied
    mapped: Array = da.map_blocks(
        wrapper(function, called, blocks_at, kind, fitted),
        *map(held, arrays),
        token=called,
        chunks=fitted,
        drop_axis=layout.dropped,
        new_axis=layout.added or None,
        meta=np.empty((0,) * len(fitted), kind.dtype),
        **{word: held(value) for word, value in keywords.items()},
    )
    return mapped


class Applied(Caller):
    """A function of arrays as a function of blocks."""

    def __init__(
        self,
        function: Callable[..., AnyArray],
        called: str,
        blocks_at: tuple[bool, ...],
        kind: Kind,
        chunks: Chunks,
    ) -> None:
        super().__init__(function, called, blocks_at)
        self._kind = kind
        self._chunks = chunks

    def __call__(self, *given: Any, block_id: tuple[int, ...], **keywords: Any) -> NDArray[Any]:
        where = f"{self.__name__}, block {block_id}"
        result = self._call(given, where, keywords | {"block_id": block_id})
        return self._block(result, block_id, where)

    def _block(self, result: Any, block_id: tuple[int, ...], where: str) -> NDArray[Any]:
        array = checked(result, f"{where}: the function")
        kind = kind_of(array)
        if kind != self._kind:
            raise TypeError(f"{where}: the function gave {kind}, where {self._kind} was to come")
        shape = tuple(extents[place] for extents, place in zip(self._chunks, block_id, strict=True))
        given, wanted = size_of_shape(array.size), size_of_shape(shape)
        if given != wanted:
            raise ValueError(
                f"{where}: the function gave {by(given)}, where {by(wanted)} was to come"
            )
        return block_of_array(array, shape)

    def __dask_tokenize__(self) -> tuple[Any, ...]:
        return *super().__dask_tokenize__(), str(self._kind), self._chunks


class AppliedWithInfo(Applied):
    """Of a function that wants to know of all blocks."""

    def __call__(
        self, *given: Any, block_id: tuple[int, ...], block_info: Any = None, **keywords: Any
    ) -> NDArray[Any]:
        return super().__call__(*given, block_id=block_id, block_info=block_info, **keywords)
