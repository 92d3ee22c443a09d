"""Who is told of the form in which arrays travel."""

from __future__ import annotations

import copyreg
from typing import Any

from .. import ARRAY_TYPES
from .reduction import reduce_array


def enable_binary_pickles() -> None:
    """Have ``pickle`` and ``copy`` treat arrays as blocks of bytes, in this process, from now on.

    Pickles of arrays are then as small and as fast as NumPy's; they keep the exact elements, what a
    view shows and, from protocol 5 on, their elements out of band. Every process that can import
    ``orvane`` reads them. ``multiprocessing``, joblib and Dask, which carry objects between the
    processes of a program, do so by themselves.
    """
    for array_type in ARRAY_TYPES:
        copyreg.pickle(array_type, reduce_array)


def tell_carrier(module: Any) -> bool:
    """Registers arrays where ``multiprocessing`` or loky keep what they pickle in their own way.

    False while the module has no place for that yet.
    """
    register = vars(module).get("register")
    if register is None:
        return False
    for array_type in ARRAY_TYPES:
        register(array_type, reduce_array)
    return True
