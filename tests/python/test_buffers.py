"""Construction from buffers: formats, storage orders, strange and lying exporters."""

from __future__ import annotations

import array
import ctypes
import struct
from itertools import product

import numpy
import pytest

import orvane
from ovexceptions import ShapeError, SizeError
from reference.elements import KINDS
from support import (
    COMPLEX,
    DOUBLE,
    KIND_OF,
    NAMES,
    Exporter,
    each_kind,
    evaluate,
    exporting,
    from_stored,
    make,
    nested,
    refused,
    stored_bytes,
)

UNEVEN = "input does not fit evenly into output type."


def incompatible(format_: str, expected: str) -> str:
    return (
        f"input buffer format ('{format_}') is not compatible with output format ('{expected}')"
        "; use a different input or output type"
    )


def not_complex(format_: str) -> str:
    return f"input buffer format ('{format_}') does not begin with 'Z', but output type is complex"


ACCEPTED = [
    ("double(array('d', [1.0, 2.0]))", [[1.0, 2.0]]),
    ("double(array('d'))", []),
    ("double(array('d', [1.0, 2.0]), size=(2, 1))", [[1.0], [2.0]]),
    ("double(array('d', [1, 2, 3, 4]), (2, 2))", [[1.0, 3.0], [2.0, 4.0]]),
    ("double(memoryview(array('d', [1.5])))", [[1.5]]),
    ("single(array('f', [1.5]))", [[1.5]]),
    ("int32(array('i', [1]))", [[1]]),
    ("int64(array('l', [-1]))", [[-1]]),
    ("int64(array('q', [-1]))", [[-1]]),
    ("uint64(array('L', [1]))", [[1]]),
    ("uint64(array('Q', [2**64 - 1]))", [[2**64 - 1]]),
    ("uint8(b'ab')", [[97, 98]]),
    ("uint8(b'')", []),
    ("uint8(bytearray(b'ab'))", [[97, 98]]),
    ("uint8(memoryview(b'abcd').cast('B', (2, 2)))", [[97, 98], [99, 100]]),
    ("uint8((c_ubyte * 3)(1, 2, 3))", [[1, 2, 3]]),
    ("uint8(numpy.zeros((2, 0), 'B'))", [[], []]),
    ("logical(b'\\0\\2')", [[False, True]]),
    ("uint8(numpy.array([True, False]))", [[1, 0]]),
    ("logical(array('B', [0, 1, 255]))", [[False, True, True]]),
    ("double(numpy.float64(2.5))", [[2.5]]),
    ("double(numpy.array(2.5))", [[2.5]]),
    ("int64(numpy.int64(5))", [[5]]),
    ("double([array('d', [1.0, 2.0])])", [[1.0, 2.0]]),
    ("double([b'ab'])", [[97.0, 98.0]]),
    ("double(memoryview(double([[1, 2], [3, 4]])))", [[1.0, 2.0], [3.0, 4.0]]),
    ("double(double([[1, 2], [3, 4]])[::-1].tomemoryview())", [[3.0, 4.0], [1.0, 2.0]]),
    ("int8(memoryview(int8([1 + 2j], is_complex=True)), is_complex=True)", [[1 + 2j]]),
    ("double(numpy.array([1j, 2]), is_complex=True)", [[1j, 2 + 0j]]),
    ("single(numpy.array([[1j]], 'F'), is_complex=True)", [[1j]]),
    ("double(numpy.array([1.0, 2.0])[::-1][:1])", [[2.0]]),
    ("int16(numpy.arange(24, dtype='h').reshape(2, 3, 4)[1:, 2, :])", [[20, 21, 22, 23]]),
    ("int32(Exporter(pack('2i', 1, 2), 'l', 4))", [[1, 2]]),
    ("uint32(Exporter(pack('2i', 1, 2), 'L', 4))", [[1, 2]]),
    ("int64(Exporter(pack('q', 9), 'l', 16))", [[9]]),
    ("double(Exporter(pack('2d', 1, 2), 'dd', 16))", [[1.0, 2.0]]),
    ("double(Exporter(pack('2d', 1, 2), 'Zdx', 16), is_complex=True)", [[1 + 2j]]),
    ("int8(Exporter(b'ab', 'b', 1, (7,)))", [[97, 98]]),
    ("int8(Exporter(b'ab', 'b', 1, (2, 1)))", [[97], [98]]),
    ("int8(Exporter(bytes(6), 'b', 1, (2, 3, 1)), (2, 3))", [[0, 0, 0], [0, 0, 0]]),
    ("int8(Exporter(b'a', 'b', 1, ndim=0))", [[97]]),
]

