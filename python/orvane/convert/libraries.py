"""Objects of libraries whose data has to be asked for: NumPy's arrays of what they hold.

Missing values are refused, since no element can stand for them. NaN in a column of floating-point
numbers is a value like any other.
"""

from __future__ import annotations

from collections.abc import Callable
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .ndarrays import stacked
from .places import refuse_missing

#: Reads an object of whatever kind, as a column of a table may be.
_Read = Callable[[Any], NDArray[Any]]

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
    return np.asarray(data) if hasattr(data, "__array__") else None


READERS: dict[str, Callable[[Any, _Read], NDArray[Any] | None]] = {
    "pandas": read_pandas,
    "polars": read_polars,
    "pyarrow": read_pyarrow,
    "jax": read_jax,
    "jaxlib": read_jax,
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
