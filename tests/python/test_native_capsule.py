"""The capsule's five functions, called as any language can that reaches a table of C functions."""

import array
import ctypes
import re
import shlex
import sys
from ctypes import POINTER, PYFUNCTYPE, c_bool, c_int, c_void_p
from typing import Any

import pytest

import orvane
from impostors import Exporter, exporting, from_stored
from native_clients import ROOT, ask_package, run, samples
from support import KIND_OF, answered_by, each_kind, evaluate, make, refused, stored_bytes, table

NO_TYPE = 32


class Capsule(ctypes.Structure):
    """The table. Objects go in as addresses, null as none, and come out as new references."""

    _fields_ = (
        ("array_from_impl", PYFUNCTYPE(c_void_p, c_void_p)),
        ("impl_of_array", PYFUNCTYPE(c_void_p, c_void_p)),
        ("array_from_buffer", PYFUNCTYPE(c_void_p, c_void_p, POINTER(c_int))),
        ("destroy_array", PYFUNCTYPE(None, c_void_p)),
        ("exports_buffer", PYFUNCTYPE(c_bool, c_void_p)),
    )


import_capsule = ctypes.pythonapi.PyCapsule_Import
import_capsule.restype = ctypes.POINTER(Capsule)
capsule = import_capsule(b"orvanemultidimarrayforpython._capi", 0).contents


def address_of(value: Any) -> int | None:
    return None if value is None else id(value)


def object_at(address: int | None) -> Any:
    """The object that a new reference leads to."""
    if address is None:
        return None
    made = ctypes.cast(address, ctypes.py_object).value
    ctypes.pythonapi.Py_DecRef(ctypes.py_object(made))
    return made


def impl_of(value: Any) -> int | None:
    return capsule.impl_of_array(address_of(value))


def from_buffer(value: Any, code: c_int) -> Any:
    return object_at(capsule.array_from_buffer(address_of(value), ctypes.byref(code)))


def taken(typed: Any, kind_format: str, value: Any) -> tuple[tuple[int, ...], list[Any]]:
    """Extents and elements as native code sees them."""
    extents, _, data, _ = typed.take(kind_format, value)
    return extents, array.array(kind_format, data).tolist()


def test_position_0_refuses_and_destroys_what_python_cannot_have(typed):
    with refused(RuntimeError, "NULL"):
        capsule.array_from_impl(None)
    with refused(RuntimeError, "NULL"):  # nowhere to put the type code
        capsule.array_from_buffer(id(b"ab"), None)
    for kind in ("character", "one dimension"):
        typed.count_freed_buffers()
        with refused(RuntimeError, "invalid type."):
            capsule.array_from_impl(typed.foreign_impl(kind))
        assert typed.count_freed_buffers() == 1
    empty = object_at(capsule.array_from_impl(typed.foreign_impl("empty")))
    assert (type(empty), empty.size) == (orvane.double, (0, 0))


def test_no_implementation_of_what_is_no_array():
    allocate = ctypes.pythonapi.PyType_GenericAlloc
    allocate.argtypes, allocate.restype = (ctypes.py_object, ctypes.c_ssize_t), ctypes.py_object
    unconstructed = allocate(orvane.double, 0)  # as a native module can make one
    for no_array in (None, [1.0], orvane.double, memoryview(b"ab"), unconstructed):
        with refused(RuntimeError, "object not initialized."):
            impl_of(no_array)


def test_what_native_code_writes_shows_with_the_next_reshape(typed):
    handed_out, (made, place) = orvane.double([[0.0] * 6]), typed.make("d", (1, 6), bytes(48))
    for a, native in ((handed_out, typed.take("d", handed_out)[3]), (made, place)):
        a[0][0] = 1
        numbers = (ctypes.c_double * 6).from_address(native)
        numbers[1] = 2
        exported = memoryview(a)
        assert (numbers[:2], list(a[0])[:2], exported.tolist()[0][:2]) == ([1, 2], [1, 0], [1, 0])
        assert (a.reshape(6, 1)[1][0], exported.tolist()[0][:2]) == (2, [1, 2])


def test_a_view_is_handed_out_as_a_copy_that_stays(typed):
    a = orvane.int16([[1, 2, 3], [4, 5, 6]])
    view, clone = a[1][::-1], a.clone()
    impl = impl_of(view)
    assert len({impl, impl_of(a), impl_of(clone)}) == 3
    a[1] = [0, 0, 0]
    assert (impl_of(view), taken(typed, "h", view)) == (impl, ((1, 3), [6, 5, 4]))
    assert taken(typed, "h", a[1][::-1]) == ((1, 3), [0, 0, 0])
    assert taken(typed, "h", clone)[1] == [1, 4, 2, 5, 3, 6]
    assert taken(typed, "h", a[2:2]) == ((0, 3), [])
    limit = from_stored(KIND_OF["Zq"], [(2**63 - 1, 0)] * 2, 2, 1)
    for _ in range(2):
        with pytest.raises(OverflowError):
            impl_of(limit[0:1])
    assert impl_of(limit)


