"""Construction from a size, a flat vector, and nested sequences; how they combine."""

from __future__ import annotations

import array
import ctypes

import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

import orvane
from ovexceptions import ShapeError, SizeError
from reference.array import View
from reference.elements import KINDS
from support import (
    NUMERIC,
    RECTANGULAR,
    SIBLINGS,
    each_kind,
    evaluate,
    grid,
    make,
    nested,
    outcome,
    refused,
    stored_bytes,
)

NEGATIVE = "size cannot contain negative dimensions. Use nonnegative integers for dimensions."
NO_DIMENSION = "dimensions must be nonnegative integers."
NO_SIZE = "value of 'size' must be a sequence."
UNNESTED = "value of 'vector' must be an unnested sequence."


def mismatch(found: str, size: str) -> str:
    return (
        f"dimensions of initializer ({found}) do not match dimensions specified by 'size' ({size})."
    )


SIZES = [
    ("(5,)", (1, 5)),
    ("[5]", (1, 5)),
    ("(5, 1)", (5, 1)),
    ("(2, 3, 1)", (2, 3)),
    ("(2, 3, 1, 1)", (2, 3)),
    ("(1, 1, 1)", (1, 1)),
    ("(2, 1, 3)", (2, 1, 3)),
    ("(0,)", (1, 0)),
    ("(0, 3)", (0, 3)),
    ("(3, 0, 1)", (3, 0)),
    ("(True, 2)", (1, 2)),
    (r"b'\x02\x03'", (2, 3)),
    ("range(1, 4)", (1, 2, 3)),
    ("Sized(2, 3)", (2, 3)),
    ("(0, 2**62, 2**62)", (0, 2**62, 2**62)),
]


class Sized:
    """A sequence of dimensions by protocol alone."""

    def __init__(self, *dims):
        self.dims = dims

    def __len__(self):
        return len(self.dims)

    def __getitem__(self, i):
        return self.dims[i]


@pytest.mark.parametrize(("size", "expected"), SIZES)
def test_a_size_alone_makes_zeros(size, expected):
    zeros = evaluate(f"int16(size={size})", Sized=Sized)
    assert zeros.size == expected
    assert not any(stored_bytes(zeros))


@each_kind
def test_zeros_of_every_kind(kind):
    zeros = make(kind, size=(2, 3, 2))
    assert stored_bytes(zeros) == bytes(kind.size * 12)
    assert nested(zeros) == [[[kind.read(kind.zero)] * 2] * 3] * 2


@pytest.mark.parametrize(
    ("size", "exception", "message"),
    [
        ("5", TypeError, NO_SIZE),
        ("{}", TypeError, NO_SIZE),
        ("{1, 2}", TypeError, NO_SIZE),
        ("()", ValueError, "sequence passed to 'size' must not be empty."),
        ("''", ValueError, "sequence passed to 'size' must not be empty."),
        ("'ab'", TypeError, NO_DIMENSION),
        ("(2.0, 3)", TypeError, NO_DIMENSION),
        ("(-1, 2.0)", ValueError, NEGATIVE),
        ("(2, -1)", ValueError, NEGATIVE),
        ("(BIG,)", ValueError, NEGATIVE),
        ("(-BIG,)", ValueError, NEGATIVE),
        (
            "Failing()",
            RuntimeError,
            "Item 1 could not be retrieved from the value associated with the 'size' keyword.",
        ),
    ],
)
def test_refused_sizes_come_before_any_value(size, exception, message):
    class Failing(Sized):
        def __len__(self):
            return 2

        def __getitem__(self, i):
            return 1 if i == 0 else 1 // 0

    for values in ("", ", initializer='x'", ", vector=5"):
        with refused(exception, message):
            evaluate(f"double(size={size}{values})", Failing=Failing)


