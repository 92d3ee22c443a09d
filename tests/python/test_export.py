"""The buffer that an array exports, and its attributes."""

import ctypes
import math

import pytest

from impostors import PyBuffer, get_buffer, release_buffer
from support import each_kind, grid, nested, refused

WRITABLE, FORMAT, STRIDES, C_CONTIGUOUS = 0x1, 0x4, 0x18, 0x38
NOT_WRITABLE = "underlying buffer is not writable."
NOT_C = "underlying buffer not C-contiguous."


# SIMPLE, FORMAT, ND, STRIDES, F_CONTIGUOUS, ANY_CONTIGUOUS, INDIRECT, RECORDS_RO, FULL_RO; refused
# are WRITABLE, CONTIG, STRIDED, RECORDS, FULL, and C_CONTIGUOUS alone and with the others.
@pytest.mark.parametrize("flags", [0, FORMAT, 0x8, STRIDES, 0x58, 0x98, 0x118, 0x1C, 0x11C])
def test_granted_requests_are_described_completely_and_others_refused(flags):
    exporter, view = grid(2, 3), PyBuffer()
    assert get_buffer(exporter, ctypes.byref(view), flags) == 0
    assert (view.buf, view.obj) == (exporter.buffer_info()[0], id(exporter))
    assert (view.len, view.itemsize, view.readonly, view.ndim) == (48, 8, 1, 2)
    assert view.format == (b"d" if flags & FORMAT else None)
    assert (view.shape[:2], view.strides[:2]) == ([2, 3], [8, 16])
    assert not view.suboffsets
    release_buffer(ctypes.byref(view))
    for refused_flags in (WRITABLE, 0x9, 0x19, 0x1D, 0x11D, 0x38, 0x3C, 0x39):
        for other in (exporter, exporter[0], grid(1, 3)[0], grid(0, 0)):
            view = PyBuffer(obj=1)
            with refused(ValueError, NOT_WRITABLE if refused_flags & WRITABLE else NOT_C):
                get_buffer(other, ctypes.byref(view), refused_flags)
            assert view.obj is None


@each_kind
def test_every_kind_exports_its_format_and_strides(kind):
    exporter = grid(2, 3, 4, kind=kind)
    view = memoryview(exporter)
    assert (view.format, view.itemsize, view.readonly) == (kind.format, kind.size, True)
    assert (view.shape, view.strides) == ((2, 3, 4), (kind.size, 2 * kind.size, 6 * kind.size))
    assert (view.f_contiguous, view.c_contiguous, view.nbytes) == (True, False, 24 * kind.size)
    assert view.obj is exporter
    assert (exporter.itemsize, exporter._is_complex) == (kind.size, kind.is_complex)
    assert exporter._size == exporter.size == view.shape
    if not kind.is_complex:
        assert view.tolist() == nested(exporter)
    for shape in ((0, 3), (3, 0), (2, 0, 3)):
        empty = memoryview(grid(*shape, kind=kind))
        strides = tuple(kind.size * math.prod(shape[:d]) for d in range(len(shape)))
        assert (empty.shape, empty.strides, empty.nbytes) == (shape, strides, 0)


def test_an_open_export_shows_writes_and_outlives_a_reshape():
    exporter, raw = grid(2, 3), PyBuffer()
    view = memoryview(exporter)
    get_buffer(exporter, ctypes.byref(raw), STRIDES)
    address = exporter.buffer_info()[0]
    for shape in ((3, 2), (2, 3), (6, 1), (1, 2, 3), (1, 6)) * 50:
        exporter.reshape(*shape)
    exporter[0][2] = 77
    assert view.tolist() == [[0.0, 77.0, 4.0], [1.0, 3.0, 5.0]]
    assert exporter.buffer_info()[0] == raw.buf == address
    assert (raw.shape[:2], raw.strides[:2]) == ([2, 3], [8, 16])  # what was handed out, lives
    release_buffer(ctypes.byref(raw))


def test_a_view_exports_the_image_of_its_first_request():
    exporter = grid(2, 3)
    row, late = exporter[0], exporter[0]
    view = row.tomemoryview()
    assert (view.shape, view.tolist()) == ((1, 3), [[0.0, 2.0, 4.0]])
    with refused(ValueError, NOT_WRITABLE):  # after the image has been made
        get_buffer(late, ctypes.byref(PyBuffer()), WRITABLE)
    exporter[0][0] = row[1] = -1
    for image in (view, memoryview(row), memoryview(late)):
        assert image.tolist() == [[0.0, 2.0, 4.0]]
    assert memoryview(exporter[0]).tolist() == [nested(row)] == [[-1.0, -1.0, 4.0]]


def test_a_view_that_cannot_become_an_array():
    exporter = grid(4, 2)
    row = exporter[3]
    exporter.reshape(1, 8)
    for flags in (STRIDES, WRITABLE, C_CONTIGUOUS):
        with refused(RuntimeError, "NULL"):
            get_buffer(row, ctypes.byref(PyBuffer()), flags)


def test_more_dimensions_than_the_interpreter_takes():
    deep = grid(*[1] * 64, 2)
    for exporter in (deep, deep[0:1]):
        with refused(ValueError, "memoryview: number of dimensions must not exceed 64"):
            memoryview(exporter)
        with refused(ValueError, NOT_C):
            get_buffer(exporter, ctypes.byref(PyBuffer()), C_CONTIGUOUS)
    assert memoryview(deep[0]).ndim == 64
