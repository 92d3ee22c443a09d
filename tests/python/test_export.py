"""The buffer that an array exports, and its attributes."""

import ctypes

from impostors import PyBuffer, get_buffer
from support import grid, refused

WRITABLE, FORMAT, STRIDES, C_CONTIGUOUS = 0x1, 0x4, 0x18, 0x38
NOT_WRITABLE = "underlying buffer is not writable."
NOT_C = "underlying buffer not C-contiguous."


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