@each_kind
def test_a_buffer_of_every_format_becomes_its_type(kind):
    stored, code = samples(kind), c_int()
    made = from_buffer(exporting(kind, stored, 2, 3), code)
    assert type(made) is getattr(orvane, kind.name)
    assert (made._is_complex, made.size) == (kind.is_complex, (2, 3))
    assert stored_bytes(made) == b"".join(map(kind.pack, stored))
    number = "dfbBhHiIqQ?".index(kind.element.format) + (13 if kind.is_complex else 3)
    assert code.value == number
    assert from_buffer(make(kind, [1, 0]), code) == make(kind, [1, 0])
    assert code.value == number


# Format and size of an element -> type code. The size of a complex one is that of both parts, so
# that 'l' and 'L' never come to 32 bits there.
@table("""
'l', 8 -> 11, int64([[1, 0]])
'l', 4 -> 9, int32([[1, 0, 0, 0]])
'L', 8 -> 12, uint64([[1, 0]])
'L', 4 -> 10, uint32([[1, 0, 0, 0]])
'dd', 8 -> 3, double([[5e-324, 0]])
'Zl', 8 -> 21, int64([[1]], is_complex=True)
'ZL', 16 -> 22, uint64([[1]], is_complex=True)
""")
def test_formats_that_are_read_by_their_first_characters(expression, answer):
    format_, itemsize = evaluate(expression)
    number, made = evaluate(answer)
    code = c_int()
    result = from_buffer(Exporter(b"\x01" + bytes(15), format_, itemsize, (16 // itemsize,)), code)
    assert (type(result), result._is_complex) == (type(made), made._is_complex)
    assert (code.value, stored_bytes(result)) == (number, stored_bytes(made))


# A number is the type code that is left; there is none for what has no type.
@table("""
None -> None
'text' -> None
Exporter(b'', None, 1, (0,)) -> RuntimeError: format field is null.
Exporter(b'', '', 1, (0,)) -> RuntimeError: format field is empty.
Exporter(bytes(8), '<d', 8, (1,)) -> RuntimeError: format character not supported: <
Exporter(bytes(2), 'Z?', 2, (1,)) -> 23 & TypeError: logical arrays must not be complex.
Exporter(bytes(16), 'Z', 16, (1,)) -> 13 & BufferError: input buffer format ('Z') is not compatible
    with output format ('Zd'); use a different input or output type
memoryview(b'abcd')[::2] -> BufferError: memoryview: underlying buffer is not contiguous
""")
def test_what_is_refused_as_a_buffer(expression, answer):
    source, code = evaluate(expression, Exporter=Exporter), c_int()
    number, _, refusal = answer.rpartition(" & ")
    with answered_by(refusal) as expects_value:
        made = from_buffer(source, code)
        assert expects_value
        assert made is None
    assert code.value == int(number or NO_TYPE)
    assert not getattr(source, "open_views", 0)


def test_destroying(typed):
    typed.count_freed_buffers()
    capsule.destroy_array(capsule.array_from_impl(typed.foreign_impl("matrix")))
    assert typed.count_freed_buffers() == 1
    capsule.destroy_array(None)
    for survivor in (["text"], orvane.double, memoryview(b"")):
        count = sys.getrefcount(survivor)
        capsule.destroy_array(id(survivor))
        assert sys.getrefcount(survivor) == count


def test_who_exports_buffers():
    yes = [b"", bytearray(), memoryview(b""), orvane.logical(), orvane.double([[1, 2]])[0]]
    assert all(capsule.exports_buffer(id(value)) for value in yes)
    for no in (None, "text", 1, [], orvane.double):
        assert not capsule.exports_buffer(address_of(no))


def test_the_example_in_c_of_the_guide(tmp_path):
    guide = (ROOT / "docs" / "native.md").read_text("utf-8")
    (code,) = re.findall(r"```c\n(#include <orvane/boundary.h>.*?)```", guide, re.DOTALL)
    source, built = tmp_path / "sum.c", tmp_path / "sum.so"
    source.write_text(code)
    flags = shlex.split(f"{ask_package('--includes')} -std=c99 -Wall -Wextra -Wpedantic -Werror")
    libraries = shlex.split(ask_package("--libs"))
    run("cc", *flags, "-shared", "-fPIC", source, *libraries, "-o", built)
    total = ctypes.CDLL(str(built)).sum
    total.argtypes, total.restype = (c_void_p,), ctypes.c_double
    matrix = orvane.double([[1, 2], [3, 4.5]])
    assert total(capsule.impl_of_array(id(matrix))) == 10.5
