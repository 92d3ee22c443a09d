"""Objects of libraries whose data has to be asked for: NumPy's arrays of what they hold.

Missing values are refused, since no element can stand for them. NaN in a column of floating-point
numbers is a value like any other.
"""

from __future__ import annotations

import math
from collections.abc import Callable
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .ndarrays import stacked
from .places import refuse_missing

#: Reads an object of whatever kind, as a column of a table may be.
_Read = Callable[[Any], NDArray[Any]]

#: Bytes that are read from a file at once, at most, unless its chunks are larger.
_SLAB = 2**22

_FILL = "fill it first (.fillna, .fill_null) or drop it (.dropna, .drop_nulls, .drop_null)"


def read_pandas(data: Any, read: _Read) -> NDArray[Any] | None:
    if getattr(data, "ndim", 0) == 2:
        dtypes = set(data.dtypes)
        if len(dtypes) == 1 and isinstance(next(iter(dtypes)), np.dtype):
            return np.asarray(data.to_numpy())
        columns = [data.iloc[:, number] for number in range(data.shape[1])]
        return _columns(columns, len(data), read)
    if not hasattr(data, "to_numpy"):
        return None  # a scalar, an exporter of another protocol
    if not isinstance(data.dtype, np.dtype):
        _refuse_missing(data.isna())
    return np.asarray(data.to_numpy())


def read_polars(data: Any, read: _Read) -> NDArray[Any] | None:
    if hasattr(data, "get_columns"):
        return _columns(data.get_columns(), data.height, read)
    if not hasattr(data, "null_count"):
        return None
    if data.null_count():
        _refuse_missing(data.is_null())
    return np.asarray(data.to_numpy())


def read_pyarrow(data: Any, read: _Read) -> NDArray[Any] | None:
    if hasattr(data, "itercolumns"):
        return _columns(list(data.itercolumns()), data.num_rows, read)
    if hasattr(data, "strides"):
        return np.asarray(data.to_numpy())  # a tensor
    if not hasattr(data, "null_count"):
        return None
    if data.null_count:
        _refuse_missing(data.is_null().to_numpy(zero_copy_only=False))
    return np.asarray(data.to_numpy(zero_copy_only=False))


def read_jax(data: Any, read: _Read) -> NDArray[Any] | None:
    """JAX's arrays never change, so their memory is never shared for writing."""
    if not hasattr(data, "__array__"):
        return None
    numbers = np.asarray(data)
    # NumPy sees the floating-point numbers of fewer bits that JAX adds as blocks without a meaning.
    is_narrow = numbers.dtype.kind == "V" and np.can_cast(numbers.dtype, np.float32)
    return numbers.astype(np.float32) if is_narrow else numbers


def read_stored(data: Any, read: _Read) -> NDArray[Any] | None:
    """A data set of a file, some rows at a time: at no time is there a second copy of all of it."""
    shape = getattr(data, "shape", None)
    if shape is None or len(shape) < 2 or data.dtype.kind not in "biufcV":
        return None
    bytes_in_all = math.prod(shape) * data.dtype.itemsize
    if bytes_in_all <= max(_SLAB, max(shape) * data.dtype.itemsize):
        return np.asarray(data[...])  # little, or one line that lies in either order
    whole = np.empty(shape, data.dtype.newbyteorder("="), order="F")
    of_chunk = (getattr(data, "chunks", None) or (1,))[0]
    rows = max(_SLAB * shape[0] // bytes_in_all // of_chunk, 1) * of_chunk
    for first in range(0, shape[0], rows):
        whole[first : first + rows] = data[first : first + rows]
    return whole


READERS: dict[str, Callable[[Any, _Read], NDArray[Any] | None]] = {
    "pandas": read_pandas,
    "polars": read_polars,
    "pyarrow": read_pyarrow,
    "jax": read_jax,
    "jaxlib": read_jax,
    "h5py": read_stored,
    "zarr": read_stored,
}


def _columns(columns: list[Any], rows: int, read: _Read) -> NDArray[Any]:
    parts = []
    for number, column in enumerate(columns):
        try:
            part = read(column)
            if part.dtype.kind not in "biufc":
                raise TypeError(f"elements of type {part.dtype} are no numbers")
        except (TypeError, ValueError) as error:
            raise type(error)(f"column {number}: {error}") from None
        parts.append(part)
    return stacked(parts, axis=1) if parts else np.zeros((rows, 0))


def _refuse_missing(chosen: Any) -> None:
    places = np.asarray(chosen, dtype=bool)
    if places.any():
        raise refuse_missing("null", (int(np.flatnonzero(places)[0]),), _FILL)
