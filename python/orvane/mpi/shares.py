"""Who has which part of a dimension."""

from __future__ import annotations

from collections.abc import Sequence
from itertools import accumulate
from typing import TYPE_CHECKING

from .engine import communicator

if TYPE_CHECKING:
    from mpi4py.MPI import Comm as _Comm  # type: ignore[import-not-found, unused-ignore]


def share(extent: int, *, comm: _Comm | None = None) -> range:
    """Which of so many columns, or rows, are this rank's, as `scatter` divides them.

    Each rank has as many as any other or one more; those with one more come first.
    """
    ranks = communicator(comm)
    counts = even_counts(extent, ranks.size)
    start = sum(counts[: ranks.rank])
    return range(start, start + counts[ranks.rank])


def even_counts(extent: int, ranks: int) -> tuple[int, ...]:
    if extent < 0:
        raise ValueError(f"nothing has the extent {extent}")
    each, more = divmod(extent, ranks)
    return tuple(each + (rank < more) for rank in range(ranks))


def starts_of(counts: Sequence[int]) -> list[int]:
    return [0, *accumulate(counts)][:-1]
