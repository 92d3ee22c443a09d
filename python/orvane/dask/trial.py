"""What a function gives, found out by calling it with small blocks."""

from __future__ import annotations

import math
from collections.abc import Callable, Mapping, Sequence
from typing import Any

import numpy as np

from .. import AnyArray
from ..convert.kinds import Kind, Wish, kind_of
from .blocks import array_of_block, by, checked, shared, size_of_shape
from .layout import Layout
from .library import da, has_keyword, is_dask_collection

_SMALL = 64
"""The extent of blocks along dimensions that have several: more than most functions ask for."""
_MANY = 1 << 22
"""Elements, beyond which a block is made smaller along dimensions that have one chunk as well."""


class Trial:
    """Two calls, with blocks that differ by one in whatever blocks may differ in."""

    def __init__(
        self,
        function: Callable[..., AnyArray],
        layout: Layout,
        arrays: Sequence[Any],
        keywords: Mapping[str, Any],
    ) -> None:
        self._function = function
        self._layout = layout
        self._who = layout.who
        self._arrays = arrays
        self._keywords = dict(keywords)
        self._require_all_there()
        if has_keyword(function, "block_id"):
            self._keywords["block_id"] = (0,) * len(layout.labels_out)
        self._extents = self._smaller()
        self._first = self._call(self._extents[0])

    def kind(self, wish: Wish) -> Kind:
        """What is wished, and for the rest what came; blocks are held to it."""
        found = kind_of(self._first)
        is_complex = found.is_complex if wish.is_complex is None else wish.is_complex
        return Kind(wish.array_type or found.array_type, is_complex)

    def chunks(self) -> list[int | Sequence[int]]:
        """For each dimension the extent of all blocks, or those of the blocks that come in."""
        first, second = self._extents
        one = self._shape(self._first)
        other = one if first == second else self._shape(self._call(second))
        chunks: list[int | Sequence[int]] = []
        for axis, label in enumerate(self._layout.labels_out):
            if (one[axis], other[axis]) == (first.get(label), second.get(label)):
                chunks.append(self._layout.chunks_in[label])
            elif one[axis] == other[axis]:
                chunks.append(one[axis])
            else:
                raise ValueError(
                    f"{self._who}: give chunks=, as dimension {axis} of the result is neither the"
                    f" same for all blocks nor as long as theirs: of {self._told(first)} come"
                    f" {by(one)}, of {self._told(second)} {by(other)}"
                )
        return chunks

    def _require_all_there(self) -> None:
        told = [*enumerate(self._arrays, 1), *self._keywords.items()]
        for place, (word, value) in enumerate(told):
            is_block = place < len(self._arrays) and isinstance(value, da.Array)
            if is_dask_collection(value) and not is_block:
                raise ValueError(
                    f"{self._who}: give type= and chunks=, as they cannot be found out before"
                    f" argument {word} is computed"
                )

    def _smaller(self) -> tuple[dict[int, int], dict[int, int]]:
        """The extents along each label, in both trials."""
        known = self._layout.chunks_in
        dropped = self._layout.labels_dropped
        first = {
            label: sum(extents) if label in dropped else max(extents)
            for label, extents in known.items()
        }
        chosen = {label for label, extents in known.items() if len(extents) > 1} - dropped
        for label in chosen:
            first[label] = max(1, min(first[label], _SMALL))
        for label in sorted(known, key=lambda each: -first[each]):
            if math.prod(first.values()) > _MANY and first[label] > _SMALL:
                chosen.add(label)
                first[label] = _SMALL
        return first, {label: extent + (label in chosen) for label, extent in first.items()}

    def _call(self, extents: Mapping[int, int]) -> AnyArray:
        given = [
            array_of_block(_ones(shape, each.dtype), self._who)
            if isinstance(each, da.Array)
            else shared(each)
            for each, shape in zip(self._arrays, self._shapes_in(extents), strict=True)
        ]
        keywords = {word: shared(value) for word, value in self._keywords.items()}
        try:
            with np.errstate(all="ignore"):
                result = self._function(*given, **keywords)
        except Exception as error:
            words = f"{type(error).__name__}: {error}" if str(error) else type(error).__name__
            raise ValueError(
                f"{self._who}: give type= and chunks=, as they could not be found out with"
                f" {self._told(extents)}: {words}"
            ) from error
        return checked(result, f"{self._who}: tried on {self._told(extents)}, the function")

    def _shapes_in(self, extents: Mapping[int, int]) -> list[tuple[int, ...]]:
        """A block's for each array of Dask, nothing for the other arguments."""
        shapes: list[tuple[int, ...]] = []
        for each in self._arrays:
            axes = list(enumerate(reversed(each.chunks))) if isinstance(each, da.Array) else []
            shape = [
                extents[label] if chunks == self._layout.chunks_in[label] else sum(chunks)
                for label, chunks in axes
            ]
            shapes.append(tuple(reversed(shape)))
        return shapes

    def _told(self, extents: Mapping[int, int]) -> str:
        shapes = self._shapes_in(extents)
        places = [place for place, each in enumerate(self._arrays) if isinstance(each, da.Array)]
        return "ones of " + " and ".join(by(size_of_shape(shapes[place])) for place in places)

    def _shape(self, array: AnyArray) -> tuple[int, ...]:
        """The block's that the array is."""
        rank = len(self._layout.labels_out)
        size = size_of_shape(array.size)
        if rank < 2 and size[: 2 - rank] == (1, 1)[: 2 - rank] and len(size) == 2:
            return size[2 - rank :]
        if rank < len(size) or rank < 2:
            raise ValueError(
                f"{self._who}: the function gave {by(size)}, where a result of dimension {rank} was"
                " to come; say which it has besides by new_axis, and which not by drop_axis"
            )
        return size + (1,) * (rank - len(size))


def _ones(shape: tuple[int, ...], dtype: np.dtype[Any]) -> np.ndarray[Any, np.dtype[Any]]:
    """With twos on the diagonal, so that the rows of a matrix are independent."""
    ones = np.zeros(shape, dtype, order="F")
    part = ones["real"] if dtype.names else ones
    part[...] = 1
    diagonal = np.arange(min(shape, default=0))
    if shape and dtype.kind != "b":
        part[(diagonal,) * len(shape)] = 2
    return ones
