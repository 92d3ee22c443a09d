"""Tensors in Arrow's form, one in a file."""

from __future__ import annotations

import os
from importlib import import_module
from typing import TYPE_CHECKING, Any

from .. import AnyArray
from ..convert.exports import to_numpy
from ..convert.kinds import kind_of, kind_of_dtype
from ..convert.memory import row_at_least
from .whole import written_whole

if TYPE_CHECKING:
    from ..convert.kinds import Kind


def save_arrow(name: str | os.PathLike[str], array: AnyArray) -> None:
    """Writes an array or view to a file that holds one tensor of Arrow's.

    `open_arrow` maps it into memory, as programs in other languages do. A view with gaps is copied
    before it is written. The file has its name when it is complete.

    TypeError for complex numbers and truth values, of which Arrow has no tensors; OSError for what
    the system refuses, and for what is no regular file.
    """
    import numpy as np

    arrow = _arrow()
    numbers = to_numpy(array)
    _refuse_what_arrow_lacks(kind_of(array))
    tensor = arrow.Tensor.from_numpy(np.asfortranarray(numbers))
    with written_whole(name) as path, arrow.OSFile(str(path), "wb") as file:
        arrow.ipc.write_tensor(tensor, file)


def open_arrow(name: str | os.PathLike[str]) -> AnyArray:
    """The array over a file that holds one tensor, in column-major order; nothing is copied.

    Elements are read from the file when they are looked at. The first assignment copies all of
    them into memory; the file does not change.
    """
    from .._bridge import adopt

    arrow = _arrow()
    with arrow.memory_map(os.fspath(name), "r") as file:
        tensor = arrow.ipc.read_tensor(file)
    numbers = tensor.to_numpy()
    kind = kind_of_dtype(numbers.dtype)
    if kind is None:
        raise TypeError(f"{os.fspath(name)}: arrays have no elements of type {tensor.type}")
    if not numbers.flags.f_contiguous:
        advice = "orvane.asarray(pyarrow.ipc.read_tensor(...)) copies them"
        raise ValueError(f"{os.fspath(name)}: the elements are not in column-major order: {advice}")
    return adopt(numbers, kind.format, row_at_least(numbers.shape))


def _refuse_what_arrow_lacks(kind: Kind) -> None:
    if kind.is_complex:
        raise TypeError(f"Arrow has no complex numbers: save the parts of {kind} by themselves")
    if kind.code == "b":
        raise TypeError('Arrow has no tensors of truth values: save orvane.asarray(a, "uint8")')


def _arrow() -> Any:
    try:
        import_module("pyarrow.ipc")
    except ImportError as error:
        raise ImportError("orvane.files needs PyArrow: pip install orvane[pyarrow]") from error
    return import_module("pyarrow")
