"""Assignment: its four routes, how each measures, what is written before a fault."""

from __future__ import annotations

import ctypes

import pytest

import orvane
from support import (
    answered_by,
    execute,
    grid,
    nested,
    table,
)

COUNT = "ValueError: length of slice does not match number of elements."


# r is a row and c a column of ten zeros. An answer is what the statement raises, if anything, and
# after an `&` what it leaves, as position:value; where there is no `&`, nothing has been written.
@table("""
r[0][3] = 5 -> & 3:5
r[0][-1] = True -> & 9:1
r[0][1:3] = [7, 8] -> & 1:7 2:8
r[0][::-3] = (1, 2, 3, 4) -> & 9:1 6:2 3:3 0:4
r[0][8:99] = b'ab' -> & 8:97 9:98
r[0][1:4][0:2] = [7, 8] -> & 0:7 1:8
r[0][1:4][0] = 7 -> & 1:7
r[0][2:][-3] = 7 -> & 9:7
r[0:1] = [[0, 1, 0, 0, 0, 0, 0, 0, 0, 2]] -> & 1:1 9:2
c[2:10][-3] = [5] -> & 9:5
c[1:3][5:7] = [7, 8] -> & 2:7 3:8
c[1:3][0:1] = 7 -> & 1:7
c[::-4] = [7, 8, 9] -> & 9:7 5:8 1:9
c[2:4] = [[7, 8]] -> & 2:7 3:8
c[5:2][0:1] = 7 -> & 0:7
c[2:5][1:1][0:1] = 7 -> & 2:7
c[:] = r -> &
r[0, 1] = 0 -> RuntimeError: SUBSCRIPT
r[1] = 'x' -> IndexError: index has an invalid value: 1
r[0][10] = None -> IndexError: index has an invalid value: 10
r[2**63] = 'x' -> OverflowError: SSIZE
r[0][2:4][-1] = 7 -> RuntimeError: unable to index into slice.
c[4:4][0] = [1] -> RuntimeError: unable to index into slice.
r[0][::0] = 'x' -> ValueError: STEP
r[0][5] = 1j -> TypeError:
    orvane.double does not accept complex values if 'is_complex' is not set to 'True'.
r[0][5] = r[0] -> TypeError: sequence passed when scalar was expected.
r[0][5] = None -> TypeError: NONE
r[0] = 7 -> ValueError: SHAPE
r[0] = r -> ValueError: SHAPE
r[0] = 'ab' -> ValueError: NUMERIC
r[0] = [1, None] -> TypeError: NONE
r[0][1:2] = 5 -> ValueError: SHAPE
r[0][1:3] = [1, 2, 3] -> ValueError: SHAPE
r[0:1] = [1, 2, 3, 4] -> COUNT & 0:1 1:2 2:3 3:4
c[1:3][0:5] = [1, 2, 3, 4, 5] -> COUNT & 1:1 2:2
c[8:] = [1, 2, 3, 4] -> COUNT & 8:1 9:2
c[0:2] = 7 -> COUNT & 0:7
c[8:2:-2][::-1][1:] = [7, 8] -> COUNT & 6:7 8:8
c[8:][4:6] = [7, 8] -> RuntimeError: unable to set value. & 9:7
c[1:1] = [3] -> ValueError:
    slice is empty, but number of elements assigned is greater than zero.
c[1:3] = [[], []] -> ValueError: slice is nonempty but values are empty.
c[1:1] = [[1], [[2]]] -> ValueError: RECTANGULAR
del r[0] -> RuntimeError: NULL
del r[0][3] -> RuntimeError: NULL
del r[0][10] -> IndexError: index has an invalid value: 10
del r[0][2:4][3] -> RuntimeError: unable to index into slice.
""")
def test_statements(expression, answer):
    r, c = orvane.double(size=(1, 10)), orvane.double(size=(10, 1))
    raised, _, written = answer.replace("COUNT", COUNT).partition("&")
    with answered_by(raised.strip()):
        execute(expression, r=r, c=c)
    expected = [0.0] * 10
    for pair in written.split():
        position, value = pair.split(":")
        expected[int(position)] = float(value)
    array = c if expression.removeprefix("del ").startswith("c") else r
    assert list(array._data) == list(memoryview(array).cast("B").cast("d")) == expected


def test_the_right_side_is_read_before_anything_is_written():
    a = grid(3, 2)
    a[::-1] = a
    assert nested(a) == [[2.0, 5.0], [1.0, 4.0], [0.0, 3.0]]
    a[0][:] = a[1]
    a[2] = a[2][::-1]
    assert nested(a) == [[1.0, 4.0], [1.0, 4.0], [3.0, 0.0]]


def test_there_is_no_sequence_assignment():
    a, value = ctypes.py_object(grid(1, 2)), ctypes.py_object(5)
    with pytest.raises(TypeError):
        ctypes.pythonapi.PySequence_SetItem(a, ctypes.c_ssize_t(0), value)
