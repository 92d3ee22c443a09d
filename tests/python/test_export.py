"""The buffer that an array exports, and its attributes."""

from __future__ import annotations

import array
import ctypes
import math

import numpy
import pytest

import orvane
from support import (
    PyBuffer,
    each_kind,
    get_buffer,
    grid,
    nested,
    refused,
    release_buffer,
    stored_bytes,
)

WRITABLE, FORMAT = 0x1, 0x4
GRANTED = {
    "SIMPLE": 0x0, "FORMAT": FORMAT, "ND": 0x8, "STRIDES": 0x18, "F_CONTIGUOUS": 0x58,
    "ANY_CONTIGUOUS": 0x98, "INDIRECT": 0x118, "RECORDS_RO": 0x1C, "FULL_RO": 0x11C,
}  # fmt: skip
NOT_WRITABLE = "underlying buffer is not writable."
NOT_C = "underlying buffer not C-contiguous."
REFUSED = {
    "WRITABLE": (WRITABLE, NOT_WRITABLE),
    "CONTIG": (0x9, NOT_WRITABLE),
    "STRIDED": (0x19, NOT_WRITABLE),
    "FULL": (0x11D, NOT_WRITABLE),
    "C_CONTIGUOUS": (0x38, NOT_C),
    "C_CONTIGUOUS with FORMAT": (0x3C, NOT_C),
    "C_CONTIGUOUS and WRITABLE": (0x39, NOT_WRITABLE),
}


@pytest.mark.parametrize("flags", GRANTED.values(), ids=GRANTED)
def test_granted_requests_are_described_completely(flags):
    exporter = grid(2, 3)
    view = PyBuffer()
    assert get_buffer(exporter, ctypes.byref(view), flags) == 0
    assert (view.buf, view.obj) == (exporter.buffer_info()[0], id(exporter))
    assert (view.len, view.itemsize, view.readonly, view.ndim) == (48, 8, 1, 2)
    assert view.format == (b"d" if flags & FORMAT else None)
    assert (view.shape[:2], view.strides[:2]) == ([2, 3], [8, 16])
    assert not view.suboffsets
    release_buffer(ctypes.byref(view))


@pytest.mark.parametrize(("flags", "message"), REFUSED.values(), ids=REFUSED)
def test_refused_requests(flags, message):
    whole, flat = grid(2, 3), grid(1, 3)
    for exporter in (whole, whole[0], flat, flat[0], grid(0, 0)):
        view = PyBuffer(obj=1)
        with refused(ValueError, message):
            get_buffer(exporter, ctypes.byref(view), flags)
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
    if not kind.is_complex:
        assert view.tolist() == nested(exporter)
    for shape in ((0, 3), (3, 0), (2, 0, 3)):
        empty = memoryview(grid(*shape, kind=kind))
        strides = tuple(kind.size * math.prod(shape[:d]) for d in range(len(shape)))
        assert (empty.shape, empty.strides, empty.nbytes) == (shape, strides, 0)


def test_numpy_reads_the_elements_where_they_are():
    exporter = grid(3, 4, 2)
    seen = numpy.asarray(memoryview(exporter))
    assert seen.__array_interface__["data"] == (exporter.buffer_info()[0], True)
    assert seen.tolist() == nested(exporter)
    exporter[1][2][0] = -5
    assert seen[1, 2, 0] == -5.0
    pairs = make_complex()
    assert numpy.asarray(pairs).tolist() == nested(pairs)
    del exporter
    assert seen[2, 3, 1] == 23.0  # the export keeps the array


def make_complex():
    return orvane.single([[1 + 2j, 3j], [0.5, -1j]], is_complex=True)


