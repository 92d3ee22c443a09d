"""Any object at all, thrown at the surface: known exceptions, and intact arrays afterwards."""

import array
import math
from contextlib import suppress

import numpy
from hypothesis import given, settings
from hypothesis import strategies as st

import orvane
from impostors import Exporter, Index, Sequence
from reference.elements import KINDS
from support import BIG, ERRORS, NAMES, grid, make, nested, stored_bytes

# No list of three of these asks for an array that the machine might just be able to hold.
BOUNDARY = [0, -1, 1, 2**63 - 1, 2**63, -(2**63), -(2**63) - 1, 2**64 - 1, BIG, -BIG]


PARAMETERS = "size", "vector", "is_complex"
leaves = st.one_of(
    *(st.integers(-9, 9), st.floats(), st.complex_numbers(), st.booleans(), st.fractions()),
    *(st.sampled_from(BOUNDARY), st.none(), st.text(max_size=3), st.binary(max_size=3)),
    *(st.builds(object), st.builds(Index, st.just(1))),
    st.sampled_from([int, ..., NotImplemented, math, b"", bytearray(3), memoryview(b"12345678")]),
    st.slices(4),
    st.builds(grid, st.integers(0, 3), st.integers(0, 3), kind=st.sampled_from(KINDS)),
    st.builds(lambda a: a[0:1], st.just(grid(3, 2))),
    st.builds(array.array, st.sampled_from("bBhHiIlLqQfd"), st.just([1, 2])),
    st.builds(numpy.zeros, st.lists(st.integers(0, 3), max_size=3), st.sampled_from("?bQfdFDO")),
    st.builds(Exporter, st.binary(max_size=32), st.sampled_from(["d", "Zd", "b", "", None, "é"]),
              st.integers(-1, 16)),
)  # fmt: skip
things = st.recursive(
    leaves,
    lambda inner: st.one_of(
        st.lists(inner, max_size=3),
        st.lists(inner, max_size=3).map(tuple),
        st.dictionaries(st.sampled_from([*PARAMETERS, "x", 1]), inner, max_size=2),
        st.builds(Sequence, st.lists(inner, max_size=3), st.integers(0, 4)),
        st.sets(st.integers(), max_size=2),
    ),
    max_leaves=8,
)
keywords = st.dictionaries(st.sampled_from(["initializer", *PARAMETERS]), things, max_size=4)


def survives(call):
    with suppress(*ERRORS.values()):
        return call()


@settings(max_examples=3 * settings().max_examples)
@given(st.sampled_from(NAMES), st.lists(things, max_size=3), keywords)
def test_constructors(name, positional, keyword):
    made = survives(lambda: getattr(orvane, name)(*positional, **keyword))
    if made is not None:
        assert len(stored_bytes(made)) == made.buffer_info()[1] * made.itemsize
        assert str(made) == str(nested(made)).replace(" ", "")


@settings(max_examples=2 * settings().max_examples)
@given(st.sampled_from(KINDS), things | st.integers(-3, 3) | st.slices(3), things, things)
def test_subscripts_and_methods(kind, subscript, value, other):
    a = make(kind, size=(3, 2, 2))
    for view in (a, a[1], a[1][0], a[::-1], a[0:0], a[2][1][::-1]):
        survives(lambda v=view: v[subscript])
        survives(lambda v=view: v.__setitem__(subscript, value))
        assert (view == other) in (True, False)
    survives(lambda: a.reshape(value, other))
    assert a.size == (3, 2, 2) or a.buffer_info()[1] == 12
