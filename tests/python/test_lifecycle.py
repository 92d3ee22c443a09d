"""Birth and death of arrays: arguments, the dictionary in first place, what outlives what."""

from __future__ import annotations

import gc
import sys
import weakref

import pytest

import orvane
from support import each_type, evaluate, grid, nested, refused

NO_BOOL = "value passed to 'is_complex' must be a bool."
BOTH = "initializer and 'vector' must not both be specified."
THREE = (
    "more than two positional arguments must not be specified. A third will be treated as "
    "'vector', which must not be specified when an initializer is specified."
)
MISSING_TYPE = "type does not match."

FORMS = [
    ("double()", (0, 0), False, []),
    ("double(None)", (0, 0), False, []),
    ("double(None, None, None)", (0, 0), False, []),
    ("double(is_complex=True)", (0, 0), True, []),
    ("double(None, None, [1, 2])", (1, 2), False, [[1.0, 2.0]]),
    ("double([1], (1, 1), None)", (1, 1), False, [[1.0]]),
    ("double([1, 2], (2, 1), None, False)", (2, 1), False, [[1.0], [2.0]]),
    ("double([1j], None, None, True)", (1, 1), True, [[1j]]),
    ("double(vector=[1, 2, 3, 4], size=(2, 2))", (2, 2), False, [[1.0, 3.0], [2.0, 4.0]]),
    ("double(size=(2, 2), initializer=None)", (2, 2), False, [[0.0, 0.0], [0.0, 0.0]]),
    ("double(initializer=7)", (1, 1), False, [[7.0]]),
    ("logical(is_complex=False)", (0, 0), False, []),
    ("double({})", (0, 0), False, []),
    ("double({'size': (2, 1)})", (2, 1), False, [[0.0], [0.0]]),
    ("double({'is_complex': True})", (0, 0), True, []),
    ("double({'initializer': [1.0, 2.0], 'is_complex': False})", (1, 2), False, [[1.0, 2.0]]),
    ("double({}, [1.0], (1, 1))", (1, 1), False, [[1.0]]),
    ("double({'is_complex': True}, [[1.0, 2j]])", (1, 2), True, [[1 + 0j, 2j]]),
    ("double({'size': (2, 1)}, **{})", (2, 1), False, [[0.0], [0.0]]),
    ("double(Mapping(size=(1, 1)))", (1, 1), False, [[0.0]]),
    ("double({'vector': [1]}, is_complex=True)", (1, 1), True, [[0j]]),
]

REFUSALS = [
    ("double(is_complex=1)", TypeError, NO_BOOL),
    ("double(is_complex=None)", TypeError, NO_BOOL),
    ("double('ab', is_complex='x')", TypeError, NO_BOOL),
    ("double({'is_complex': 0})", TypeError, NO_BOOL),
    ("logical(is_complex=1)", TypeError, NO_BOOL),
    ("logical('ab', is_complex=True)", TypeError, "logical arrays must not be complex."),
    ("logical({'is_complex': True})", TypeError, "logical arrays must not be complex."),
    ("double([1], vector=[1])", TypeError, BOTH),
    ("double([1, 2], size='x', vector=[1])", TypeError, BOTH),
    ("double({'initializer': [1], 'vector': [1]})", TypeError, BOTH),
    ("double([1], None, [1])", TypeError, THREE),
    ("double([1], None, [1], is_complex=False)", TypeError, THREE),
    ("double({}, [1], 'x', [1])", TypeError, THREE),
    ("double({'initializer': [1.0]}, is_complex=False)", TypeError, MISSING_TYPE),
    ("double({'size': (2, 2)}, size=(1, 1))", TypeError, MISSING_TYPE),
    (
        "double(5, size=[-1])",
        ValueError,
        "size cannot contain negative dimensions. Use nonnegative integers for dimensions.",
    ),
]


class Mapping(dict):
    """A dictionary by inheritance."""


@pytest.mark.parametrize(("expression", "size", "is_complex", "values"), FORMS)
def test_forms_of_construction(expression, size, is_complex, values):
    array = evaluate(expression, Mapping=Mapping)
    assert (array.size, array._is_complex, nested(array)) == (size, is_complex, values)


@pytest.mark.parametrize(("expression", "exception", "message"), REFUSALS)
def test_refusals_and_their_order(expression, exception, message):
    with refused(exception, message):
        evaluate(expression)


@pytest.mark.parametrize(
    "expression",
    [
        "double(shape=(1, 1))",
        "double({'shape': (1, 1)})",
        "double({1: 2})",
        "int8([1], [1], [1], False, 5)",
        "double({'size': (1, 1)}, None, (2, 2))",
        "double([1], initializer=[1])",
    ],
)
def test_the_interpreter_refuses_what_the_signature_does_not_hold(expression):
    with pytest.raises(TypeError):
        evaluate(expression)


def test_the_dictionary_is_left_as_it_was():
    keywords = {"initializer": [1.0], "is_complex": True}
    references = sys.getrefcount(keywords["initializer"])
    orvane.double(keywords)
    with pytest.raises(TypeError):
        orvane.logical(keywords)
    assert keywords == {"initializer": [1.0], "is_complex": True}
    assert sys.getrefcount(keywords["initializer"]) == references


def test_a_dictionary_that_changes_under_way_does_not_matter():
    class Emptying(list):
        def __len__(self):
            keywords.clear()
            gc.collect()
            return super().__len__()

    keywords = {"size": Emptying([1, 2]), "vector": [3.0, 4.0]}
    assert nested(orvane.double(keywords)) == [[3.0, 4.0]]
    assert keywords == {}


@each_type
def test_an_initialiser_is_not_kept(name):
    class Values(list):
        pass

    values = Values([1, 0])
    gone = weakref.ref(values)
    array = getattr(orvane, name)(values)
    values[0] = 0
    del values
    assert gone() is None
    assert nested(array) == [[1, 0]]


def test_views_and_iterators_outlive_their_source():
    array = grid(2, 3)
    row, column, iterator = array[1], array[0:2], iter(array)
    del array
    gc.collect()
    assert nested(row) == [1.0, 3.0, 5.0]
    assert nested(column) == [[0.0, 2.0, 4.0], [1.0, 3.0, 5.0]]
    assert [nested(item) for item in iterator] == nested(column)
