"""Typed, N-dimensional, column-major arrays that share their elements with native code."""

from orvanemultidimarrayforpython import (
    ShapeError,
    SizeError,
    double,
    int8,
    int16,
    int32,
    int64,
    logical,
    single,
    uint8,
    uint16,
    uint32,
    uint64,
)

from ._sdk import get_include
from ._version import __version__

__all__ = [
    "ShapeError",
    "SizeError",
    "__version__",
    "double",
    "get_include",
    "int8",
    "int16",
    "int32",
    "int64",
    "logical",
    "single",
    "uint8",
    "uint16",
    "uint32",
    "uint64",
]