REFUSED = [
    ("double(array('f', [1.0]))", incompatible("f", "d")),
    ("double(b'ab')", incompatible("B", "d")),
    ("int8(b'ab')", incompatible("B", "b")),
    ("int32(array('l', [1]))", incompatible("l", "i")),
    ("uint64(array('l', [1]))", incompatible("l", "Q")),
    ("double((c_double * 2)())", incompatible("<d", "d")),
    ("double(numpy.zeros(2, '>f8'))", incompatible(">d", "d")),
    ("double(numpy.zeros(2, [('x', 'd')]))", incompatible("T{d:x:}", "d")),
    ("double(numpy.zeros(2, complex))", incompatible("Zd", "d")),
    ("logical(Exporter(b'a', 'b', 1))", incompatible("b", "?")),
    ("int64(Exporter(bytes(8), 'l', 4))", incompatible("l", "q")),
    ("double(array('d', [1.0]), is_complex=True)", not_complex("d")),
    ("single(numpy.zeros(2, complex), is_complex=True)", incompatible("Zd", "Zf")),
    ("double(Exporter(bytes(16), 'Z', 16), is_complex=True)", incompatible("Z", "Zd")),
    ("int32(Exporter(bytes(8), 'Zl', 8), is_complex=True)", incompatible("Zl", "Zi")),
    ("int8(Exporter(b'ab', None, 1))", "input 'format' field is null."),
    ("int8(Exporter(b'ab', '', 1))", "input 'format' field is null."),
    ("double(Exporter(bytes(12), 'd', 8))", UNEVEN),
    ("double(Exporter(bytes(24), 'Zd', 16), is_complex=True)", UNEVEN),
    ("double(Exporter(bytes(12), 'f', 8))", incompatible("f", "d")),
    ("int8(Exporter(bytes(6), 'b', 1, ndim=2))", "shape is null."),
    ("double(Exporter(bytes(12), 'd', 8, ndim=2))", UNEVEN),
    # Exporters that do not tell the truth.
    ("int8(Exporter(bytes(8), 'b', 1, length=-8))", UNEVEN),
    ("double(Exporter(bytes(8), 'd', 8, length=-8))", UNEVEN),
    ("int8(Exporter(bytes(6), 'b', 1, (2, 2)))", UNEVEN),
    ("int8(Exporter(bytes(6), 'b', 1, (3, 3), (1, 3)))", UNEVEN),
    ("int8(Exporter(bytes(6), 'b', 1, (-2, -3), (1, 2)))", UNEVEN),
    ("int8(Exporter(bytes(6), 'b', 1, (2**33, 2**33), (1, 1)))", UNEVEN),
    ("int8(Exporter(bytes(2), 'b', 1, ndim=0))", UNEVEN),
]

NAMES_IN_USE = {
    "array": array.array,
    "numpy": numpy,
    "c_ubyte": ctypes.c_ubyte,
    "c_double": ctypes.c_double,
    "pack": struct.pack,
    "Exporter": Exporter,
}


@pytest.mark.parametrize(("expression", "expected"), ACCEPTED)
def test_accepted_buffers(expression, expected):
    assert nested(evaluate(expression, **NAMES_IN_USE)) == expected


@pytest.mark.parametrize(("expression", "message"), REFUSED)
def test_refused_buffers(expression, message):
    with refused(BufferError, message):
        evaluate(expression, **NAMES_IN_USE)


def compatible(theirs: str, ours: str) -> bool:
    return theirs == ours or {theirs, ours} == {"B", "?"}


def test_no_format_is_widened_into_another():
    for theirs, ours in product(KINDS, repeat=2):
        buffer = exporting(theirs, [theirs.zero])
        if compatible(theirs.format, ours.format):
            assert make(ours, buffer).size == (1, 1)
        elif ours.is_complex and not theirs.is_complex:
            with refused(BufferError, not_complex(theirs.format)):
                make(ours, buffer)
        else:
            with refused(BufferError, incompatible(theirs.format, ours.format)):
                make(ours, buffer)
        assert buffer.open_views == 0


