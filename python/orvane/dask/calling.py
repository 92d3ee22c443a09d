"""A function of arrays, called with blocks."""

from __future__ import annotations

from collections.abc import Callable, Mapping, Sequence
from typing import Any

import numpy as np

from .. import ARRAY_TYPES
from ..transport.reduction import Carried, arrived
from .blocks import array_of_block, noted, shared
from .chunks import Chunks
from .layout import Layout
from .library import Delayed, HighLevelGraph, da, has_keyword, layers, normalize_token, tokenize


class Caller:
    """The function under its name, as Dask calls it and reports of it."""

    def __init__(self, function: Callable[..., Any], called: str, arrays: Sequence[Any]) -> None:
        self.__name__ = called
        self._function = function
        self._blocks_at = tuple(isinstance(each, da.Array) for each in arrays)
        self._wants_id = has_keyword(function, "block_id")

    def __call__(self, *told: Any, **keywords: Any) -> Any:
        """The result for blocks, arguments that are no blocks, the block's place and its shape."""
        *given, block_id, shape = told
        where = f"{self.__name__}, block {block_id}"
        taken = [
            array_of_block(each, f"{where}, argument {place}") if is_block else shared(each)
            for place, (each, is_block) in enumerate(zip(given, self._blocks_at, strict=True), 1)
        ]
        keywords = {word: shared(value) for word, value in keywords.items()}
        if self._wants_id:
            keywords["block_id"] = block_id
        with noted(where):
            result = self._function(*taken, **keywords)
        return self.checked(result, shape, f"{where}: the function")

    def checked(self, result: Any, shape: tuple[int, ...], giver: str) -> Any:
        """What Dask gets of the function's result; an error that names the giver."""
        raise NotImplementedError

    def __dask_tokenize__(self) -> Any:
        return normalize_token(self._told_apart())

    def _told_apart(self) -> tuple[Any, ...]:
        """What makes two results different, besides the arguments."""
        return type(self).__name__, self._function, self._blocks_at

    def over_blocks(
        self,
        layout: Layout,
        arrays: Sequence[Any],
        keywords: Mapping[str, Any],
        chunks: Chunks,
        meta: np.ndarray[Any, Any],
    ) -> Any:
        """The array of Dask with the results. A task is told of its own block and of no other."""
        given: list[Any] = []
        for each in arrays:
            labels = tuple(reversed(range(each.ndim))) if isinstance(each, da.Array) else None
            given += [held(each), labels]
        labels_out = layout.labels_out
        told = layers.ArrayBlockIdDep(chunks), layers.ArrayChunkShapeDep(chunks)
        for each in told:
            given += [each, labels_out]
        keywords = {word: held(value) for word, value in keywords.items()}
        token = tokenize(
            self, given[: -2 * len(told)], labels_out, chunks, meta.dtype.str, keywords
        )
        new = set(labels_out) - set(layout.chunks_in)
        extents = dict(zip(labels_out, chunks, strict=True))
        return da.blockwise(
            self,
            labels_out,
            *given,
            name=f"{self.__name__}-{token}",
            new_axes={label: extents[label] for label in new},
            adjust_chunks=extents,
            align_arrays=False,
            concatenate=True,
            meta=meta,
            **keywords,
        )


def held(value: Any) -> Any:
    """An array that all tasks are given, as a task of its own: it travels once, as a block."""
    if not isinstance(value, ARRAY_TYPES):
        return value
    name = f"{type(value).__name__}-{tokenize(value)}"
    layer = {name: (arrived, Carried(value))}
    return Delayed(name, HighLevelGraph.from_collections(name, layer, dependencies=()))
