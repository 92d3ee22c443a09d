"""Objects of libraries whose data has to be asked for: NumPy's arrays of what they hold.

Missing values are refused, since no element can stand for them. NaN in a column of floating-point
numbers is a value like any other.
"""

from __future__ import annotations

import math
import sys
from collections.abc import Callable
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .fitting import fit
from .kinds import Wish, common_kind, kind_of_dtype
from .ndarrays import located, stacked
from .places import Refusal, refuse_missing

#: Reads an object of whatever kind, as a column of a table may be.
_Read = Callable[[Any, Wish], NDArray[Any]]

#: Bytes that are read from a file at once, at most, unless its chunks are larger.
_SLAB = 2**22

_FILL = "fill it first (.fillna, .fill_null) or drop it (.dropna, .drop_nulls, .drop_null)"


def read_pandas(data: Any, read: _Read, wish: Wish) -> NDArray[Any] | None:
    if hasattr(data, "dtypes") and getattr(data, "ndim", 0) == 2:
        dtypes = list(data.dtypes)
        if len(set(dtypes)) == 1 and isinstance(dtypes[0], np.dtype):
            return np.asarray(data.to_numpy())
        if dtypes and all(
            isinstance(dtype, np.dtype) and dtype.kind in "biufc" for dtype in dtypes
        ):
            return _blocks(data, dtypes, wish)
        columns = [data.iloc[:, number] for number in range(data.shape[1])]
        return _columns(columns, len(data), read, wish)
    if not hasattr(data, "dtype"):
        return _scalar_of_pandas(data)
    if not isinstance(data.dtype, np.dtype):
        _refuse_missing(data.isna())
    return np.asarray(data.to_numpy())


def _blocks(data: Any, dtypes: list[np.dtype[Any]], wish: Wish) -> NDArray[Any]:
    """Columns of NumPy's types, all of one type at once."""
    kinds = [kind_of_dtype(dtype) or kind_of_dtype(np.dtype("f4")) for dtype in set(dtypes)]
    kind = wish.kind_for(common_kind(kind for kind in kinds if kind))
    if not kind.dtype.names and all(np.can_cast(each, kind.dtype, "safe") for each in set(dtypes)):
        return np.asarray(data.to_numpy(kind.dtype))
    whole = np.empty(data.shape, kind.dtype, order="F")
    refusals = []
    for dtype in set(dtypes):
        places = [place for place, each in enumerate(dtypes) if each == dtype]
        try:
            whole[:, places] = fit(np.asarray(data.iloc[:, places].to_numpy()), kind)
        except Refusal as refusal:
            row, column = refusal.place
            refusal.place = row, places[column]
            refusals.append(refusal)
    if refusals:
        raise min(refusals, key=lambda refusal: refusal.place)
    return whole


def _scalar_of_pandas(data: Any) -> NDArray[Any] | None:
    """A time, or a mark of what is missing; others are of other types."""
    if sys.modules["pandas"].isna(data) is True:
        raise refuse_missing(data, (), _FILL)
    return np.asarray(data.to_numpy()) if hasattr(data, "to_numpy") else None


def read_polars(data: Any, read: _Read, wish: Wish) -> NDArray[Any] | None:
    if hasattr(data, "get_columns"):
        return _columns(data.get_columns(), data.height, read, wish)
    if not hasattr(data, "null_count") or not hasattr(data, "dtype"):
        return None  # what is yet to be computed
    if data.null_count():
        _refuse_missing(data.is_null())
    return np.asarray(data.to_numpy())


def read_pyarrow(data: Any, read: _Read, wish: Wish) -> NDArray[Any] | None:
    if hasattr(data, "itercolumns"):
        return _columns(list(data.itercolumns()), data.num_rows, read, wish)
    if hasattr(data, "strides"):
        return np.asarray(data.to_numpy())  # a tensor
    if hasattr(data, "as_py"):
        if not data.is_valid:
            raise refuse_missing("null", (), _FILL)
        column = sys.modules["pyarrow"].array([data.as_py()], data.type)
        return np.asarray(column.to_numpy(zero_copy_only=False)[0])
    if not hasattr(data, "null_count"):
        return None
    if data.null_count:
        _refuse_missing(data.is_null().to_numpy(zero_copy_only=False))
    return np.asarray(data.to_numpy(zero_copy_only=False))


def read_torch(data: Any, read: _Read, wish: Wish) -> NDArray[Any] | None:
    """PyTorch moves no memory that NumPy has, where it would move what it lends by DLPack."""
    if not hasattr(data, "numpy") or not hasattr(data, "is_floating_point"):
        return None
    for what in ("conj", "neg"):  # which others do not look at
        if getattr(data, f"is_{what}")():
            told = "the tensor has not computed its elements yet"
            raise Refusal(ValueError, "", f"{told}: give t.resolve_{what}()")
    try:
        return np.asarray(data.numpy())
    except RuntimeError:
        return None  # DLPack says what to do
    except TypeError:
        is_narrow = data.device.type == "cpu" and data.is_floating_point()
        return np.asarray(data.detach().float().numpy()) if is_narrow else None


def read_jax(data: Any, read: _Read, wish: Wish) -> NDArray[Any] | None:
    """JAX's arrays never change, so their memory is never shared for writing."""
    if not hasattr(data, "__array__"):
        return None
    numbers = np.asarray(data)
    if numbers.dtype.kind == "V":  # numbers of fewer bits, which are blocks without a meaning there
        for known in (np.uint8, np.int8, np.float32):
            if np.can_cast(numbers.dtype, known):
                return numbers.astype(known)
    return numbers


def read_stored(data: Any, read: _Read, wish: Wish) -> NDArray[Any] | None:
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


READERS: dict[str, Callable[[Any, _Read, Wish], NDArray[Any] | None]] = {
    "pandas": read_pandas,
    "polars": read_polars,
    "pyarrow": read_pyarrow,
    "torch": read_torch,
    "jax": read_jax,
    "jaxlib": read_jax,
    "h5py": read_stored,
    "zarr": read_stored,
}


def _columns(columns: list[Any], rows: int, read: _Read, wish: Wish) -> NDArray[Any]:
    parts = []
    for number, column in enumerate(columns):
        with located(number, axis=1):
            parts.append(read(column, wish))
    return stacked(parts, 1, wish) if parts else np.zeros((rows, 0))


def _refuse_missing(chosen: Any) -> None:
    places = np.asarray(chosen, dtype=bool)
    if places.any():
        raise refuse_missing("null", (int(np.flatnonzero(places)[0]),), _FILL)
