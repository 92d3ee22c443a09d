"""Assignment: its four routes, how each measures, what is written before a fault."""

from __future__ import annotations

import array
import ctypes

import pytest

import orvane
from support import (
    NO_SUBSCRIPT,
    NULL_DATA,
    NUMERIC,
    OTHER_SHAPE,
    RECTANGULAR,
    SIBLINGS,
    TOO_LARGE,
    TOO_MANY,
    each_kind,
    execute,
    grid,
    make,
    nested,
    refused,
    stored_bytes,
)

COUNT = "length of slice does not match number of elements."
EMPTY_SLICE = "slice is empty, but number of elements assigned is greater than zero."
EMPTY_VALUES = "slice is nonempty but values are empty."
INTO_SLICE = "unable to index into slice."
WRITE = "unable to set value."


def row(*written, length=10):
    """Zeros but for the (position, value) pairs given."""
    values = [0.0] * length
    for position, value in written:
        values[position] = float(value)
    return values


# Statements on r, a row of ten zeros, or on c, a column of ten zeros, and the ten afterwards.
WRITES = [
    ("r[0][3] = 5", row((3, 5))),
    ("r[0][-1] = True", row((9, 1))),
    ("r[-1][False] = 7", row((0, 7))),
    ("r[0] = range(10)", row(*zip(range(10), range(10), strict=True))),
    ("r[0][1:3] = [7, 8]", row((1, 7), (2, 8))),
    ("r[0][::-3] = (1, 2, 3, 4)", row((9, 1), (6, 2), (3, 3), (0, 4))),
    ("r[0][8:99] = b'ab'", row((8, 97), (9, 98))),
    ("r[0][2:2] = []", row()),
    ("r[0][1:4][0:2] = [7, 8]", row((0, 7), (1, 8))),  # the standing slice is not looked at
    ("r[0][1:4][-1:] = [7]", row((9, 7))),
    ("r[0][1:4][0] = 7", row((1, 7))),
    ("r[0][2:][-3] = 7", row((9, 7))),  # measured against the whole dimension
    ("r[0][::-1][2] = 7", row((7, 7))),
    ("r[0:1][0][2] = 7", row((2, 7))),
    ("r[0:1] = [[1, 2, 3, 4, 5, 6, 7, 8, 9, 10]]", row(*zip(range(10), range(1, 11), strict=True))),
    ("r[0:0] = []", row()),
    ("r[0:0] = [[], []]", row()),
    ("c[3] = [5]", row((3, 5))),
    ("c[2:10][-3] = [5]", row((9, 5))),
    ("c[1:3][0] = [5]", row((1, 5))),
    ("c[1:3][5:7] = [7, 8]", row((2, 7), (3, 8))),  # not clipped to the view
    ("c[1:3][0:1] = 7", row((1, 7))),
    ("c[::-4] = [7, 8, 9]", row((9, 7), (5, 8), (1, 9))),
    ("c[2:4] = [[7, 8]]", row((2, 7), (3, 8))),
    ("c[2:4] = [[[7]], [[8]]]", row((2, 7), (3, 8))),
    ("c[2:3] = 7", row((2, 7))),
    ("c[5:2][0:1] = 7", row((0, 7))),  # through an empty view: the slice stands, from its start
    ("c[2:4] = c[4:6]", row()),
    ("c[:] = r", row()),
]

