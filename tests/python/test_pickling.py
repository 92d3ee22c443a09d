"""Pickling, copying, and exchange with spawned workers."""

from __future__ import annotations

import copy
import multiprocessing
import operator
import pickle

import pytest

import orvane
from ovexceptions import ShapeError, SizeError
from support import check, each_kind, grid, make, refused, stored_bytes, table

COMPLEX = {"is_complex": True}


@table("""
double([[1 + 2j, 3]], is_complex=True).__reduce__() -> (double, (COMPLEX, [[1 + 2j, 3 + 0j]]))
logical([True, False]).__reduce__() -> (logical, ({}, [[True, False]]))
a[0].__reduce__() -> (double, ({}, [0.0, 2.0]))
a[0][1:2].__reduce__() -> (double, ({}, [0.0, 2.0]))
double(size=(0, 3)).__reduce__() -> (double, ({}, []))
int8(is_complex=True).__reduce__() -> (int8, (COMPLEX, []))
loads(dumps(a[1])) -> [[1.0, 3.0]]
loads(dumps(a[1][0:1])) -> [[1.0, 3.0]]
loads(dumps(double(size=(2, 0, 3)))).size -> (2, 0)
loads(dumps(double(size=(0, 3)))).size -> (0, 0)
loads(dumps(single([1e300, 1.5]))) -> [[inf, 1.5]]
""")
def test_reduced_forms_and_what_a_pickle_keeps(expression, answer):
    check(expression, answer, a=grid(2, 2), COMPLEX=COMPLEX, loads=pickle.loads, dumps=pickle.dumps)


@each_kind
def test_a_round_trip_keeps_type_kind_shape_and_values(kind):
    for array in (grid(2, 3, kind=kind), grid(1, 1, kind=kind), grid(2, 1, 3, kind=kind)):
        copies = [pickle.loads(pickle.dumps(array, p)) for p in range(pickle.HIGHEST_PROTOCOL + 1)]
        for twin in (*copies, copy.copy(array), copy.deepcopy(array)):
            assert (type(twin), twin.size) == (type(array), array.size)
            assert (twin._is_complex, stored_bytes(twin)) == (kind.is_complex, stored_bytes(array))
            assert twin.buffer_info()[0] != array.buffer_info()[0]
    assert pickle.loads(pickle.dumps(make(kind)))._is_complex is kind.is_complex


def test_spawned_workers():
    a = orvane.double([[1 + 2j, 3], [5, 7j]], is_complex=True)
    with multiprocessing.get_context("spawn").Pool(1) as pool:
        assert pool.apply(copy.copy, (a,)) == a
        assert pool.apply(operator.getitem, (a, 1)).size == (1, 2)
        words = "dimensions of initializer ({}) do not match dimensions specified by 'size' ({})."
        with refused(ShapeError, words.format("2", "1, 3")):
            pool.apply(orvane.double, ([1, 2],), {"size": (3,)})
        with refused(SizeError, words.format("2, 1", "1, 2")):
            pool.apply(orvane.double, ([[1], [2]], (1, 2)))


@pytest.mark.parametrize("error", [ShapeError, SizeError])
def test_the_exceptions_travel_by_their_public_name(error):
    dumped = pickle.dumps(error("words", 5))
    back = pickle.loads(dumped)
    assert (type(back), back.args, b"ovexceptions" in dumped) == (error, ("words", 5), True)
