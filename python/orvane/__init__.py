"""Typed, N-dimensional, column-major arrays that share their elements with native code.

Eleven types: ``double`` and ``single`` hold floating point numbers, ``int8`` to ``uint64``
integers, ``logical`` truth values. An array is made from nested sequences, from a size, or from a
block of memory that has its very element type:

>>> import orvane
>>> a = orvane.double([[1, 2, 3], [4, 5, 6]])
>>> a
orvane.double([[1.0,2.0,3.0],[4.0,5.0,6.0]])
>>> orvane.int16(size=(2, 2))
orvane.int16([[0,0],[0,0]])
>>> orvane.single([1 + 2j, 3], is_complex=True)
orvane.single([[(1+2j),(3+0j)]], is_complex=True)

Every array has two dimensions or more; a flat list is one row. ``size`` tells them all, ``len`` the
first.

>>> a.size, len(a), orvane.double([1, 2, 3]).size
((2, 3), 2, (1, 3))

Subscripts come one at a time, an integer or a slice each. As long as a dimension is left, they give
a view of the same elements; when the last one is fixed, a number.

>>> a[1], a[1][-1], a[0][::2]
(orvane.double([4.0,5.0,6.0]), 6.0, orvane.double([1.0,3.0]))
>>> [sum(row) for row in a]
[6.0, 15.0]
>>> a[0][1] = 20
>>> a[1] = [7, 8, 9]
>>> a
orvane.double([[1.0,20.0,3.0],[7.0,8.0,9.0]])

The elements lie column by column. A flat list with a size is the storage in that order, and so are
what ``noncomplex``, ``real`` and ``imag`` give.

>>> orvane.int8([1, 2, 3, 4], size=(2, 2))
orvane.int8([[1,3],[2,4]])
>>> list(a.noncomplex())
[1.0, 7.0, 20.0, 8.0, 3.0, 9.0]

Whatever reads buffers reads arrays, a whole one without a copy: ``memoryview(a)``,
``numpy.asarray(a)``. The memory is read-only for others; write through the array.

>>> memoryview(a).shape, memoryview(a).readonly
((2, 3), True)

``clone`` copies, ``reshape`` changes the dimensions in place, ``pickle`` and ``copy`` work,
``toarray`` gives an ``array.array``. There is no arithmetic: NumPy and native engines are for that.
``ShapeError`` says that the number of elements is wrong, ``SizeError`` that only the dimensions
are. Native modules are built against ``get_include()``; ``python -m orvane`` tells the rest.
"""

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
