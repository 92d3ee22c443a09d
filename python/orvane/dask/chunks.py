"""What is asked of the arrays that come in, before anything is computed."""

from __future__ import annotations

import math
from typing import TYPE_CHECKING, Any

import numpy as np

from ..convert.kinds import Kind, Wish
from ..convert.ndarrays import source_kind
from ..convert.places import named
from .library import da

if TYPE_CHECKING:
    from dask.array import Array

Chunks = tuple[tuple[int, ...], ...]


def require_known(x: Array, who: str) -> None:
    """ValueError, with the first block of which nobody knows how large it is."""
    for axis, extents in enumerate(x.chunks):
        for place, extent in enumerate(extents):
            if math.isnan(extent):
                block = tuple(place if each == axis else 0 for each in range(x.ndim))
                raise ValueError(
                    f"{who}: the extents of block {block} of {x.name} are not known before it is"
                    " computed; call its compute_chunk_sizes() first"
                )


def require_kind(x: Array, who: str, wish: Wish) -> Kind:
    """The kind of the arrays that blocks become; TypeError where no array has such elements."""
    with named(f"{who}: block {(0,) * x.ndim} of {x.name}, as all others"):
        return wish.kind_for(source_kind(np.empty(0, x.dtype), wish))


def require_array(x: Any, who: str) -> None:
    if not isinstance(x, da.Array):
        raise TypeError(f"{who} takes arrays of Dask, not {type(x).__name__}")