@each_kind
@pytest.mark.parametrize("misaligned", [False, True])
@pytest.mark.parametrize("order", "CFN")
def test_storage_orders(kind, order, misaligned):
    """Row-major, column-major, and an exporter with no strides at all, which means row-major."""
    shape = (3, 2, 5)
    stored = kind.unpack(bytes(range(1, 1 + 30 * kind.size % 256)).ljust(30 * kind.size, b"\5"))
    data = b"".join(map(kind.pack, stored))
    places = numpy.arange(30).reshape(shape, order="F" if order == "F" else "C")
    strides = None if order == "N" else tuple(kind.size * s // 8 for s in places.strides)
    buffer = Exporter(data, kind.format, kind.size, shape, strides, misaligned=misaligned)
    made = make(kind, buffer)
    assert (made.size, buffer.open_views) == (shape, 0)
    expected = [stored[place] for place in places.ravel(order="F")]
    assert stored_bytes(made) == b"".join(map(kind.pack, expected))


@pytest.mark.parametrize("shape", [(1, 5), (5, 1), (1, 1), (1, 4, 3), (3, 1, 4), (1, 1, 6)])
@pytest.mark.parametrize("order", "CF")
def test_lengths_of_one_do_not_mislead_about_the_order(shape, order):
    source = numpy.arange(float(numpy.prod(shape))).reshape(shape, order=order)
    dropped = source.reshape(shape[:2]) if shape[2:] == (1,) else source
    assert nested(orvane.double(source)) == dropped.tolist()
    # A dimension of length one may carry any stride.
    strides = tuple(s if n > 1 else 8 for s, n in zip(source.strides, shape, strict=True))
    data = source.tobytes(order="A")
    assert nested(orvane.double(Exporter(data, "d", 8, shape, strides))) == dropped.tolist()


@pytest.mark.parametrize("name", ["double", "int8", "int32", "logical"])
@pytest.mark.parametrize("shape", [(67, 129), (1, 999), (5, 70, 33), (2, 2, 2, 2, 2, 2, 2)])
def test_larger_row_major_input(name, shape):
    dtype = {"double": "d", "int8": "b", "int32": "i", "logical": "?"}[name]
    source = (numpy.arange(numpy.prod(shape)) % 101).astype(dtype).reshape(shape)
    made = getattr(orvane, name)(source)
    assert stored_bytes(made) == source.tobytes(order="F")


def test_sizes_beside_buffers():
    row_major = numpy.arange(6.0).reshape(2, 3)
    assert orvane.double(row_major, (2, 3, 1)).size == (2, 3)
    message = "dimensions of initializer ({}) do not match dimensions specified by 'size' ({})."
    with refused(SizeError, message.format("2, 3", "3, 2")):
        orvane.double(row_major, (3, 2))
    with refused(ShapeError, message.format("2, 3", "2, 2")):
        orvane.double(row_major, (2, 2))
    with refused(ShapeError, message.format("6", "2, 2")):
        orvane.double(row_major.ravel(), (2, 2))
    flat = Exporter(bytes(48), "d", 8, (4, 4))
    with refused(BufferError, UNEVEN):
        orvane.double(flat, (3, 2))
    assert flat.open_views == 0


def test_requests_that_the_exporter_refuses_keep_its_words():
    with pytest.raises(BufferError, match="contiguous"):
        orvane.uint8(memoryview(b"abcd")[::2])
    with pytest.raises(ValueError, match="contiguous"):
        orvane.double(numpy.zeros((4, 4))[::2, ::2])
    view = memoryview(b"ab")
    view.release()
    with pytest.raises(ValueError, match="released"):
        orvane.uint8(view)


def test_a_new_array_is_a_copy():
    source = numpy.arange(6.0).reshape(2, 3, order="F")
    made = orvane.double(source)
    source[:] = -1
    assert nested(made) == [[0.0, 2.0, 4.0], [1.0, 3.0, 5.0]]


@pytest.mark.parametrize("name", NAMES)
def test_every_bit_of_an_element_arrives(name):
    kind = next(k for k in KINDS if k.name == name)
    data = bytes([0, 1] * 4) if name == "logical" else bytes(range(120, 120 + 8 * kind.size))
    made = make(kind, Exporter(data, kind.format, kind.size, (2, 4), (kind.size, 2 * kind.size)))
    assert stored_bytes(made) == data


def test_exact_parts_beyond_what_a_double_holds():
    kind = KIND_OF["ZQ"]
    stored = [(2**53 + 1, 2**64 - 1)]
    assert stored_bytes(from_stored(kind, stored)) == kind.pack(stored[0])
    assert kind.size == 16
    assert (DOUBLE.size, COMPLEX.size) == (8, 16)