VECTORS = [
    ("[]", "None", (1, 0), []),
    ("[]", "(0, 0)", (0, 0), []),
    ("[]", "(3, 0)", (3, 0), []),
    ("[1, 2, 3]", "None", (1, 3), [1, 2, 3]),
    ("(1, 2, 3)", "(3, 1)", (3, 1), [1, 2, 3]),
    ("range(6)", "(2, 3)", (2, 3), [0, 1, 2, 3, 4, 5]),
    ("range(8)", "(2, 2, 2)", (2, 2, 2), [0, 1, 2, 3, 4, 5, 6, 7]),
    ("array('b', [1, 2])", "(2, 1)", (2, 1), [1, 2]),
    ("b'ab'", "None", (1, 2), [97, 98]),
    ("bytearray(b'ab')", "None", (1, 2), [97, 98]),
    ("int8([[4, 5]])[0]", "(2, 1)", (2, 1), [4, 5]),
    ("[7]", "(1, 1, 1)", (1, 1), [7]),
]


@pytest.mark.parametrize(("vector", "size", "expected", "storage"), VECTORS)
def test_a_vector_is_the_storage_order(vector, size, expected, storage):
    made = evaluate(f"int8(vector={vector}, size={size})", array=array.array)
    assert made.size == expected
    assert list(stored_bytes(made)) == storage


class Unreadable(list):
    def __getitem__(self, i):
        return 1 if i == 0 else 1 // 0


@pytest.mark.parametrize(
    ("arguments", "exception", "message"),
    [
        ("vector=5", ValueError, "value of 'vector' must be a sequence."),
        ("vector={1: 2}", ValueError, "value of 'vector' must be a sequence."),
        ("vector='abc'", ValueError, "value passed to 'vector' must be numeric."),
        ("vector=''", ValueError, "value passed to 'vector' must be numeric."),
        ("vector=[[1, 2]]", TypeError, UNNESTED),
        ("vector=[1, 'a']", TypeError, UNNESTED),
        ("vector=[1, b'']", TypeError, UNNESTED),
        ("vector=int8([[1, 2]])", TypeError, UNNESTED),
        ("vector=[None]", ValueError, "value must not be 'None'."),
        (
            "vector=[300, None]",
            ValueError,
            "value (300) cannot be stored in a variable of type int8.",
        ),
        ("vector=[1.5]", ValueError, "orvane.int8 does not accept floating-point values."),
        ("vector=[BIG]", ValueError, "Python int too large to convert to C long long"),
        ("vector=[object()]", ValueError, "type does not match."),
        ("vector=Unreadable([1, 2])", RuntimeError, "item 1 could not be retrieved."),
        ("vector=[1, 2, 3], size=(2, 2)", ShapeError, mismatch("3", "2, 2")),
        ("vector=['x', 2, 3], size=(2, 2)", ShapeError, mismatch("3", "2, 2")),
        ("vector=[], size=(1, 1)", ShapeError, mismatch("0", "1, 1")),
        ("vector=[1, 2], size=(2, 0)", ShapeError, mismatch("2", "2, 0")),
    ],
)
def test_refused_vectors(arguments, exception, message):
    with refused(exception, message):
        evaluate(f"int8({arguments})", Unreadable=Unreadable)


