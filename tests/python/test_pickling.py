"""Pickling, copying, and exchange with spawned workers."""

from __future__ import annotations

import copy
import multiprocessing
import operator
import pickle

import pytest

import orvane
from ovexceptions import ShapeError, SizeError
from support import each_kind, evaluate, grid, make, nested, refused, stored_bytes

REDUCED = [
    ("double([[1, 2], [3, 4]])", {}, [[1.0, 2.0], [3.0, 4.0]]),
    ("double([[1 + 2j, 3]], is_complex=True)", {"is_complex": True}, [[1 + 2j, 3 + 0j]]),
    ("double(5)", {}, [[5.0]]),
    ("logical([True, False])", {}, [[True, False]]),
    ("a[0]", {}, [0.0, 2.0]),
    ("a[0:1]", {}, [[0.0, 2.0], [1.0, 3.0]]),  # only integers count
    ("a[0][1:2]", {}, [0.0, 2.0]),
    ("a[::-1]", {}, [[0.0, 2.0], [1.0, 3.0]]),
    ("double(size=(0, 3))", {}, []),
    ("double(size=(1, 0))", {}, [[]]),
    ("double(size=(2, 0, 3))", {}, [[], []]),
    ("int8(is_complex=True)", {"is_complex": True}, []),
]


@pytest.mark.parametrize(("expression", "flags", "values"), REDUCED)
def test_the_reduced_form(expression, flags, values):
    array = evaluate(expression, a=grid(2, 2))
    array_type, (keywords, listed) = array.__reduce__()
    assert array_type is type(array)
    assert (keywords, repr(listed)) == (flags, repr(values))


@each_kind
def test_a_round_trip_keeps_type_kind_shape_and_values(kind):
    for array in (grid(2, 3, kind=kind), grid(1, 1, kind=kind), grid(2, 1, 3, kind=kind)):
        copies = [pickle.loads(pickle.dumps(array, p)) for p in range(pickle.HIGHEST_PROTOCOL + 1)]
        for twin in (*copies, copy.copy(array), copy.deepcopy(array)):
            assert type(twin) is type(array)
            assert (twin.size, twin._is_complex) == (array.size, kind.is_complex)
            assert stored_bytes(twin) == stored_bytes(array)
            twin[0] = nested(array[0])
            assert twin.buffer_info()[0] != array.buffer_info()[0]
    zero = pickle.loads(pickle.dumps(make(kind, size=(0, 3))))
    assert (zero.size, zero._is_complex) == ((0, 0), kind.is_complex)


def test_what_a_pickle_does_not_keep():
    a = grid(2, 3)
    row, rows, part = (pickle.loads(pickle.dumps(v)) for v in (a[1], a[0:1], a[1][0:1]))
    assert (row.size, rows.size, part.size) == ((1, 3), (2, 3), (1, 3))
    assert pickle.loads(pickle.dumps(grid(2, 0, 3))).size == (2, 0)
    far = pickle.loads(pickle.dumps(orvane.single([1e300, 1.5])))
    assert list(far[0]) == [float("inf"), 1.5]


def test_outdated_chains():
    a = grid(2, 2, 2)
    line = a[1][1]
    a.reshape(4, 2)
    assert line.__reduce__() == (orvane.double, ({}, []))
    column = a[3]
    a.reshape(1, 8)
    with refused(IndexError, "index has an invalid value: 5"):
        column.__reduce__()


def test_deepcopy_remembers():
    a = grid(2, 2)
    one, two = copy.deepcopy([a, a])
    assert one is two
    assert (one is not a, one == a) == (True, True)


@pytest.mark.parametrize("error", [ShapeError, SizeError])
def test_the_exceptions_travel_by_their_public_name(error):
    back = pickle.loads(pickle.dumps(error("words", 5)))
    assert (type(back), back.args) == (error, ("words", 5))
    assert b"ovexceptions" in pickle.dumps(error())


def test_spawned_workers():
    a = orvane.double([[1 + 2j, 3], [5, 7j]], is_complex=True)
    with multiprocessing.get_context("spawn").Pool(1) as pool:
        assert pool.apply(copy.copy, (a,)) == a
        assert pool.apply(operator.getitem, (a, 1)).size == (1, 2)
        assert pool.apply(orvane.int8, ([1, 2, 3], (3, 1))).size == (3, 1)
        with refused(
            ShapeError,
            "dimensions of initializer (2) do not match dimensions specified by 'size' (1, 3).",
        ):
            pool.apply(orvane.double, ([1, 2],), {"size": (3,)})
        with refused(
            SizeError,
            "dimensions of initializer (2, 1) do not match dimensions specified by 'size' (1, 2).",
        ):
            pool.apply(orvane.double, ([[1], [2]], (1, 2)))
