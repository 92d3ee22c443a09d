"""Equality, and the comparisons that do not exist."""

from __future__ import annotations

import itertools
import operator

import pytest

from reference.elements import KINDS
from support import evaluate, grid, make, refused, table


@table("""
double([1.0]), double([1.0], is_complex=True) -> True
int64([2**53], is_complex=True), int64([2**53 + 1], is_complex=True) -> True
int64([2**53 + 1], is_complex=True), int64([2**53]) -> True
a[0], double([[0, 2, 4]])[0] -> True
a[1][2:0:-1], double([5, 3])[0] -> True
double(size=(0, 2**62, 2**62)), double() -> True
double(size=(2**62, 0)), double(size=(2**62, 0)) -> True
a[2:], double() -> True
a[0][3:], double() -> True
int64([2**53 + 1]), int64([2**53], is_complex=True) -> False
double([nan]), double([nan]) -> False
double([[1, 2, 3]]), double([[1, 2, 3]])[0] -> False
double([1, 2, 3, 4, 5, 6], (2, 3)), double([1, 2, 3, 4, 5, 6], (3, 2)) -> False
double(size=(2, 0)), double(size=(3, 0)) -> False
double(size=(2, 0, 5)), double(size=(2, 3, 0)) -> False
a, [[0.0, 2.0, 4.0], [1.0, 3.0, 5.0]] -> False
a, None -> False
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
    assert a[0][1:] == a[0][1:]


@pytest.mark.parametrize("ordering", [operator.lt, operator.le, operator.gt, operator.ge])
def test_ordering_is_refused_whatever_the_other_side(ordering):
    a = grid(2, 2)
    for other in (a, a[0], 1, None, "x", [1]):
        with refused(NotImplementedError, "inequality operators not supported."):
            ordering(a, other)


def test_arrays_of_different_types_are_never_equal():
    for kind, other in itertools.product(KINDS, repeat=2):
        one, two = make(kind, size=(1, 2)), make(other, size=(1, 2))
        assert (one == two) is (kind.name == other.name)


def test_an_error_inside_an_item_goes_through():
    a = grid(4, 2)
    column, same = a[3], make(KINDS[0], [3, 5, 7, 0])[0]
    a.reshape(2, 4)
    for one, other in ((column, same), (same, column)):
        with refused(IndexError, "index has an invalid value: 3"):
            _ = one == other
    same[1] = -5
    assert column != same  # found before the fault is met
