"""The capsule's five functions, called from a C module that knows its header and nothing else."""

from __future__ import annotations

import array
import ctypes
import sys
from typing import Any

import pytest

import orvane
from native_clients import client, samples
from reference.elements import Kind
from support import (
    KIND_OF,
    Exporter,
    answered_by,
    each_kind,
    evaluate,
    exporting,
    from_stored,
    refused,
    stored_bytes,
    table,
)

UNINITIALISED = "object not initialized."
NULL_DATA = "null data pointer."
NO_TYPE = 32


@pytest.fixture(scope="module")
def capsule() -> Any:
    return client("capsule_client")


@pytest.fixture(scope="module")
def typed() -> Any:
    return client("typed_client")


def shell() -> Any:
    """An array object whose construction has not happened, as a native module can make one."""
    allocate = ctypes.pythonapi.PyType_GenericAlloc
    allocate.argtypes, allocate.restype = (ctypes.py_object, ctypes.c_ssize_t), ctypes.py_object
    return allocate(orvane.double, 0)


def test_the_table_is_five_pointers(capsule: Any) -> None:
    assert capsule.is_table_of_five_pointers()


# --- position 0 ----------------------------------------------------------------------------------


def test_null_is_no_implementation(capsule: Any) -> None:
    with refused(RuntimeError, NULL_DATA):
        capsule.array_from_impl(0)


@pytest.mark.parametrize("kind", ["character", "one dimension"])
def test_what_python_cannot_have_is_refused_and_destroyed(
    capsule: Any, typed: Any, kind: str
) -> None:
    typed.count_freed_buffers()
    with refused(RuntimeError, "invalid type."):
        capsule.array_from_impl(typed.foreign_impl(kind))
    assert typed.count_freed_buffers() == 1


def test_an_empty_implementation(capsule: Any, typed: Any) -> None:
    empty = capsule.array_from_impl(typed.foreign_impl("empty"))
    assert (type(empty), empty.size) == (orvane.double, (0, 0))


# --- position 1 ----------------------------------------------------------------------------------


def test_no_implementation_of_what_is_no_array(capsule: Any) -> None:
    for no_array in (None, [1.0], orvane.double, memoryview(b"ab"), iter(orvane.double()), shell()):
        with refused(RuntimeError, UNINITIALISED):
            capsule.impl_of_array(no_array)


def test_the_same_implementation_until_something_changes(capsule: Any, typed: Any) -> None:
    a = orvane.double([[1, 2], [3, 4]])
    impl, address = capsule.impl_of_array(a), typed.address_of(a)
    assert capsule.impl_of_array(a) == impl
    memoryview(a).tolist()
    a.clone()
    assert (capsule.impl_of_array(a), typed.address_of(a)) == (impl, address)


@pytest.mark.parametrize(
    ("statement", "expected"),
    [
        ("a[1][0] = 30", ((2, 3), [1, 30, 2, 5, 3, 6])),
        ("a[0] = [7, 8, 9]", ((2, 3), [7, 4, 8, 5, 9, 6])),
        ("a.reshape(3, 2)", ((3, 2), [1, 4, 2, 5, 3, 6])),
        ("a.reshape(6, 1); a[5][0] = 60", ((6, 1), [1, 4, 2, 5, 3, 60])),
    ],
)
def test_native_code_and_python_see_every_change(typed: Any, statement: str, expected: Any) -> None:
    a = orvane.double([[1, 2, 3], [4, 5, 6]])
    typed.take("d", a)
    before = memoryview(a)
    exec(statement)
    extents, elements = expected
    taken_extents, _, data = typed.take("d", a)
    assert (taken_extents, list(array.array("d", data))) == (extents, elements)
    assert (a.size, list(array.array("d", stored_bytes(a)))) == (extents, elements)
    # An export from before goes on showing the elements, with the extents that it was given.
    assert (before.shape, list(array.array("d", stored_bytes(before)))) == ((2, 3), elements)


def test_a_view_is_handed_out_as_a_copy_that_stays(capsule: Any, typed: Any) -> None:
    a = orvane.int16([[1, 2, 3], [4, 5, 6]])
    view = a[1][::-1]
    impl = capsule.impl_of_array(view)
    assert impl != capsule.impl_of_array(a)
    extents, _, data = typed.take("h", view)
    assert (extents, list(array.array("h", data))) == ((1, 3), [6, 5, 4])
    a[1] = [0, 0, 0]
    assert capsule.impl_of_array(view) == impl
    assert list(array.array("h", typed.take("h", view)[2])) == [6, 5, 4]
    assert list(array.array("h", typed.take("h", a[1][::-1])[2])) == [0, 0, 0]
    assert typed.take("h", a[2:2])[0] == (0, 3)


