"""Dask, and what of it is used here; ImportError that says what to install.

To type checkers it is anything: not everybody has it who checks a program, and a large part of it
says nothing of its types. Only what users see has the types that Dask gives it.
"""

from __future__ import annotations

from importlib import import_module
from typing import Any

from .._numpy import require_numpy

require_numpy("orvane.dask")
try:
    da: Any = import_module("dask.array")
    highlevelgraph: Any = import_module("dask.highlevelgraph")
except ImportError as _cause:
    raise ImportError("orvane.dask needs Dask: pip install orvane[dask]") from _cause

dask: Any = import_module("dask")
delayed: Any = import_module("dask.delayed")

Delayed: Any = delayed.Delayed
HighLevelGraph: Any = highlevelgraph.HighLevelGraph
flatten: Any = dask.core.flatten
funcname: Any = dask.utils.funcname
get_scheduler: Any = dask.base.get_scheduler
has_keyword: Any = dask.utils.has_keyword
is_dask_collection: Any = dask.base.is_dask_collection
layers: Any = import_module("dask.layers")
normalize_chunks: Any = da.core.normalize_chunks
normalize_token: Any = dask.base.normalize_token
optimize: Any = da.optimization.optimize
slices_from_chunks: Any = da.core.slices_from_chunks
tokenize: Any = dask.base.tokenize

__all__ = [
    "Delayed",
    "HighLevelGraph",
    "da",
    "dask",
    "flatten",
    "funcname",
    "get_scheduler",
    "has_keyword",
    "is_dask_collection",
    "layers",
    "normalize_chunks",
    "normalize_token",
    "optimize",
    "slices_from_chunks",
    "tokenize",
]
