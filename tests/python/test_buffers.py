"""Construction from buffers: formats, storage orders, strange and lying exporters."""

import array
import ctypes
import math
import struct
from itertools import product

import numpy
import pytest
from hypothesis import given
from hypothesis import strategies as st

import orvane
from impostors import Exporter, exporting, from_stored
from reference.elements import KINDS
from support import check, each_kind, make, nested, outcome, refused, stored_bytes, table


@table(r"""
double(array('d', [1.0, 2.0]), size=(2, 1)) -> [[1.0], [2.0]]
uint64(array('L', [1])) -> [[1]]
uint8(numpy.zeros((2, 0), 'B')).size -> (2, 0)
double(numpy.array(2.5)) -> [[2.5]]
int16(numpy.arange(24, dtype='h').reshape(2, 3, 4)[1:, 2, :]) -> [[20, 21, 22, 23]]
int32(Exporter(pack('2i', 1, 2), 'l', 4)) -> [[1, 2]]
int64(Exporter(pack('q', 9), 'l', 16)) -> [[9]]
double(Exporter(pack('2d', 1, 2), 'Zdx', 16), is_complex=True) -> [[1 + 2j]]
int8(Exporter(b'ab', 'b', 1, (7,))) -> [[97, 98]]
int8(Exporter(bytes(6), 'b', 1, (2, 3, 1)), (2, 3)) -> [[0, 0, 0], [0, 0, 0]]
double(array('f', [1.0])) -> BufferError: input buffer format ('f') is not compatible with output
    format ('d'); use a different input or output type
double((c_double * 2)()) -> BufferError: input buffer format ('<d') is not compatible with output
    format ('d'); use a different input or output type
double(numpy.zeros(2, [('x', 'd')])) -> BufferError: input buffer format ('T{d:x:}') is not
    compatible with output format ('d'); use a different input or output type
double(array('d', [1.0]), is_complex=True) -> BufferError: input buffer format ('d') does not begin
    with 'Z', but output type is complex
double(Exporter(bytes(16), 'Z', 16), is_complex=True) -> BufferError: input buffer format ('Z') is
    not compatible with output format ('Zd'); use a different input or output type
int8(Exporter(b'ab', None, 1)) -> BufferError: input 'format' field is null.
double(Exporter(bytes(12), 'f', 8)) -> BufferError: input buffer format ('f') is not compatible with
    output format ('d'); use a different input or output type
int8(Exporter(bytes(6), 'b', 1, ndim=2)) -> BufferError: shape is null.
double(numpy.zeros((2, 3)), (3, 2)) -> SizeError:
    dimensions of initializer (2, 3) do not match dimensions specified by 'size' (3, 2).
""")
def test_buffers(expression, answer):
    names = {"array": array.array, "numpy": numpy, "pack": struct.pack, "Exporter": Exporter}
    check(expression, answer, c_double=ctypes.c_double, **names)


@table("""
12, None -> dict()
12, None -> dict(ndim=2)
8, None -> dict(length=-8)
16, None -> dict(ndim=0)
48, (2, 2), None -> dict()
48, (3, 3), (8, 24) -> dict()
48, (-2, -3), (8, 16) -> dict()
48, (2**33, 2**33), (8, 8) -> dict()
""")
def test_lengths_and_shapes_that_do_not_fit(expression, answer):
    size, *layout = eval(expression)
    exporter = Exporter(bytes(size), "d", 8, *layout, **eval(answer))
    for use in (orvane.double, lambda e: orvane.double(e, size=(3, 2))):
        with refused(BufferError, "input does not fit evenly into output type."):
            use(exporter)
    assert exporter.open_views == 0