FAULTS = [
    ("r[0, 1] = 0", RuntimeError, NO_SUBSCRIPT, row()),
    ("r['x'] = 0", RuntimeError, NO_SUBSCRIPT, row()),
    ("r[1.0] = 'x'", RuntimeError, NO_SUBSCRIPT, row()),
    ("r[1] = 'x'", IndexError, "index has an invalid value: 1", row()),
    ("r[0][10] = None", IndexError, "index has an invalid value: 10", row()),
    ("r[0][-11] = 0", IndexError, "index has an invalid value: -11", row()),
    ("c[2:4][-11] = 0", IndexError, "index has an invalid value: -11", row()),
    ("r[0][2:4][-1] = 7", RuntimeError, INTO_SLICE, row()),
    ("r[0][2:4][2] = 'x'", RuntimeError, INTO_SLICE, row()),
    ("c[4:4][0] = [1]", RuntimeError, INTO_SLICE, row()),
    ("r[0][::0] = 'x'", ValueError, "slice step cannot be zero.", row()),
    ("r[0][5] = 1j", TypeError, "orvane.double does not accept complex values if 'is_complex'"
     " is not set to 'True'.", row()),
    ("r[0][5] = 'x'", TypeError, "value is not numeric.", row()),
    ("r[0][5] = [1]", TypeError, "sequence passed when scalar was expected.", row()),
    ("r[0][5] = r[0]", TypeError, "sequence passed when scalar was expected.", row()),
    ("r[0][5] = None", TypeError, "value must not be 'None'.", row()),
    ("r[0][5] = 2**63", OverflowError, TOO_LARGE, row()),
    ("r[0] = 7", ValueError, OTHER_SHAPE, row()),
    ("r[0] = r", ValueError, OTHER_SHAPE, row()),
    ("r[0] = [[0]] * 10", ValueError, OTHER_SHAPE, row()),
    ("r[0] = [1, 2, 3]", ValueError, OTHER_SHAPE, row()),
    ("r[0] = 'ab'", ValueError, NUMERIC, row()),
    ("r[0] = [1, None]", TypeError, "value must not be 'None'.", row()),
    ("r[0][1:3] = 5", ValueError, OTHER_SHAPE, row()),
    ("r[0][1:2] = 5", ValueError, OTHER_SHAPE, row()),
    ("r[0][1:3] = [1, 2, 3]", ValueError, OTHER_SHAPE, row()),
    ("r[0][1:3] = [[1, 2]]", ValueError, OTHER_SHAPE, row()),
    ("r[0][1:3] = 'ab'", ValueError, NUMERIC, row()),
    ("r[0][1:3] = [1, 'b']", ValueError, SIBLINGS, row()),
    ("r[0:1] = [1, 2, 3, 4]", ValueError, COUNT, row((0, 1), (1, 2), (2, 3), (3, 4))),
    ("c[8:] = [1, 2, 3, 4]", ValueError, COUNT, row((8, 1), (9, 2))),
    ("c[0:2] = 7", ValueError, COUNT, row((0, 7))),
    ("c[1:1] = [3]", ValueError, EMPTY_SLICE, row()),
    ("c[1:3] = []", ValueError, EMPTY_VALUES, row()),
    ("c[1:3] = [[], []]", ValueError, EMPTY_VALUES, row()),
    ("c[1:3] = [1, [2]]", ValueError, SIBLINGS, row()),
    ("c[1:1] = [[1], [[2]]]", ValueError, RECTANGULAR, row()),
    ("c[5:2][0:2] = [7, 8]", ValueError, COUNT, row((0, 7))),
    ("c[8:2:-2][::-1][1:] = [7, 8]", ValueError, COUNT, row((6, 7), (8, 8))),
    ("c[8:][4:6] = [7, 8]", RuntimeError, WRITE, row((9, 7))),  # composed beyond the elements
    ("c[:1][::-1][0:2] = [7, 8]", ValueError, COUNT, row((0, 7))),
    ("del r[0]", RuntimeError, NULL_DATA, row()),
    ("del r[0:1]", RuntimeError, NULL_DATA, row()),
    ("del r[0][0:2]", RuntimeError, NULL_DATA, row()),
    ("del r[0][3]", RuntimeError, NULL_DATA, row()),
    ("del r[0][10]", IndexError, "index has an invalid value: 10", row()),
    ("del r[0][2:4][3]", RuntimeError, INTO_SLICE, row()),
    ("del r['x']", RuntimeError, NO_SUBSCRIPT, row()),
    *(
        (f"r[{i}] = 0", OverflowError, "Python int too large to convert to C ssize_t", row())
        for i in ("2**63", "-BIG")
    ),
]  # fmt: skip


@pytest.mark.parametrize(("statement", "after"), WRITES)
def test_writes(statement, after):
    r, c = orvane.double(size=(1, 10)), orvane.double(size=(10, 1))
    execute(statement, r=r, c=c)
    written = r if statement.startswith("r") else c
    assert list(written._data) == array.array("d", stored_bytes(written)).tolist() == after


@pytest.mark.parametrize(("statement", "exception", "message", "after"), FAULTS)
def test_faults_and_what_they_leave(statement, exception, message, after):
    r, c = orvane.double(size=(1, 10)), orvane.double(size=(10, 1))
    with refused(exception, message):
        execute(statement, r=r, c=c)
    written = c if statement.removeprefix("del ").startswith("c") else r
    assert list(written._data) == after


