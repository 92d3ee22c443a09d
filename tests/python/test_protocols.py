"""Subscripts, iteration, comparison, text and pickles, where the model's programs do not come."""

import copy
import ctypes
import itertools
import math
import multiprocessing
import operator
import pickle

import pytest
from hypothesis import given
from hypothesis import strategies as st

import orvane
from impostors import Index, from_stored
from ovexceptions import ShapeError, SizeError
from reference.elements import KINDS
from support import (
    COMPLEX,
    DOUBLE,
    check,
    each_kind,
    evaluate,
    grid,
    make,
    refused,
    table,
)


@table("""
a[Index(1):Index(2)] -> [[1.0, 4.0]]
a[Index(1)] -> RuntimeError: SUBSCRIPT
a[::1.5] -> ValueError: STEP
a['x'::'x'] -> ValueError: STEP
1.0 in a[1] -> True
3.0 in a[1] -> False
operator.countOf(a[1], 4) -> 1
list(reversed(a[0])) -> [3.0, 0.0]
loads(dumps(a[1][0:1])) -> [[1.0, 4.0]]
loads(dumps(double(size=(2, 0, 3)))).size -> (2, 0)
loads(dumps(single([1e300, 1.5]))) -> [[inf, 1.5]]
""")
def test_protocols(expression, answer):
    names = {"Index": Index, "operator": operator, "loads": pickle.loads, "dumps": pickle.dumps}
    check(expression, answer, a=grid(3, 2), **names)


def test_there_is_no_assignment_as_to_a_sequence():
    with pytest.raises(TypeError):
        ctypes.pythonapi.PySequence_SetItem(ctypes.py_object(grid(3, 2)), 0, ctypes.py_object(5))


@each_kind
@pytest.mark.parametrize("every", [1, 2, 3])
def test_numbers_that_a_loop_keeps_stay_as_they_are(kind, every):
    row = grid(1, 60, kind=kind)[0]
    kept = [number for i, number in enumerate(row) if i % every == 0]
    assert kept == [row[i] for i in range(0, 60, every)]
    iterator = iter(row)
    assert iter(iterator) is iterator
    assert [*iterator, *iterator, *iterator] == list(row)


def test_a_chain_that_has_no_dimension_left_is_iterated_as_empty_and_else_refused(capfd):
    array = grid(2, 2, 2)
    view = array[1][1]
    array.reshape(4, 2)
    assert list(iter(view)) == []
    for use in ("v[0]", "v[::0]", "v['x':]", "len(v)", "v.__setitem__(0, 'x')", "v[:].size"):
        with refused(RuntimeError, "TOO_MANY"):
            evaluate(use, v=view)
    assert capfd.readouterr().out == "numDims (3) >= numShapeDims (2)\n"


@table("""
int64([2**53], is_complex=True), int64([2**53 + 1], is_complex=True) -> True
int64([2**53 + 1], is_complex=True), int64([2**53]) -> True
int64([2**53 + 1]), int64([2**53], is_complex=True) -> False
double(size=(0, 2**62, 2**62)), double() -> True
double(size=(2**62, 0)), double(size=(2**62, 0)) -> True
double(size=(2, 0, 5)), double(size=(2, 3, 0)) -> False
double([[1, 2, 3]]), double([[1, 2, 3]])[0] -> False
a, [[0.0, 2.0, 4.0], [1.0, 3.0, 5.0]] -> False
a[0], a[0].toarray() -> False
a, double -> False
""")
def test_equality(expression, answer):
    left, right = evaluate(expression, a=grid(2, 3))
    equal = answer == "True"
    for one, other in ((left, right), (right, left)):
        assert (one == other, one != other) == (equal, not equal)


def test_neither_identity_nor_the_other_side_decides():
    class Agreeing:
        def __eq__(self, other):
            return True

    a = evaluate("double([nan, 1])")
    assert (a == Agreeing(), a == a, a != a) == (False, False, True)
    for kind, other in itertools.product(KINDS, repeat=2):
        one, two = make(kind, size=(1, 2)), make(other, size=(1, 2))
        assert (one == two) is (kind.name == other.name)
    for ordering in (operator.lt, operator.le, operator.gt, operator.ge):
        for other in (a, a[0], 1, None, "x", [1]):
            with refused(NotImplementedError, "inequality operators not supported."):
                ordering(a, other)


def test_an_error_inside_an_item_goes_through():
    a = grid(4, 2)
    column, same = a[3], orvane.double([3, 5, 7, 0])[0]
    a.reshape(2, 4)
    short = orvane.double([3, 5, 7])[0]  # its end is found after the next item of the other is read
    for one, other in ((column, same), (same, column), (column, short), (short, column)):
        with refused(IndexError, "index has an invalid value: 3"):
            _ = one == other
    same[1] = -5
    assert column != same  # found before the fault is met


def as_python_prints(kind, stored):
    return str([[kind.read(element) for element in stored]]).replace(" ", "")


@given(st.sampled_from(KINDS), st.data())
def test_any_elements_print_as_python_prints_them(kind, data):
    """Bytes at random reach subnormals, huge exponents, NaN with payloads and both zeros."""
    stored = kind.unpack(data.draw(st.binary(min_size=4 * kind.size, max_size=4 * kind.size)))
    assert str(from_stored(kind, stored)) == as_python_prints(kind, stored)


def test_awkward_doubles_and_long_texts():
    stored = [
        *(10.0**e for e in (-324, -5, -4, 15, 16, 17, 22, 23, 308)),
        *(math.ldexp(m, e) for m in (1, -1, 2**53 - 1) for e in (-1074, 0, 53, 900)),
        *(0.1, 1 / 3, 123456789012345.6, 9.999999999999999e22, 1e16 - 2, 1e-5, 0.0001),
        *(math.nan, math.inf, -math.inf, 0.0, -0.0),
    ]
    assert str(from_stored(DOUBLE, stored * 999)) == as_python_prints(DOUBLE, stored * 999)
    pairs = [(x, y) for x in stored[-8:] for y in stored[-8:]]
    assert str(from_stored(COMPLEX, pairs)) == as_python_prints(COMPLEX, pairs)


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
    for error in (ShapeError, SizeError):  # by their public name
        dumped = pickle.dumps(error("words", 5))
        assert (pickle.loads(dumped).args, b"ovexceptions" in dumped) == (("words", 5), True)
