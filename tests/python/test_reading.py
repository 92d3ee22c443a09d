"""Subscripts: which element or view they answer, what they refuse, and what views share."""

from __future__ import annotations

import itertools

import pytest

from support import check, each_kind, from_stored, grid, make, nested, table


class Index:
    def __init__(self, value):
        self.value = value

    def __index__(self):
        return self.value


# b has 10 rows of 2, c is 4 by 5 by 6, e has no rows; elements count up in storage order.
@table("""
b[1][1] -> 11.0
b[-1][-2] -> 9.0
b[True][False] -> 1.0
c[1][2][3] -> 69.0
c[::2][::-1][0][0][0] -> 2.0
c[-2**65:2**65:2**62][0][0][0] -> 0.0
b[2:2].size -> (0, 2)
b[2:5][1:1][0:9].size -> (0, 2)
b[1:3][0:9].size -> (2, 2)
c[1][0:2].size -> (2, 6)
e[::-1].size -> (0, 3)
[len(x) for x in (c, c[1], c[1:3], c[1][2], c[1][4:1])] -> [4, 5, 2, 6, 0]
b[::-1][::-1][4:5] -> [[4.0, 14.0]]
b[0:10][::3] -> [[0.0, 10.0], [3.0, 13.0], [6.0, 16.0], [9.0, 19.0]]
b[::4][::-1] -> [[8.0, 18.0], [4.0, 14.0], [0.0, 10.0]]
b[8:2:-2][1:] -> [[6.0, 16.0], [4.0, 14.0]]
b[Index(1):Index(2)] -> [[1.0, 11.0]]
b[1.0] -> RuntimeError: SUBSCRIPT
b[1, 2] -> RuntimeError: SUBSCRIPT
b[Index(1)] -> RuntimeError: SUBSCRIPT
b[10] -> IndexError: index has an invalid value: 10
b[2**63 - 1] -> IndexError: index has an invalid value: 9223372036854775807
b[2**63] -> OverflowError: SSIZE
b[-BIG] -> OverflowError: SSIZE
b[1:3][2] -> IndexError: index has an invalid value: 2
b[1:3][-3] -> IndexError: index has an invalid value: -3
e[-1] -> IndexError: index has an invalid value: -1
b[::0] -> ValueError: STEP
b['x'::'x'] -> ValueError: STEP
b[::1.5] -> ValueError: STEP
b['x':] -> TypeError: slice indices must be integers or None or have an __index__ method
b[1.5:'x'] -> TypeError: slice indices must be integers or None or have an __index__ method
b[1][1][0] -> TypeError: 'float' object is not subscriptable
""")
def test_subscripts(expression, answer):
    check(expression, answer, b=grid(10, 2), c=grid(4, 5, 6), e=grid(0, 3), Index=Index)


@each_kind
def test_what_a_subscript_gives_back(kind):
    array = grid(2, 2, kind=kind)
    expected = complex if kind.is_complex else type(kind.zero)
    assert type(array[1][1]) is expected
    for view in (array[1], array[0:1], array[1][0:2][1:]):
        assert (type(view), view._is_complex) == (type(array), kind.is_complex)
    if kind.element.is_integer:
        limits = [kind.element.low, kind.element.high]
        stored = [(x, 0) for x in limits] if kind.is_complex else limits
        assert list(from_stored(kind, stored)[0]) == [expected(x) for x in limits]


@pytest.mark.parametrize(
    "shape", [(1, 7), (7, 1), (3, 4), (2, 3, 4), (2, 1, 3, 2), (1,) * 69 + (2,)]
)
def test_every_place_holds_its_element(shape):
    array = grid(*shape)
    for number, place in enumerate(itertools.product(*map(range, shape[::-1]))):
        element = array
        for i in reversed(place):
            element = element[i]
        assert element == float(number)


@each_kind
def test_views_share_elements(kind):
    array = make(kind, size=(3, 4))
    views = array[1:3][0], array[::-1][1], array[1]
    one = kind.read((1, 0) if kind.is_complex else type(kind.zero)(1))
    array[1][2] = True
    assert [nested(view) for view in views] == [[0, 0, one, 0]] * 3
    views[1][0] = True
    assert nested(array) == [[0] * 4, [one, 0, one, 0], [0] * 4]