def test_blocks_fill_with_the_last_dimension_fastest():
    a = grid(2, 3)
    for values in ([1, 2, 3, 4, 5, 6], [[1, 2], [3, 4], [5, 6]], [[[1], [2], [3], [4], [5], [6]]]):
        a[0:2] = [0] * 6
        a[0:2] = values
        assert nested(a) == [[1.0, 2.0, 3.0], [4.0, 5.0, 6.0]]
    cube = orvane.double(size=(2, 2, 2))
    cube[1] = [[1, 2], [3, 4]]
    cube[0][::-1] = [5, 6, 7, 8]
    assert nested(cube) == [[[7.0, 8.0], [5.0, 6.0]], [[1.0, 2.0], [3.0, 4.0]]]


@pytest.mark.parametrize(
    ("size", "statement", "message"),
    [
        ((2, 0), "a[0] = []", None),
        ((2, 0), "a[0] = [1]", OTHER_SHAPE),
        ((2, 0), "a[0][0:0] = []", None),
        ((2, 0, 3), "a[0] = []", OTHER_SHAPE),
        ((2, 3, 0), "a[1] = [[], [], []]", None),
        ((2, 0), "a[0:2] = []", EMPTY_VALUES),
        ((2, 0), "a[0:2] = 5", WRITE),
        ((0, 2), "a[0:2] = []", None),
    ],
)
def test_lengths_of_zero(size, statement, message):
    a = orvane.double(size=size)
    if message is None:
        execute(statement, a=a)
    else:
        with refused(RuntimeError if message == WRITE else ValueError, message):
            execute(statement, a=a)
    assert a.size == size


@each_kind
def test_every_kind_writes_both_stores_on_every_route(kind):
    a, count = make(kind, size=(2, 3)), 0
    clone = a.clone()  # shares nothing that a write could reach
    values = [True, False, True] if kind.name == "logical" else [3, 1, 2]
    for statement in ("a[0][1] = v[0]", "a[1] = v", "a[0][0:3:2] = v[1:]", "a[0:1] = v"):
        execute(statement, a=a, v=[complex(x, x) for x in values] if kind.is_complex else values)
        for part in ("_real", "_imag") if kind.is_complex else ("_data",):
            library = list(getattr(a, part))
            mirror = kind.unpack(stored_bytes(a))
            if kind.is_complex:
                mirror = [pair[part == "_imag"] for pair in mirror]
            assert library == mirror
            count += sum(map(bool, library))
    assert count
    assert not any(stored_bytes(clone))


def test_the_right_side_is_read_before_anything_is_written():
    a = grid(3, 2)
    a[::-1] = a
    assert nested(a) == [[2.0, 5.0], [1.0, 4.0], [0.0, 3.0]]
    a[0][:] = a[1]
    a[2] = a[2][::-1]
    assert nested(a) == [[1.0, 4.0], [1.0, 4.0], [3.0, 0.0]]


def test_a_complex_element_takes_what_is_no_number_as_zero():
    a = orvane.double([[1j] * 4], is_complex=True)
    for i, value in enumerate(("x", [1, 2], None, object())):
        a[0][i] = value
    assert list(a[0]) == [0j] * 4
    with refused(ValueError, NUMERIC):
        a[0][0:1] = "x"


def test_logical_elements_take_floats_only_in_construction():
    a = orvane.logical([0.5, 0.0])
    for statement in ("a[0][0] = 0.5", "a[0] = [0.5, True]", "a[0][0:1] = [0.5]", "a[0:1] = 0.5"):
        with refused(TypeError, "orvane.logical does not accept floating-point values."):
            execute(statement, a=a)
    a[0] = [2, 0]
    assert list(a[0]) == [True, False]


def test_outdated_chains_are_refused_before_the_subscript_is_looked_at():
    a = grid(2, 2, 2)
    line, sliced = a[1][1], a[1][1][0:1]
    a.reshape(4, 2)
    for view in (line, sliced):
        for subscript in (0, slice(None), "x", 2**70):
            with refused(RuntimeError, TOO_MANY):
                view[subscript] = "x"
    far = grid(4, 2)
    column = far[3]
    far.reshape(2, 4)
    column[2] = -1  # places 3, 5, 7 and one beyond
    with refused(RuntimeError, WRITE):
        column[0:4] = [-2, -3, -4, -5]
    assert list(far._data) == [0.0, 1.0, 2.0, -2.0, 4.0, -3.0, 6.0, -4.0]
    assert stored_bytes(far) == stored_bytes(far.clone())


def test_there_is_no_sequence_assignment():
    with pytest.raises(TypeError, match="does not support item assignment"):
        ctypes.pythonapi.PySequence_SetItem(
            ctypes.py_object(grid(1, 2)), ctypes.c_ssize_t(0), ctypes.py_object(5)
        )