def test_an_open_export_shows_writes_and_outlives_a_reshape():
    exporter = grid(2, 3)
    view = memoryview(exporter)
    exporter[0][1] = 77
    assert view[0, 1] == 77.0
    raw = PyBuffer()  # holds the very vectors that were handed out, where a memoryview copies them
    get_buffer(exporter, ctypes.byref(raw), 0x18)
    address = exporter.buffer_info()[0]
    assert exporter.reshape(3, 2) is exporter
    assert (view.shape, view.strides, view.tolist()) == (
        (2, 3),
        (8, 16),
        [[0.0, 77.0, 4.0], [1.0, 3.0, 5.0]],
    )
    assert exporter.buffer_info()[0] == address
    for shape in ((1, 6), (6, 1), (1, 2, 3), (2, 3)) * 50:
        exporter.reshape(*shape)
    exporter[1][2] = -1
    assert view.tolist()[1] == [1.0, 3.0, -1.0]
    assert (raw.shape[:2], raw.strides[:2], raw.buf) == ([2, 3], [8, 16], address)
    release_buffer(ctypes.byref(raw))


def test_a_view_exports_an_image_of_the_first_request():
    exporter = grid(2, 3)
    row, late = exporter[0], exporter[0]
    view = row.tomemoryview()
    assert (view.shape, view.tolist()) == ((1, 3), [[0.0, 2.0, 4.0]])
    with refused(ValueError, NOT_WRITABLE):  # after the image has been made
        get_buffer(late, ctypes.byref(PyBuffer()), WRITABLE)
    exporter[0][0] = -1
    row[1] = -1
    for image in (view, memoryview(row), memoryview(late)):
        assert image.tolist() == [[0.0, 2.0, 4.0]]
    assert memoryview(exporter[0]).tolist() == [[-1.0, -1.0, 4.0]]
    assert nested(row) == [-1.0, -1.0, 4.0]


def test_a_view_that_cannot_become_an_array():
    view = grid(4, 2)[3:4]
    outdated = grid(4, 2)
    row = outdated[3]
    outdated.reshape(1, 8)
    with refused(RuntimeError, "null data pointer."):
        memoryview(row)
    with refused(RuntimeError, "null data pointer."):
        get_buffer(row, ctypes.byref(PyBuffer()), WRITABLE)
    assert memoryview(view).tolist() == [[3.0, 7.0]]


def test_more_dimensions_than_the_interpreter_takes():
    """The last of the refusals, and one that the interpreter's own consumers never provoke."""
    deep = grid(*[1] * 64, 2)
    words = "memoryview: number of dimensions must not exceed 64"
    for exporter in (deep, deep[0:1]):
        with refused(ValueError, words):
            memoryview(exporter)
        with refused(ValueError, NOT_C):
            get_buffer(exporter, ctypes.byref(PyBuffer()), 0x38)
    assert memoryview(deep[0]).ndim == 64


def test_attributes_that_make_arrays():
    pairs = orvane.int16([[1 + 2j, 3], [5, 7 - 4j]], is_complex=True)
    real = grid(2, 2)
    assert [list(a) for a in (pairs._real, pairs._imag, real._data)] == [
        [1, 5, 3, 7],
        [2, 0, 0, -4],
        [0.0, 1.0, 2.0, 3.0],
    ]
    assert pairs._real is not pairs._real
    for attribute in ("_real", "_imag"):
        with refused(ValueError, "real() and imag() can be called only on a complex array."):
            getattr(real, attribute)
    with refused(ValueError, "noncomplex() must not be called on a complex array."):
        _ = pairs[0]._data


def test_size_of_chains():
    cube = grid(2, 3, 4)
    for view, size in ((cube, (2, 3, 4)), (cube[1], (3, 4)), (cube[1][0:2], (2, 4))):
        assert view.size == view._size == size
        assert all(type(n) is int for n in view.size)
    line, sliced = cube[1][2], cube[1][2][1:3]
    cube.reshape(6, 4)
    assert line.size == ()
    for size_of in (lambda: sliced.size, lambda: len(line), lambda: len(sliced)):
        with refused(RuntimeError, "too many indices."):
            size_of()
    assert array.array("d", stored_bytes(cube)).tolist() == [*map(float, range(24))]
