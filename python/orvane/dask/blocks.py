"""A block of a Dask array as an array, and back.

A block of two dimensions or more has the size that its shape tells; one of one dimension is a row,
one of none a row of one element. What comes back is told the same way, so a row becomes one
dimension where one is wanted. Trailing dimensions of one element, which arrays do not keep beyond
the second, are there again afterwards.
"""

from __future__ import annotations

from collections.abc import Iterator, Sequence
from contextlib import contextmanager
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .. import ARRAY_TYPES, AnyArray, _bridge
from ..convert import to_numpy
from ..convert.kinds import Wish, kind_of, kind_of_dtype
from ..convert.memory import row_at_least
from ..convert.places import named
from ..convert.reading import read_array

_AS_IT_IS = Wish(None, None, None)


def array_of_block(block: Any, where: str) -> AnyArray:
    """The array that a function gets of a block; `where` names the block in refusals.

    It lies over the block where that is in column-major order. Whoever writes to it writes to a
    copy, as the block may be another task's as well.
    """
    if isinstance(block, np.ndarray) and not isinstance(block, np.ma.MaskedArray):
        block = np.asarray(block)
        kind = kind_of_dtype(block.dtype)
        if kind is not None and block.flags.f_contiguous and block.dtype == kind.dtype:
            shown = block.view()
            shown.flags.writeable = False
            try:
                return _bridge.adopt(shown, kind.format, row_at_least(block.shape))
            except ValueError:  # not aligned
                pass
    with named(where):
        return read_array(block, _AS_IT_IS)


def shared(value: Any) -> Any:
    """An array that is an argument of several tasks, so that none can write to it; others as such.

    Whoever writes to it writes to a copy.
    """
    if not isinstance(value, ARRAY_TYPES):
        return value
    return _bridge.adopt(memoryview(value), kind_of(value).format, row_at_least(value.size))


def block_of_array(array: AnyArray, shape: tuple[int, ...]) -> NDArray[Any]:
    """The block of an array that has the size for this shape; it lies over the elements."""
    block: NDArray[Any] = to_numpy(array, writable=True)
    if block.shape != shape:
        block = block.reshape(shape, order="F")
    return block


def size_of_shape(shape: Sequence[int]) -> tuple[int, ...]:
    """The size of the array for a block of this shape."""
    size = row_at_least(tuple(shape))
    while len(size) > 2 and size[-1] == 1:
        size = size[:-1]
    return size


@contextmanager
def noted(where: str) -> Iterator[None]:
    """An error of the function's own keeps its type and words, and says where it happened."""
    try:
        yield
    except Exception as error:
        add_note = getattr(error, "add_note", None)  # from Python 3.11 on
        if add_note:
            add_note(where)
        raise


def checked(value: Any, giver: str) -> AnyArray:
    """An array; TypeError for anything else that a function gives."""
    if isinstance(value, ARRAY_TYPES):
        return value
    given = type(value)
    module = "" if given.__module__ == "builtins" else f"{given.__module__}."
    raise TypeError(
        f"{giver} gave an object of type {module}{given.__name__}, not an array of orvane"
    )


def by(extents: Sequence[Any]) -> str:
    """ "2 x 3"."""
    return " x ".join(map(str, extents)) or "no dimensions"
