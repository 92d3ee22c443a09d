"""Equality, and the comparisons that do not exist."""

from __future__ import annotations

import operator

import pytest

from reference.elements import KINDS
from support import each_kind, evaluate, grid, make, refused

EQUAL = [
    ("double([1.0])", "double([1.0], is_complex=True)"),
    ("double([0.0])", "double([-0.0])"),
    ("int64([2**53], is_complex=True)", "int64([2**53 + 1], is_complex=True)"),
    ("int64([2**53 + 1], is_complex=True)", "int64([2**53])"),
    ("a[0]", "a[0:1][0]"),
    ("a[0]", "double([[0, 2, 4]])[0]"),
    ("a[::-1][::-1]", "a"),
    ("a[1][2:0:-1]", "double([5, 3])[0]"),
    ("double(size=(0, 3))", "double(size=(0, 5))"),
    ("double(size=(0, 3))", "double()"),
    ("double(size=(0, 2**62, 2**62))", "double(size=(0, 3))"),
    ("double(size=(2, 0))", "double(size=(2, 0))"),
    ("a[2:]", "double()"),
    ("a[0][3:]", "double()"),
    ("double(size=(2**62, 0))", "double(size=(2**62, 0))"),
]
DIFFERENT = [
    ("int64([2**53 + 1])", "int64([2**53], is_complex=True)"),
    ("int8([1])", "int16([1])"),
    ("double([1])", "single([1])"),
    ("double()", "single()"),
    ("double([nan])", "double([nan])"),
    ("double([[1, 2, 3]])", "double([[1, 2, 3]])[0]"),
    ("double([[1, 2], [3, 4]])", "double([[1, 2]])"),
    ("double([1, 2, 3, 4, 5, 6], (2, 3))", "double([1, 2, 3, 4, 5, 6], (3, 2))"),
    ("double(size=(2, 0))", "double(size=(3, 0))"),
    ("double(size=(1, 0))", "double()"),
    ("double(size=(2, 0, 5))", "double(size=(2, 3, 0))"),
    ("a", "[[0.0, 2.0, 4.0], [1.0, 3.0, 5.0]]"),
    ("double(1)", "1.0"),
    ("a", "None"),
    ("a", "'a'"),
    ("a[0]", "a[0].toarray()"),
    ("a", "double"),
]


@pytest.mark.parametrize(
    ("left", "right", "equal"), [(*p, True) for p in EQUAL] + [(*p, False) for p in DIFFERENT]
)
def test_equality(left, right, equal):
    a = grid(2, 3)
    left, right = evaluate(left, a=a), evaluate(right, a=a)
    for one, other in ((left, right), (right, left)):
        assert (one == other, one != other) == (equal, not equal)


def test_equality_asks_the_other_side_nothing():
    class Agreeing:
        def __eq__(self, other):
            return True

    assert (grid(1, 1) == Agreeing()) is False


def test_there_is_no_shortcut_for_identity():
    a = evaluate("double([nan, 1])")
    assert (a == a, a != a, a[0] == a[0], a[0][1:] == a[0][1:]) == (False, True, False, True)


@pytest.mark.parametrize("ordering", [operator.lt, operator.le, operator.gt, operator.ge])
def test_ordering_is_refused_whatever_the_other_side(ordering):
    a = grid(2, 2)
    for other in (a, a[0], 1, None, "x", [1]):
        with refused(NotImplementedError, "inequality operators not supported."):
            ordering(a, other)


@each_kind
def test_each_single_difference_is_found(kind):
    a, b = (grid(2, 3, 2, kind=kind) for _ in range(2))
    assert a == b
    for i in range(2):
        for j in range(3):
            for k in range(2):
                kept = b[i][j][k]
                b[i][j][k] = not kept if kind.name == "logical" else kept + 1
                assert a != b
                assert (a[i] == b[i], a[1 - i] == b[1 - i]) == (False, True)
                b[i][j][k] = kept
    assert a == b


def test_arrays_of_different_types_are_never_equal():
    for kind in KINDS:
        for other in KINDS:
            one, two = make(kind, size=(1, 2)), make(other, size=(1, 2))
            assert (one == two) is (kind.name == other.name)


def test_an_error_inside_an_item_goes_through():
    a = grid(4, 2)
    column, same = a[3], grid(1, 4)[0]
    a.reshape(2, 4)
    same[0], same[1], same[2] = 3, 5, 7
    for one, other in ((column, same), (same, column)):
        with refused(IndexError, "index has an invalid value: 3"):
            _ = one == other
    same[1] = -5
    assert column != same  # found before the fault is met