def test_no_format_is_widened_into_another():
    for theirs, ours in product(KINDS, repeat=2):
        buffer = exporting(theirs, [theirs.zero])
        words = f"is not compatible with output format ('{ours.format}'); use a different"
        if ours.is_complex and not theirs.is_complex:
            words = "does not begin with 'Z', but output type is complex"
        got = outcome(lambda ours=ours, buffer=buffer: make(ours, buffer).size)
        if theirs == ours or {theirs.format, ours.format} == {"B", "?"}:
            assert got == ("gave", "tuple", (1, 1))
        else:
            assert got[:2] == ("raised", BufferError)
            assert got[2].startswith(f"input buffer format ('{theirs.format}') {words}")
        assert buffer.open_views == 0


@each_kind
@pytest.mark.parametrize("misaligned", [False, True])
@pytest.mark.parametrize("order", "CFN")
def test_storage_orders(kind, order, misaligned):
    """Row-major, column-major, and an exporter with no strides at all, which means row-major."""
    shape = (3, 2, 5)
    stored = kind.unpack(bytes(range(1, 31)) * kind.size)
    data = b"".join(map(kind.pack, stored))
    places = numpy.arange(30).reshape(shape, order="F" if order == "F" else "C")
    strides = None if order == "N" else tuple(kind.size * s // 8 for s in places.strides)
    buffer = Exporter(data, kind.format, kind.size, shape, strides, misaligned=misaligned)
    made = make(kind, buffer)
    assert (made.size, buffer.open_views) == (shape, 0)
    expected = b"".join(kind.pack(stored[place]) for place in places.ravel(order="F"))
    assert stored_bytes(made) == expected
    if kind.name not in ("single", "logical"):  # where NaN and truth may change the bytes
        assert stored_bytes(from_stored(kind, stored)) == bytes(range(1, 31)) * kind.size


@pytest.mark.parametrize("shape", [(1, 5), (5, 1), (1, 1), (1, 4, 3), (3, 1, 4), (1, 1, 6)])
@pytest.mark.parametrize("order", "CF")
def test_lengths_of_one_do_not_mislead_about_the_order(shape, order):
    source = numpy.arange(float(numpy.prod(shape))).reshape(shape, order=order)
    # A dimension of length one may carry any stride.
    strides = tuple(s if n > 1 else 8 for s, n in zip(source.strides, shape, strict=True))
    odd = Exporter(source.tobytes(order="A"), "d", 8, shape, strides)
    assert nested(orvane.double(source)) == nested(orvane.double(odd)) == source.tolist()


@given(
    st.sampled_from([kind for kind in KINDS if kind.format in (*"dfbBhHiIqQ?", "Zd", "Zf")]),
    st.lists(st.sampled_from([1, 2, 3, 5, 16, 31, 64, 67, 129, 300, 1100]), min_size=2, max_size=6),
)
def test_row_major_input_of_any_shape(kind, shape):
    """Crosses the edges of whatever blocks the elements are reordered in."""
    while math.prod(shape) > 40_000:
        shape.remove(max(shape))
    shape = [1] * (2 - len(shape)) + shape
    dtype = {"Zd": "D", "Zf": "F"}.get(kind.format, kind.format)
    source = (numpy.arange(math.prod(shape)) % 251).astype("B").astype(dtype).reshape(shape)
    values = source.tolist() if source.size < 4000 else source
    for made in (make(kind, source), make(kind, values)):
        assert stored_bytes(made) == source.tobytes(order="F")


def test_new_arrays_are_copies_and_refusals_keep_the_words_of_the_exporter():
    for order in "CF":
        source = numpy.ones((5, 7), order=order)
        made = orvane.double(source)
        source[:] = 0
        assert nested(made) == [[1.0] * 7] * 5
    released = memoryview(b"ab")
    released.release()
    with pytest.raises(BufferError, match="contiguous"):
        orvane.uint8(memoryview(b"abcd")[::2])
    for words, source in (("contiguous", numpy.zeros((4, 4))[::2, ::2]), ("released", released)):
        with pytest.raises(ValueError, match=words):
            orvane.uint8(source)