# Each shape with the elements in storage order.
INITIALISERS = [
    ("5", (1, 1), [5]),
    ("[5]", (1, 1), [5]),
    ("[[[[5]]]]", (1, 1), [5]),
    ("[1, 2, 3]", (1, 3), [1, 2, 3]),
    ("(1, 2)", (1, 2), [1, 2]),
    ("[[1], [2], [3]]", (3, 1), [1, 2, 3]),
    ("[[1, 2, 3], (4, 5, 6)]", (2, 3), [1, 4, 2, 5, 3, 6]),
    ("[[[1, 2], [3, 4]], [[5, 6], [7, 8]]]", (2, 2, 2), [1, 5, 3, 7, 2, 6, 4, 8]),
    ("[[[1], [2]], [[3], [4]]]", (2, 2), [1, 3, 2, 4]),
    ("[[[[1]], [[2]]]]", (1, 2), [1, 2]),
    ("[]", (0, 0), []),
    ("()", (0, 0), []),
    ("[[]]", (1, 0), []),
    ("[[], []]", (2, 0), []),
    ("[[[]]]", (1, 1, 0), []),
    ("range(3)", (1, 3), [0, 1, 2]),
    ("[range(2), b'ab', array('d', [1.0, 2.0])]", (3, 2), [0, 97, 1, 1, 98, 2]),
    ("[memoryview(b'ab')]", (1, 2), [97, 98]),
    ("[uint8([1, 2])[0], [3, 4]]", (2, 2), [1, 3, 2, 4]),
    ("uint8([[1, 2], [3, 4]])", (2, 2), [1, 3, 2, 4]),
    ("uint8([[1, 2], [3, 4]])[::-1]", (2, 2), [3, 1, 4, 2]),
    ("uint8([[1, 2], [3, 4]])[1]", (1, 2), [3, 4]),
    ("uint8(size=(0, 5))", (0, 0), []),
    ("[1, 2, 3, 4, 5, 6], (2, 3)", (2, 3), [1, 2, 3, 4, 5, 6]),
    ("[[1, 2, 3], [4, 5, 6]], (2, 3)", (2, 3), [1, 4, 2, 5, 3, 6]),
    ("[[1, 2, 3], [4, 5, 6]], (2, 3, 1)", (2, 3), [1, 4, 2, 5, 3, 6]),
    ("[[[1], [2]]], (1, 2)", (1, 2), [1, 2]),
    ("[1, 2, 3], (3,)", (1, 3), [1, 2, 3]),
    ("[1, 2, 3], (3, 1)", (3, 1), [1, 2, 3]),
    ("[1, 2, 3, 4], (2, 1, 2)", (2, 1, 2), [1, 2, 3, 4]),
    ("[1], (1, 1)", (1, 1), [1]),
    ("5, (1, 1)", (1, 1), [5]),
    ("[], (0, 3)", (0, 3), []),
    ("[[], []], (0, 3)", (0, 3), []),
    ("[], (4, 0)", (4, 0), []),
]


@pytest.mark.parametrize(("arguments", "size", "storage"), INITIALISERS)
def test_nested_values_and_sizes(arguments, size, storage):
    made = evaluate(f"double({arguments})", array=array.array)
    assert made.size == size
    assert list((ctypes.c_double * len(storage)).from_buffer_copy(stored_bytes(made))) == storage


