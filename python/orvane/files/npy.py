"""One ``.npy`` file in column-major order, block by block."""

from __future__ import annotations

import math
import os
from collections.abc import Iterator
from contextlib import contextmanager
from typing import TYPE_CHECKING, Any

from .. import ARRAY_TYPES, AnyArray
from .._numpy import require_numpy
from ..convert.exports import to_numpy
from ..convert.kinds import Wish, kind_of_dtype
from ..convert.places import named
from .places import Places
from .whole import written_whole

if TYPE_CHECKING:
    from dask.array import Array as _DaskArray  # type: ignore[import-not-found, unused-ignore]
    from numpy.typing import NDArray

_AT_ONCE = 1 << 24
"""Bytes of an array that are written at a time."""


def save_npy(name: str | os.PathLike[str], array: AnyArray | _DaskArray) -> None:
    """Writes an array or view, or a Dask array, to a ``.npy`` file in column-major order.

    ``numpy.load(name, mmap_mode="c")`` opens it, and `asarray` takes that over without a copy. The
    blocks of a Dask array are written where they are computed, by as many processes as there are,
    which have to see the same files; at no time is the whole in memory. The file has its name when
    it is complete; until then, and when something fails, the one that had it before is there.

    OSError for what the system refuses, such as too little room, and for what is no regular file.
    TypeError for elements that no array has; ValueError for blocks that are not what was announced.
    """
    require_numpy("orvane.files")
    if isinstance(array, ARRAY_TYPES):
        numbers: NDArray[Any] = to_numpy(array)
        with _places(name, numbers) as places:
            _write_slices(places, numbers)
    elif type(array).__module__.startswith("dask.array"):
        blocks: Any = array
        with _places(name, blocks) as places:
            blocks.store(_Blocks(places), lock=False)
    else:
        raise TypeError(f"expected an orvane array or a Dask array, got {type(array).__name__}")


class _Blocks:
    """Takes the blocks of a Dask array as `dask.array.store` hands them over."""

    def __init__(self, places: Places) -> None:
        self.shape, self.dtype = places.shape, places.dtype
        self._places = places

    def __setitem__(self, place: tuple[slice, ...], block: Any) -> None:
        import numpy as np

        from ..convert.ndarrays import without_mask
        from ..convert.reading import ndarray_of

        if not isinstance(block, np.ndarray):
            with named(f"the block at {place}"):
                block = ndarray_of(block, Wish(None, None, None))
        shape = tuple(each.stop - each.start for each in place)
        if (block.dtype.newbyteorder("="), block.shape) != (self.dtype, shape):
            came, wanted = (f"{block.dtype} of size {block.shape}", f"{self.dtype} of size {shape}")
            raise ValueError(f"the block at {place} is {came}, announced was {wanted}")
        with named(f"the block at {place}"):
            part = without_mask(block).astype(self.dtype, copy=False)
        self._places.write(part, tuple(each.start for each in place))


@contextmanager
def _places(name: str | os.PathLike[str], source: Any) -> Iterator[Places]:
    """A file for as many elements as the source has; it has its name when all is done."""
    import numpy as np

    if kind_of_dtype(source.dtype) is None:
        raise TypeError(f"arrays have no elements of type {source.dtype}")
    if any(math.isnan(extent) for extent in source.shape):
        raise ValueError("not all chunks know how long they are: call compute_chunk_sizes() first")
    dtype, shape = source.dtype.newbyteorder("="), tuple(map(int, source.shape))
    npy: Any = np.lib.format  # without types in older releases
    header = {"descr": npy.dtype_to_descr(dtype), "fortran_order": True, "shape": shape}
    with written_whole(name) as path:
        with path.open("wb") as file:
            npy.write_array_header_1_0(file, header)
            start = file.tell()
            file.truncate(start + math.prod(shape) * dtype.itemsize)
        yield Places(path, start, shape, dtype)


def _write_slices(places: Places, numbers: NDArray[Any]) -> None:
    """Some columns after the other, so that those of a view with gaps need little memory."""
    if not numbers.size:
        return
    extent = numbers.shape[-1]
    step = max(1, _AT_ONCE * extent // numbers.nbytes)
    for start in range(0, extent, step):
        firsts = (0,) * (numbers.ndim - 1) + (start,)
        places.write(numbers[..., start : start + step], firsts)
