"""What objects tell by `__array_interface__`, where that can be checked."""

from __future__ import annotations

from operator import index
from pickle import PickleBuffer
from typing import TYPE_CHECKING, Any

import numpy as np

from .. import _bridge
from .sequences import name_of

if TYPE_CHECKING:
    from numpy.typing import NDArray


class _Told:
    """Stands for an object that has told how its elements lie: NumPy reads the very same."""

    def __init__(self, owner: Any, name: str, told: Any) -> None:
        self.owner = owner
        setattr(self, name, told)


def ndarray_by_protocol(obj: Any) -> NDArray[Any] | None:
    """What an object tells by NumPy's protocols; none where it knows none of them.

    NumPy itself asks again and again, and follows extents and strides that lead out of a buffer.
    """
    told = getattr(obj, "__array_interface__", None)
    if isinstance(told, dict):
        return _of_interface(obj, dict(told))
    told = getattr(obj, "__array_struct__", None)
    if told is not None:
        return np.asarray(_Told(obj, "__array_struct__", told))
    method = getattr(obj, "__array__", None)
    if method is None:
        return None
    numbers = method()
    if isinstance(numbers, np.ndarray):
        return numbers
    raise TypeError(f"{name_of(obj)} gives no array of NumPy's by its method __array__")


def _of_interface(obj: Any, told: dict[str, Any]) -> NDArray[Any]:
    buffer = told.get("data")
    if isinstance(buffer, tuple):  # an address
        return np.asarray(_Told(obj, "__array_interface__", told))
    try:
        return _laid_over(memoryview(_bridge.Shown(buffer)), told)
    except (ArithmeticError, BufferError, LookupError, TypeError, ValueError) as error:
        raise ValueError(f"{name_of(obj)} contradicts itself: {error}") from error


def _laid_over(buffer: memoryview, told: dict[str, Any]) -> NDArray[Any]:
    dtype = np.dtype(told["typestr"])
    if dtype.kind == "V":
        dtype = np.dtype(told.get("descr", dtype))
    shape = tuple(map(index, told["shape"]))
    offset = index(told.get("offset", 0))
    strides = told.get("strides")
    if strides is not None:
        strides = tuple(map(index, strides))
        if len(strides) != len(shape):
            raise ValueError("it has not as many strides as extents")
    if min(shape, default=0) < 0 or dtype.hasobject:
        raise ValueError("no extent is negative, and no object lies in a buffer")
    first, end = offset, offset + dtype.itemsize
    step = dtype.itemsize
    for dimension in reversed(range(len(shape))):
        stride = step if strides is None else strides[dimension]
        reach = (shape[dimension] - 1) * stride
        first, end = first + min(reach, 0), end + max(reach, 0)
        step *= shape[dimension]
    if 0 in shape:
        first, end, strides = offset, offset, None
    if first < 0 or end > buffer.nbytes:
        raise ValueError(f"bytes {first} to {end} of a buffer of {buffer.nbytes}")
    # NumPy lets go of a buffer that it is given here, and who has it may move the memory then. An
    # array over its bytes holds it.
    held = np.asarray(PickleBuffer(buffer).raw())
    laid: NDArray[Any] = np.ndarray(shape, dtype, held, offset, strides)
    return laid
