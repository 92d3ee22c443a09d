"""Birth and death of arrays: arguments, the dictionary in first place, what outlives what."""

import gc
import sys

import pytest

import orvane
from impostors import Sequence
from support import check, evaluate, nested, table


class Mapping(dict):
    """A dictionary by inheritance."""


@table("""
double(None, None, [1, 2]) -> [[1.0, 2.0]]
double([1, 2], (2, 1), None, False) -> [[1.0], [2.0]]
double([1j], None, None, True) -> [[1j]]
double({}).size -> (0, 0)
double({'size': (2, 1)}) -> [[0.0], [0.0]]
double({'initializer': [1.0, 2.0], 'is_complex': False}) -> [[1.0, 2.0]]
double({}, [1.0], (1, 1)) -> [[1.0]]
double({'is_complex': True}, [[1.0, 2j]]) -> [[1 + 0j, 2j]]
double({'size': (2, 1)}, **{}) -> [[0.0], [0.0]]
double(Mapping(size=(1, 1))) -> [[0.0]]
double({'vector': [1]}, is_complex=True) -> [[0j]]
double(is_complex=1) -> TypeError: value passed to 'is_complex' must be a bool.
double(is_complex=None) -> TypeError: value passed to 'is_complex' must be a bool.
double('ab', is_complex='x') -> TypeError: value passed to 'is_complex' must be a bool.
logical('ab', is_complex=True) -> TypeError: logical arrays must not be complex.
double([1, 2], size='x', vector=[1]) ->
    TypeError: initializer and 'vector' must not both be specified.
double([1], None, [1], is_complex=False) -> TypeError: more than two positional arguments must not
    be specified. A third will be treated as 'vector', which must not be specified when an
    initializer is specified.
double({}, [1], 'x', [1]) -> TypeError: more than two positional arguments must not be specified.
    A third will be treated as 'vector', which must not be specified when an initializer is
    specified.
double({'initializer': [1.0]}, is_complex=False) -> TypeError: TYPE
""")
def test_forms_of_construction(expression, answer):
    check(expression, answer, Mapping=Mapping)


def test_the_interpreter_refuses_what_the_signature_does_not_hold():
    calls = "shape=(1, 1)", "{'shape': (1, 1)}", "{1: 2}", "[1], [1], [1], False, 5"
    for arguments in (*calls, "{'size': (1, 1)}, None, (2, 2)"):
        with pytest.raises(TypeError):
            evaluate(f"double({arguments})")


def test_the_dictionary_is_left_as_it_was_and_may_change_under_way():
    values = [1.0]
    keywords = {"initializer": values, "is_complex": True}
    references = sys.getrefcount(values)
    orvane.double(keywords)
    with pytest.raises(TypeError):
        orvane.logical(keywords)
    assert keywords == {"initializer": [1.0], "is_complex": True}
    assert sys.getrefcount(values) == references

    shape = Sequence([1, 2], lambda: (keywords.clear(), gc.collect(), 2)[2])
    keywords = {"size": shape, "vector": [3.0, 4.0]}
    assert nested(orvane.double(keywords)) == [[3.0, 4.0]]
    assert keywords == {}