def test_a_view_that_cannot_be_gathered_keeps_its_error(capsule: Any) -> None:
    limit = from_stored(KIND_OF["Zq"], [(2**63 - 1, 0)] * 2, 2, 1)
    for _ in range(2):
        with pytest.raises(OverflowError):
            capsule.impl_of_array(limit[0:1])
    assert capsule.impl_of_array(limit)


def test_a_handed_out_clone_is_apart_from_its_source(capsule: Any) -> None:
    source = orvane.double([[1, 2], [3, 4]])
    clone = source.clone()
    assert capsule.impl_of_array(clone) != capsule.impl_of_array(source)
    clone[0][0] = 50
    assert str(source) == str(source.clone()) == "[[1.0,2.0],[3.0,4.0]]"


# --- position 2 ----------------------------------------------------------------------------------


@each_kind
def test_a_buffer_of_every_format_becomes_its_type(capsule: Any, kind: Kind) -> None:
    stored = samples(kind)
    source = exporting(kind, stored, 2, 3)
    made = capsule.array_from_buffer(source)
    assert type(made) is getattr(orvane, kind.name)
    assert (made._is_complex, made.size) == (kind.is_complex, (2, 3))
    assert stored_bytes(made) == b"".join(map(kind.pack, stored))
    code = "dfbBhHiIqQ?".index(kind.element.format) + (13 if kind.is_complex else 3)
    assert capsule.last_type_code() == code


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
def test_formats_that_are_read_by_their_first_characters(
    capsule: Any, expression: str, answer: str
) -> None:
    format_, itemsize = evaluate(expression)
    code, made = evaluate(answer)
    exporter = Exporter(b"\x01" + bytes(15), format_, itemsize, (16 // itemsize,))
    result = capsule.array_from_buffer(exporter)
    assert (type(result), result._is_complex) == (type(made), made._is_complex)
    assert capsule.last_type_code() == code
    assert stored_bytes(result) == stored_bytes(made)


# A number is the type code that is left; there is none for what has no type.
@table("""
None -> None
'text' -> None
[1.0] -> None
Exporter(b'', None, 1, (0,)) -> RuntimeError: format field is null.
Exporter(b'', '', 1, (0,)) -> RuntimeError: format field is empty.
Exporter(bytes(8), '<d', 8, (1,)) -> RuntimeError: format character not supported: <
Exporter(bytes(2), 'Z?', 2, (1,)) -> 23 & TypeError: logical arrays must not be complex.
Exporter(bytes(16), 'Z', 16, (1,)) -> 13 & BufferError: input buffer format ('Z') is not compatible
    with output format ('Zd'); use a different input or output type
memoryview(b'abcd')[::2] -> BufferError: memoryview: underlying buffer is not contiguous
""")
def test_what_is_refused_as_a_buffer(capsule: Any, expression: str, answer: str) -> None:
    source = evaluate(expression, Exporter=Exporter)
    code, _, refusal = answer.rpartition(" & ")
    with answered_by(refusal) as expects_value:
        made = capsule.array_from_buffer(source)
        assert expects_value
        assert made is None
    assert capsule.last_type_code() == int(code or NO_TYPE)
    # Nothing of the exporter is held on to.
    assert not getattr(source, "open_views", 0)


def test_nowhere_to_put_the_type_code(capsule: Any) -> None:
    with refused(RuntimeError, NULL_DATA):
        capsule.array_from_buffer_without_code(b"ab")


def test_an_array_is_a_buffer_too(capsule: Any) -> None:
    a = orvane.single([[1, 2], [3, 4]])
    made = capsule.array_from_buffer(a)
    assert (made, capsule.last_type_code()) == (a, 4)
    made[0][0] = 9
    assert a[0][0] == 1


# --- positions 3 and 4 ---------------------------------------------------------------------------


def test_destroying(capsule: Any) -> None:
    for _ in range(1000):
        capsule.make_and_destroy(bytes(100_000))
    for survivor in (None, "text", [1], orvane.double):
        count = sys.getrefcount(survivor)
        capsule.try_to_destroy(survivor)
        assert sys.getrefcount(survivor) == count


def test_who_exports_buffers(capsule: Any) -> None:
    yes = [b"", bytearray(), memoryview(b""), orvane.logical(), orvane.double([[1, 2]])[0]]
    assert all(map(capsule.exports_buffer, yes))
    assert not any(map(capsule.exports_buffer, [None, "text", 1, [], orvane.double]))
