"""A file of elements in column-major order, written part by part."""

from __future__ import annotations

import os
from pathlib import Path
from typing import TYPE_CHECKING, Any

if TYPE_CHECKING:
    import numpy as np
    from numpy.typing import NDArray


class Places:
    """Where the elements of an array lie in a file; parts are written there, in whatever process.

    Not by way of memory that is mapped: where the disk is full, that would end the process by a
    signal, and two machines that write to one page of a file would undo each other's work.
    """

    def __init__(
        self, path: Path, start: int, shape: tuple[int, ...], dtype: np.dtype[Any]
    ) -> None:
        self._path = path
        self._start = start
        self.shape = shape
        self.dtype = dtype

    def write(self, part: NDArray[Any], firsts: tuple[int, ...]) -> None:
        """A part, from these subscripts on; OSError for what the system refuses."""
        import numpy as np

        numbers = np.asfortranarray(part).reshape(-1, order="F")
        left = numbers.view(np.uint8).data
        run, places = self._runs(part.shape, firsts)
        with self._path.open("r+b", buffering=0) as file:
            for place in places:
                _write(file.fileno(), left[:run], place)
                left = left[run:]

    def _runs(self, shape: tuple[int, ...], firsts: tuple[int, ...]) -> tuple[int, list[int]]:
        """The bytes without a gap that a part consists of in the file, and where they begin."""
        import numpy as np

        stride = run = self.dtype.itemsize
        places = np.array([self._start])
        is_whole = True  # along all dimensions before
        for extent, first, whole in zip(shape, firsts, self.shape, strict=True):
            places += first * stride
            if is_whole:
                run *= extent
            else:
                places = np.add.outer(np.arange(extent) * stride, places).ravel()
            is_whole = is_whole and extent == whole
            stride *= whole
        return run, places.tolist()


def _write(file: int, left: memoryview, place: int) -> None:
    while left:  # the system may take less than all at once
        count = os.pwrite(file, left, place)
        left, place = left[count:], place + count