@pytest.mark.parametrize(
    ("arguments", "exception", "message"),
    [
        ("'ab'", ValueError, NUMERIC),
        ("['ab', 'cd']", ValueError, NUMERIC),
        ("[[1, 2], 'ab']", ValueError, NUMERIC),
        ("['ab', 'c']", ValueError, SIBLINGS),
        ("['ab', 1]", ValueError, SIBLINGS),
        ("[[1, 2], [3]]", ValueError, SIBLINGS),
        ("[1, [2]]", ValueError, SIBLINGS),
        ("[[1], 2]", ValueError, SIBLINGS),
        ("[['x', 'x'], ['x']]", ValueError, SIBLINGS),
        ("[[[1, 2], [3, 4]], [[1], [2]]]", ValueError, RECTANGULAR),
        ("[[[1], [2]], [[1, 2], [3, 4]]]", ValueError, RECTANGULAR),
        ("[[1], [[2]]]", ValueError, RECTANGULAR),
        ("[[[1]], [2]]", ValueError, RECTANGULAR),
        ("[[1], [[None]]]", TypeError, "value must not be 'None'."),
        ("[None, object()]", TypeError, "value must not be 'None'."),
        ("set(), (1, 1)", TypeError, "type does not match."),
        ("[{1}]", TypeError, "type does not match."),
        ("Unreadable([1])", RuntimeError, "null data pointer."),
        ("Unreadable([1, 2])", RuntimeError, "null data pointer."),
        ("[Unreadable([1, 2])]", RuntimeError, "null data pointer."),
        ("[1, 2, 3], (2, 2)", ShapeError, mismatch("3", "2, 2")),
        ("[], (2, 2)", ShapeError, mismatch("0", "2, 2")),
        ("[5], (2, 1)", ShapeError, mismatch("1", "2, 1")),
        ("1, (2, 2)", ShapeError, mismatch("1, 1", "2, 2")),
        ("[[1, 2]], (0, 3)", ShapeError, mismatch("1, 2", "0, 3")),
        ("[[[1], [2]]], (3, 1)", ShapeError, mismatch("1, 2", "3, 1")),
        ("[[1, 2, 3], [4, 5, 6]], (3, 2)", SizeError, mismatch("2, 3", "3, 2")),
        ("[[[1, 2]]], (1, 2)", SizeError, mismatch("1, 1, 2", "1, 2")),
        ("[[1], [None]], (9, 9)", TypeError, "value must not be 'None'."),
    ],
)
def test_refused_initialisers(arguments, exception, message):
    class Unreadable(list):
        def __getitem__(self, i):
            return 1 // 0

    with refused(exception, message):
        evaluate(f"double({arguments})", Unreadable=Unreadable)


def test_a_user_defined_sequence_sees_every_call_in_order():
    calls = []

    class Told:
        def __init__(self, name, *items):
            self.name, self.items = name, items

        def __len__(self):
            calls.append(f"len-{self.name}")
            return len(self.items)

        def __getitem__(self, i):
            calls.append(f"{self.name}{i}")
            return self.items[i]

    made = orvane.double(Told("a", Told("b", 1, 2), Told("c", 3, 4)))
    assert nested(made) == [[1, 2], [3, 4]]
    assert " ".join(calls) == ("len-a a0 len-b a1 len-c a0 len-b b0 b1 b0 b1 a1 len-c c0 c1 c0 c1")
    calls.clear()
    orvane.double(vector=Told("v", 1, 2), size=Told("s", 2, 1))
    assert " ".join(calls) == "len-s s0 s1 len-v v0 v1"
    calls.clear()
    orvane.double(Told("x", 5))
    assert " ".join(calls) == "len-x x0"


@pytest.mark.parametrize("shape", [(65, 67), (3, 129, 5), (7, 2, 3, 11), (1, 300), (300, 1)])
def test_reordering_larger_shapes(shape):
    """Crosses the edges of the blocks in which elements are reordered."""
    storage = grid(*shape, kind=KINDS[4])
    values = nested(storage)
    remade = orvane.int8(values)
    assert remade.size == shape
    assert stored_bytes(remade) == stored_bytes(storage)


elements = st.one_of(
    st.integers(-3, 300),
    st.sampled_from([None, 1.5, True, 1j, "x", 2**64, -(2**40), float("nan")]),
)
values = st.recursive(elements, lambda children: st.lists(children, max_size=3), max_leaves=12)


@settings(max_examples=400, deadline=None)
@given(
    st.sampled_from(KINDS),
    st.none() | values,
    st.none() | st.lists(st.integers(-1, 4) | st.just(True), max_size=4),
    st.none() | st.lists(elements, max_size=6),
    st.integers(1, 3),
)
def test_any_arguments_give_what_the_reference_gives(kind, initializer, size, vector, repeats):
    if isinstance(initializer, list) and repeats > 1:
        initializer = [initializer] * repeats  # more often rectangular than chance would have it
    arguments = {"initializer": initializer, "size": size, "vector": vector}

    def ours():
        made = make(kind, **arguments)
        return made.size, stored_bytes(made)

    def theirs():
        return View.make(kind, **arguments).export()

    assert outcome(ours) == outcome(theirs)
