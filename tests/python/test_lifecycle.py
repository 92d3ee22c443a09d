"""Birth and death of arrays: arguments, the dictionary in first place, what outlives what."""

from __future__ import annotations

import gc
import sys
import weakref

import pytest

import orvane
from support import check, each_type, grid, nested, table


class Mapping(dict):
    """A dictionary by inheritance."""


@table("""
double() -> []
double(None, None, None).size -> (0, 0)
double(is_complex=True)._is_complex -> True
double(None, None, [1, 2]) -> [[1.0, 2.0]]
double([1, 2], (2, 1), None, False) -> [[1.0], [2.0]]
double([1j], None, None, True) -> [[1j]]
double({}).size -> (0, 0)
double({'size': (2, 1)}) -> [[0.0], [0.0]]
double({'is_complex': True})._is_complex -> True
double({'initializer': [1.0, 2.0], 'is_complex': False}) -> [[1.0, 2.0]]
double({}, [1.0], (1, 1)) -> [[1.0]]
double({'is_complex': True}, [[1.0, 2j]]) -> [[1 + 0j, 2j]]
double({'size': (2, 1)}, **{}) -> [[0.0], [0.0]]
double(Mapping(size=(1, 1))) -> [[0.0]]
double({'vector': [1]}, is_complex=True) -> [[0j]]
logical(is_complex=False).size -> (0, 0)
double(is_complex=1) -> TypeError: value passed to 'is_complex' must be a bool.
double(is_complex=None) -> TypeError: value passed to 'is_complex' must be a bool.
double('ab', is_complex='x') -> TypeError: value passed to 'is_complex' must be a bool.
logical('ab', is_complex=True) -> TypeError: logical arrays must not be complex.
double([1], vector=[1]) -> TypeError: initializer and 'vector' must not both be specified.
double([1, 2], size='x', vector=[1]) ->
    TypeError: initializer and 'vector' must not both be specified.
double([1], None, [1], is_complex=False) -> TypeError: more than two positional arguments must not
    be specified. A third will be treated as 'vector', which must not be specified when an
    initializer is specified.
double({}, [1], 'x', [1]) -> TypeError: more than two positional arguments must not be specified.
    A third will be treated as 'vector', which must not be specified when an initializer is
    specified.
double({'initializer': [1.0]}, is_complex=False) -> TypeError: TYPE
double(5, size='x') -> TypeError: dimensions must be nonnegative integers.
""")
def test_forms_of_construction(expression, answer):
    check(expression, answer, Mapping=Mapping)


@pytest.mark.parametrize(
    ("positional", "keywords"),
    [
        ((), {"shape": (1, 1)}),
        (({"shape": (1, 1)},), {}),
        (({1: 2},), {}),
        (([1], [1], [1], False, 5), {}),
        (({"size": (1, 1)}, None, (2, 2)), {}),
    ],
)
def test_the_interpreter_refuses_what_the_signature_does_not_hold(positional, keywords):
    with pytest.raises(TypeError):
        orvane.double(*positional, **keywords)


def test_the_dictionary_is_left_as_it_was():
    keywords = {"initializer": [1.0], "is_complex": True}
    references = sys.getrefcount(keywords["initializer"])
    orvane.double(keywords)
    with pytest.raises(TypeError):
        orvane.logical(keywords)
    assert keywords == {"initializer": [1.0], "is_complex": True}
    now = sys.getrefcount(keywords["initializer"])
    assert now == references


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
    del values
    assert gone() is None
    assert nested(array) == [[1, 0]]


def test_views_and_iterators_outlive_their_source():
    array = grid(2, 3)
    row, rows, iterator = array[1], array[0:2], iter(array)
    del array
    gc.collect()
    assert nested(row) == [1.0, 3.0, 5.0]
    assert [nested(item) for item in iterator] == nested(rows) == [[0.0, 2.0, 4.0], nested(row)]
