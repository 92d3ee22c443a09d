"""One ``.npy`` file in column-major order, block by block."""

from __future__ import annotations

import math
import os
from contextlib import suppress
from pathlib import Path
from typing import TYPE_CHECKING, Any

from .. import ARRAY_TYPES, AnyArray
from .._numpy import require_numpy
from ..convert.exports import to_numpy
from ..convert.kinds import kind_of_dtype

if TYPE_CHECKING:
    from dask.array import Array as _DaskArray  # type: ignore[import-not-found, unused-ignore]
    from numpy.typing import NDArray


def save_npy(name: str | os.PathLike[str], array: AnyArray | _DaskArray) -> None:
    """Writes an array or view, or a Dask array, to a ``.npy`` file in column-major order.

    ``numpy.load(name, mmap_mode="c")`` opens it, and `asarray` takes that over without a copy. The
    blocks of a Dask array are written where they are computed, by as many processes as there are,
    which have to see the same files; at no time is the whole in memory. The file has its name when
    it is complete.
    """
    require_numpy("orvane.files")
    if isinstance(array, ARRAY_TYPES):
        numbers: NDArray[Any] = to_numpy(array)
        _save(name, numbers, lambda target: target.__setitem__((), numbers))
    elif type(array).__module__.startswith("dask.array"):
        blocks: Any = array
        _save(name, blocks, lambda target: blocks.store(target, lock=False))
    else:
        raise TypeError(f"expected an orvane array or a Dask array, got {type(array).__name__}")


class _Blocks:
    """A file that takes blocks, in whatever process.

    A memory map of NumPy's would not do: on its way to another process it becomes a copy in memory,
    which is written to and dropped.
    """

    def __init__(self, path: Path, source: Any) -> None:
        self.path = path
        self.shape: tuple[int, ...] = source.shape
        self.dtype = source.dtype

    def __setitem__(self, place: Any, block: NDArray[Any]) -> None:
        import numpy as np

        file = np.load(self.path, mmap_mode="r+")
        room = file[place]
        if (block.dtype, block.shape) != (room.dtype, room.shape):
            came, wanted = (f"{each.dtype} of size {each.shape}" for each in (block, room))
            raise ValueError(f"the block at {place} is {came}, announced was {wanted}")
        room[...] = block
        file.flush()


def _save(name: str | os.PathLike[str], source: Any, write: Any) -> None:
    import numpy as np

    if kind_of_dtype(source.dtype) is None:
        raise TypeError(f"arrays have no elements of type {source.dtype}")
    if any(math.isnan(extent) for extent in source.shape):
        raise ValueError("not all chunks know how long they are: call compute_chunk_sizes() first")
    final = Path(name)
    path = final.with_name(f"{final.name}.{os.getpid()}.part")
    try:
        if math.prod(source.shape):
            make: Any = np.lib.format.open_memmap
            make(path, "w+", source.dtype, source.shape, fortran_order=True)
            write(_Blocks(path, source))
        else:  # nothing cannot be mapped
            with path.open("wb") as file:
                np.save(file, np.empty(source.shape, source.dtype, order="F"))
        path.replace(final)
    finally:
        with suppress(FileNotFoundError):
            path.unlink()
