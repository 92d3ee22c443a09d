"""What is a sequence, a number or a buffer by protocol alone, and may lie about it."""

import ctypes
import math
from collections.abc import Callable, Collection
from ctypes import POINTER, PYFUNCTYPE, c_char_p, c_int, c_ssize_t, c_uint, c_void_p
from typing import Any

from reference.elements import Kind, Stored
from support import make


class Sequence:
    """A sequence by protocol alone. Its items may come from code, and its length lie or be code."""

    def __init__(self, items: Any, length: Any = None) -> None:
        self.item = items if callable(items) else items.__getitem__
        self.length = len(items) if length is None else length

    def __len__(self) -> int:
        return self.length() if callable(self.length) else self.length

    def __getitem__(self, i: int) -> Any:
        return self.item(i)


class Index:
    """A number by `__index__` alone, which may do something first."""

    def __init__(self, value: int, action: Callable[[], Any] = lambda: None) -> None:
        self.value, self.action = value, action

    def __index__(self) -> int:
        self.action()
        return self.value


class PyBuffer(ctypes.Structure):
    """The interpreter's `Py_buffer`."""

    _fields_ = (
        *((name, c_void_p) for name in ("buf", "obj")),
        *((name, c_ssize_t) for name in ("len", "itemsize")),
        *(("readonly", c_int), ("ndim", c_int), ("format", c_char_p)),
        *((name, POINTER(c_ssize_t)) for name in ("shape", "strides", "suboffsets")),
        ("internal", c_void_p),
    )


get_buffer = ctypes.pythonapi.PyObject_GetBuffer
get_buffer.argtypes = (ctypes.py_object, POINTER(PyBuffer), c_int)
release_buffer = ctypes.pythonapi.PyBuffer_Release
release_buffer.argtypes = (POINTER(PyBuffer),)
release_buffer.restype = None


class _Slot(ctypes.Structure):
    _fields_ = (("slot", c_int), ("function", c_void_p))


class _Spec(ctypes.Structure):
    _fields_ = (
        *(("name", c_char_p), ("basicsize", c_int), ("itemsize", c_int), ("flags", c_uint)),
        ("slots", POINTER(_Slot)),
    )


@PYFUNCTYPE(c_int, ctypes.py_object, POINTER(PyBuffer), c_int)
def _fill_view(exporter: Any, view: Any, _flags: int) -> int:
    exporter.fill(view.contents)
    ctypes.pythonapi.Py_IncRef(ctypes.py_object(exporter))
    view.contents.obj = id(exporter)
    exporter.open_views += 1
    return 0


@PYFUNCTYPE(None, ctypes.py_object, POINTER(PyBuffer))
def _forget_view(exporter: Any, _view: Any) -> None:
    exporter.open_views -= 1


def _exporting_base() -> type:
    """A type whose buffer slots call Python, which the language itself offers only from 3.12."""
    get, release, basetype = 1, 2, 1 << 10
    functions = (ctypes.cast(function, c_void_p) for function in (_fill_view, _forget_view))
    slots = (_Slot * 3)(*map(_Slot, (get, release), functions))
    spec = _Spec(b"support.ExportingBase", object.__basicsize__, 0, basetype, slots)
    from_spec = ctypes.pythonapi.PyType_FromSpec
    from_spec.argtypes, from_spec.restype = (POINTER(_Spec),), ctypes.py_object
    return from_spec(ctypes.byref(spec))


class Exporter(_exporting_base()):  # type: ignore[misc]
    """Exports a block of memory under whatever description it is given, true or not."""

    def __init__(
        self,
        data: bytes,
        format_: str | None,
        itemsize: int,
        shape: Collection[int] | None = None,
        strides: Collection[int] | None = None,
        *,
        ndim: int | None = None,
        length: int | None = None,
        misaligned: bool = False,
        has_address: bool = True,
        before_fill: Callable[[], None] = lambda: None,
    ) -> None:
        self.open_views = 0
        self.before_fill = before_fill
        self._length = len(data) if length is None else length
        self._format = None if format_ is None else format_.encode()
        self._itemsize = itemsize
        self._ndim = len(shape or (1,)) if ndim is None else ndim
        vector = c_ssize_t * max(self._ndim, 1)
        self._shape = None if shape is None else vector(*shape)
        self._strides = None if strides is None else vector(*strides)
        self._block = ctypes.create_string_buffer(len(data) + 16)
        address = ctypes.addressof(self._block) + misaligned
        ctypes.memmove(address, data, len(data))
        self._address = address if has_address else None

    def fill(self, view: PyBuffer) -> None:
        self.before_fill()
        view.buf, view.len, view.itemsize = self._address, self._length, self._itemsize
        view.readonly, view.ndim, view.format = 1, self._ndim, self._format
        null = POINTER(c_ssize_t)()
        view.shape, view.strides = self._shape or null, self._strides or null
        view.suboffsets, view.internal = null, None


def exporting(kind: Kind, stored: list[Stored], *shape: int) -> Exporter:
    """A column-major exporter of these very elements, in storage order."""
    shape = shape or (1, len(stored))
    strides = tuple(kind.size * math.prod(shape[:d]) for d in range(len(shape)))
    return Exporter(b"".join(map(kind.pack, stored)), kind.format, kind.size, shape, strides)


def from_stored(kind: Kind, stored: list[Stored], *shape: int) -> Any:
    """An array that holds these very elements, to the bit."""
    return make(kind, exporting(kind, stored, *shape))
