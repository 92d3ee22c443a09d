"""Which dimensions of the arrays that come in are which of the array that comes out."""

from __future__ import annotations

from collections.abc import Iterable, Sequence
from dataclasses import dataclass
from operator import index
from typing import Any, SupportsIndex

from ..convert.kinds import Wish
from .chunks import Chunks, require_kind, require_known
from .library import da

_AS_IT_IS = Wish(None, None, None)


@dataclass(frozen=True)
class Layout:
    """Dimensions are told by labels, counted from the last of each array that comes in."""

    who: str
    chunks_in: dict[int, tuple[int, ...]]
    """For each label, the chunks of the array that has the most of them."""
    labels_out: tuple[int, ...]
    dropped: list[int]
    added: list[int]

    @staticmethod
    def of(who: str, arrays: Sequence[Any], drop_axis: Any, new_axis: Any) -> Layout:
        taken = {place: x for place, x in enumerate(arrays) if isinstance(x, da.Array)}
        if not taken:
            raise TypeError(f"{who}: none of the arguments is an array of Dask")
        chunks: dict[int, tuple[int, ...]] = {}
        first: dict[int, int] = {}
        for place, x in taken.items():
            argument = f"{who}, argument {place + 1}"
            require_known(x, argument)
            require_kind(x, argument, _AS_IT_IS)
            for label, extents in enumerate(reversed(x.chunks)):
                known = chunks.get(label, ())
                if len(known) <= 1:
                    chunks[label], first[label] = extents, place
                elif len(extents) > 1 and extents != known:
                    block = _first_difference(known, extents)
                    raise ValueError(
                        f"{who}: the chunks of arguments {first[label] + 1} and"
                        f" {place + 1} do not fit: along dimension {x.ndim - 1 - label} of the"
                        f" latter, block {block} has {_at(known, block)} and"
                        f" {_at(extents, block)}; call its rechunk() first"
                    )
        rank = max(x.ndim for x in taken.values())
        dropped = _axes("drop_axis", who, drop_axis, rank)
        labels = [label for axis, label in enumerate(reversed(range(rank))) if axis not in dropped]
        added = _axes("new_axis", who, new_axis, len(labels) + _count(new_axis))
        for axis in added:
            labels.insert(axis, rank + axis)
        return Layout(who, chunks, tuple(labels), dropped, added)

    @property
    def labels_dropped(self) -> set[int]:
        return set(self.chunks_in) - set(self.labels_out)

    def blocks_along(self, axis: int) -> int:
        """The number of blocks of the result along one of its dimensions."""
        return len(self.chunks_in.get(self.labels_out[axis], (1,)))

    def fit_chunks(self, chunks: Sequence[int | Sequence[int]]) -> Chunks:
        """The extents of all blocks; ValueError where there are not as many as blocks."""
        rank = len(self.labels_out)
        who = self.who
        told = tuple(chunks) if isinstance(chunks, Iterable) else (chunks,)
        if len(told) != rank:
            raise ValueError(
                f"{who}: chunks={chunks!r} tells of {len(told)} dimensions, and the result has"
                f" {rank}; say which it has besides by new_axis, and which not by drop_axis"
            )
        fitted = []
        for axis, extents in enumerate(told):
            count = self.blocks_along(axis)
            each = tuple(extents) if isinstance(extents, Iterable) else (extents,) * count
            if len(each) != count and axis not in self.added:
                raise ValueError(
                    f"{who}: chunks={chunks!r} tells of {len(each)} blocks along dimension {axis},"
                    f" where there are {count}"
                )
            for place, extent in enumerate(each):
                if not isinstance(extent, SupportsIndex) or index(extent) < 0:
                    raise ValueError(
                        f"{who}: chunks={chunks!r} gives block {place} along dimension {axis} the"
                        f" extent {extent!r}; it has to be a number of elements"
                    )
            fitted.append(tuple(map(index, each)))
        return tuple(fitted)


def _first_difference(one: Sequence[int], other: Sequence[int]) -> int:
    pairs = enumerate(zip(one, other, strict=False))
    shorter = min(len(one), len(other))
    return next((place for place, (a, b) in pairs if a != b), shorter)


def _at(extents: Sequence[int], place: int) -> str:
    return str(extents[place]) if place < len(extents) else "none"


def _count(axes: Any) -> int:
    return 0 if axes is None else 1 if isinstance(axes, int) else len(axes)


def _axes(word: str, who: str, axes: Any, rank: int) -> list[int]:
    """Dimensions in ascending order, counted from the front."""
    each = [] if axes is None else [axes] if isinstance(axes, int) else list(axes)
    for axis in each:
        if not isinstance(axis, int) or not -rank <= axis < rank:
            raise ValueError(f"{who}: {word}={axes!r} names a dimension that is not among {rank}")
    return sorted({axis % rank for axis in each})
