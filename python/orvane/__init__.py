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

Values are converted where nothing is lost; what does not fit is refused, and nothing wraps around.

>>> orvane.double([True, 2]), orvane.int8([2, True])
(orvane.double([[1.0,2.0]]), orvane.int8([[2,1]]))
>>> orvane.int8([300])
Traceback (most recent call last):
    ...
OverflowError: value (300) cannot be stored in a variable of type int8.

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

``asarray`` makes an array of whatever holds numbers, of any layout and type: arrays of NumPy,
pandas, PyTorch and others, buffers, nested sequences; it shares the memory where it can.
``to_numpy`` is the way back, ``writable`` lets others write to the elements, ``tolist`` gives
nested lists.

>>> orvane.asarray([[1, 2], [3, 4]]), orvane.asarray(range(3), "single")
(orvane.int64([[1,2],[3,4]]), orvane.single([[0.0,1.0,2.0]]))
>>> orvane.tolist(a[1])
[7.0, 8.0, 9.0]

``clone`` copies, ``reshape`` changes the dimensions in place, ``pickle`` and ``copy`` work,
``toarray`` gives an ``array.array``. There is no arithmetic: NumPy and native engines are for that.
``%load_ext orvane`` has IPython and Jupyter show arrays at a glance, however large they are.
``ShapeError`` says that the number of elements is wrong, ``SizeError`` that only the dimensions
are. Native modules are built against ``get_include()``; ``python -m orvane`` tells the rest.
"""

from orvane_carriers import when_imported
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

TYPE_CHECKING = False
if TYPE_CHECKING:
    from types import ModuleType
    from typing import Any, TypeAlias

    from . import dask as dask
    from . import files as files
    from . import mpi as mpi
    from .convert import asarray, from_dlpack, to_dlpack, to_numpy, tolist, writable
    from .display import load_ipython_extension as load_ipython_extension
    from .display import unload_ipython_extension as unload_ipython_extension
    from .transport import enable_binary_pickles

    AnyArray: TypeAlias = (
        double[Any]
        | single[Any]
        | int8[Any]
        | uint8[Any]
        | int16[Any]
        | uint16[Any]
        | int32[Any]
        | uint32[Any]
        | int64[Any]
        | uint64[Any]
        | logical[Any]
    )
else:
    # What only some programs need is loaded at its first use.
    _LATER = dict.fromkeys(
        ("asarray", "from_dlpack", "to_dlpack", "to_numpy", "tolist", "writable"), "convert"
    ) | {"enable_binary_pickles": "transport"}
    _LATER |= dict.fromkeys(("load_ipython_extension", "unload_ipython_extension"), "display")

    # So are packages that are for another library.
    _PACKAGES = ("dask", "files", "mpi")

    def __getattr__(name):
        if name in _PACKAGES:
            return __import__(f"{__name__}.{name}", fromlist=["*"])
        if name not in _LATER:
            raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
        value = getattr(__import__(f"{__name__}.{_LATER[name]}", fromlist=[name]), name)
        globals()[name] = value
        return value

    def __dir__():
        return sorted({*globals(), *_LATER, *_PACKAGES})

    AnyArray = (
        double | single | int8 | uint8 | int16 | uint16 | int32 | uint32 | int64 | uint64 | logical
    )

ARRAY_TYPES: "tuple[type[AnyArray], ...]" = (
    double,
    single,
    int8,
    uint8,
    int16,
    uint16,
    int32,
    uint32,
    int64,
    uint64,
    logical,
)


# Whatever carries objects between the processes of a program is told how arrays travel best, be it
# imported before or after. Nothing is loaded for it until then.
def _tell_carrier(module: "ModuleType") -> bool:
    from .transport import tell_carrier

    return tell_carrier(module)


for _name in (
    "multiprocessing.reduction",
    "loky.backend.reduction",
    "joblib.externals.loky.backend.reduction",
):
    when_imported(_name, _tell_carrier)
del _name

__all__ = [
    "ARRAY_TYPES",
    "AnyArray",
    "ShapeError",
    "SizeError",
    "__version__",
    "asarray",
    "double",
    "enable_binary_pickles",
    "from_dlpack",
    "get_include",
    "int8",
    "int16",
    "int32",
    "int64",
    "logical",
    "single",
    "to_dlpack",
    "to_numpy",
    "tolist",
    "uint8",
    "uint16",
    "uint32",
    "uint64",
    "writable",
]
