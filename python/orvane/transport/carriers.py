"""Who is told of the form in which arrays travel."""

from __future__ import annotations

import copyreg
import sys
from typing import Any

from .. import ARRAY_TYPES
from .reduction import reduce_array

_LOKY = ("loky.backend.reduction", "joblib.externals.loky.backend.reduction")


def enable_binary_pickles() -> None:
    """Have ``pickle`` and ``copy`` treat arrays as blocks of bytes, in this process, from now on.

    Pickles of arrays are then as small and as fast as NumPy's; they keep the exact elements, what a
    view shows and, from protocol 5 on, their elements out of band. Every process that can import
    ``orvane`` reads them. ``multiprocessing``, joblib and Dask, which carry objects between the
    processes of a program, do so by themselves if they have been imported before ``orvane``;
    otherwise this call tells them.
    """
    for array_type in ARRAY_TYPES:
        copyreg.pickle(array_type, reduce_array)
    register_carriers()


def register_carriers() -> None:
    """Tells those that are loaded."""
    if "distributed.protocol.serialize" in sys.modules:
        from .dask import register_serialization

        register_serialization()
    for name in ("multiprocessing.reduction", *_LOKY):
        module: Any = sys.modules.get(name)
        if module is not None:
            for array_type in ARRAY_TYPES:
                module.register(array_type, reduce_array)
