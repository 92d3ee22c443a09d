"""Construction from buffers: formats, storage orders, strange and lying exporters."""

import array
import ctypes
import math
import struct

import numpy
import pytest

import orvane
from impostors import Exporter
from support import KIND_OF, check, make, nested, refused, stored_bytes, table


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
double(Exporter(bytes(16), 'd', 1, (16,), (1,))) -> [[0.0, 0.0]]
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
double(Exporter(bytes(16), 'd', 8, (2,), (-8,))) -> BufferError: input does not fit evenly into
    output type.
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
48, (2, 3), (8, 2**62) -> dict()
48, (2, 3) -> dict(has_address=False)
""")
def test_lengths_and_shapes_that_do_not_fit(expression, answer):
    size, *layout = eval(expression)
    exporter = Exporter(bytes(size), "d", 8, *layout, **eval(answer))
    for use in (orvane.double, lambda e: orvane.double(e, size=(3, 2))):
        with refused(BufferError, "input does not fit evenly into output type."):
            use(exporter)
    with pytest.raises(ValueError, match="the buffer contradicts itself: "):
        orvane.asarray(exporter)
    assert exporter.open_views == 0


@pytest.mark.parametrize("shape", [(130, 3, 130), (16, 9, 2, 130), (130, 2, 3, 2, 67), (3, 300, 2)])
@pytest.mark.parametrize("code", "BhfdD")
def test_row_major_input_in_many_matrices(shape, code):
    source = (numpy.arange(math.prod(shape)) % 251).astype(code).reshape(shape)
    kind = KIND_OF["Zd" if code == "D" else code]
    assert stored_bytes(make(kind, source)) == source.tobytes(order="F")


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
