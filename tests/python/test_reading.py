"""Subscripts: which element or view they answer, what they refuse, and what views share."""

from __future__ import annotations

import itertools

import pytest

from support import (
    NO_SUBSCRIPT,
    each_kind,
    evaluate,
    from_stored,
    grid,
    make,
    nested,
    refused,
)

# b has 10 rows of 2, c is 4 by 5 by 6, e has no rows; elements count up in storage order.
VALUES = [
    ("b[1][1]", 11.0),
    ("b[-1][-2]", 9.0),
    ("b[True][False]", 1.0),
    ("c[1][2][3]", 69.0),
    ("c[1:3][-1][0][0]", 2.0),
    ("c[::-1][0][0][0]", 3.0),
    ("c[::-1][-1][0][0]", 0.0),
    ("c[1][2:5][0][0]", 9.0),
    ("c[::2][::-1][0][0][0]", 2.0),
    ("c[-2**65:2**65:2**62][0][0][0]", 0.0),
    ("b[2:3].size", (1, 2)),
    ("b[1:3][1:2].size", (1, 2)),
    ("b[2:2].size", (0, 2)),
    ("b[2:5][1:1][0:9].size", (0, 2)),
    ("b[20:30].size", (0, 2)),
    ("b[1:3][0:9].size", (2, 2)),
    ("b[0:10][::3][::-2].size", (2, 2)),
    ("c[1].size", (5, 6)),
    ("c[1][0:2].size", (2, 6)),
    ("c[1][2].size", (6,)),
    ("c[1][2][::-1].size", (6,)),
    ("[len(x) for x in (c, c[1], c[1:3], c[1][2], c[1][4:1])]", [4, 5, 2, 6, 0]),
    ("[r[0] for r in b[::-1][::-1]]", [0.0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0]),
    ("[r[0] for r in b[0:10][::3]]", [0.0, 3.0, 6.0, 9.0]),
    ("[r[0] for r in b[::2][::-1]]", [8.0, 6.0, 4.0, 2.0, 0.0]),
    ("[r[0] for r in b[8:2:-2][1:]]", [6.0, 4.0]),
    ("[r[0] for r in b[Index(1):Index(3)]]", [1.0, 2.0]),
    ("e[::-1].size", (0, 3)),
]

REFUSALS = [
    *(
        (f"b[{x}]", RuntimeError, NO_SUBSCRIPT)
        for x in ("1.0", "None", "...", "1, 2", "'0'", "Index(1)")
    ),
    *((f"b[{i}]", IndexError, f"index has an invalid value: {i}") for i in (10, -11, 2**63 - 1)),
    ("b[1:3][2]", IndexError, "index has an invalid value: 2"),
    ("b[1:3][-3]", IndexError, "index has an invalid value: -3"),
    ("b[2:2][0]", IndexError, "index has an invalid value: 0"),
    ("b[0][7]", IndexError, "index has an invalid value: 7"),
    ("e[0]", IndexError, "index has an invalid value: 0"),
    ("e[-1]", IndexError, "index has an invalid value: -1"),
    ("b[::0]", ValueError, "slice step cannot be zero."),
    ("b['x'::'x']", ValueError, "slice step cannot be zero."),
    ("b[::1.5]", ValueError, "slice step cannot be zero."),
    *(
        (f"b[{x}]", TypeError, "slice indices must be integers or None or have an __index__ method")
        for x in ("'x':", ":'x'", "1.5:'x'")
    ),
    *(
        (f"b[{x}]", OverflowError, "Python int too large to convert to C ssize_t")
        for x in ("2**63", "-2**63 - 1", "BIG")
    ),
]  # fmt: skip


class Index:
    def __init__(self, value):
        self.value = value

    def __index__(self):
        return self.value


def arrays():
    return {"b": grid(10, 2), "c": grid(4, 5, 6), "e": grid(0, 3), "Index": Index}


@pytest.mark.parametrize(("expression", "expected"), VALUES)
def test_values(expression, expected):
    assert evaluate(expression, **arrays()) == expected


@pytest.mark.parametrize(("expression", "exception", "message"), REFUSALS)
def test_refusals(expression, exception, message):
    with refused(exception, message):
        evaluate(expression, **arrays())


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


def test_an_element_has_no_subscript():
    with pytest.raises(TypeError, match="not subscriptable"):
        grid(2, 3)[1][2][0]


@pytest.mark.parametrize(
    "shape", [(1, 7), (7, 1), (3, 4), (2, 3, 4), (2, 1, 3, 2), (1, 2, 1, 2, 2)]
)
def test_every_place_holds_its_element(shape):
    array = grid(*shape)
    by_place = {}
    for number, place in enumerate(itertools.product(*map(range, shape[::-1]))):
        by_place[place[::-1]] = float(number)
    for place, expected in by_place.items():
        element = array
        for i in place:
            element = element[i]
        assert element == expected


@each_kind
def test_views_share_elements_and_a_read_makes_none(kind):
    array = make(kind, size=(3, 4))
    views = {"a[1:3][0]": array[1:3][0], "a[::-1][1]": array[::-1][1], "a[1]": array[1]}
    one = kind.read((1, 0) if kind.is_complex else type(kind.zero)(1))
    array[1][2] = True
    for text, view in views.items():
        assert nested(view) == [0, 0, one, 0], text
    views["a[::-1][1]"][0] = True
    assert nested(array) == [[0] * 4, [one, 0, one, 0], [0] * 4]


def test_as_many_dimensions_as_one_likes():
    array = grid(*[1] * 69, 2)
    element = array
    for _ in range(69):
        element = element[0]
    assert nested(element) == [0.0, 1.0]
