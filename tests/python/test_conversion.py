"""What a Python value becomes as an element of each type, and with which words it is refused."""

import math
import struct
from decimal import Decimal
from fractions import Fraction

import numpy
from hypothesis import example, given, settings
from hypothesis import strategies as st

import orvane
from reference.array import View
from reference.elements import KINDS, TYPES, Kind
from support import check, each_type, make, outcome, refused, stored_bytes, table


class Whole(int):
    """A subclass of `int` whose hooks must not be asked."""

    def __index__(self):
        raise AssertionError

    __int__ = __float__ = __bool__ = __complex__ = __index__


class Real(float):
    __float__ = __int__ = __bool__ = Whole.__index__


class Pair(complex):
    __complex__ = __bool__ = Whole.__index__


class Convertible:
    """Offers every conversion and is a number by none of them."""

    __float__ = __int__ = __index__ = __complex__ = __bool__ = Whole.__index__


@table("""
double([Real(1.5), Whole(7)]) -> [[1.5, 7.0]]
single([3.4028234663852889e38, nan, 0.1, 1e-46]) -> [[inf, nan, 0.10000000149011612, 0.0]]
single([2**24 + 1, 2**62 + 2**38 + 1]) -> [[2.0**24, 2.0**62 + 2.0**39]]
logical([0j, 1j, complex(0, nan), Pair(0, 1)]) -> [[False, True, True, True]]
double([1j, Pair(1, 2), Real(2), True], is_complex=True) -> [[1j, 1 + 2j, 2 + 0j, 1 + 0j]]
int32(1e20, is_complex=True) ->
    OverflowError: value (1e+20) cannot be stored in a variable of type int32.
int64(-float(2**63), is_complex=True) ->
    OverflowError: value (-9.22337e+18) cannot be stored in a variable of type int64.
""")
def test_elements(expression, answer):
    check(expression, answer, Whole=Whole, Real=Real, Pair=Pair)


@each_type
def test_what_no_real_type_accepts_and_complex_ones_read_as_zero(name):
    strangers = [object(), Convertible(), Fraction(1, 2), Decimal(1), numpy.int64(1), {1: 2}, {1}]
    refusals = [(None, "NONE"), *((value, "TYPE") for value in strangers)]
    if name != "logical":
        words = (
            f"orvane.{name} does not accept complex values if 'is_complex' is not set to 'True'."
        )
        refusals += [(1j, words), (Pair(1), words)]
    if name not in ("double", "single", "logical"):
        words = f"orvane.{name} does not accept floating-point values."
        refusals += [(1.0, words), (math.nan, words), (Real(1), words)]
    for value, words in refusals:
        with refused(TypeError, words):
            getattr(orvane, name)([value])
        with refused(ValueError, words):
            getattr(orvane, name)(vector=[value])
    if name != "logical":
        zeros = getattr(orvane, name)([*strangers, None], is_complex=True)
        assert list(zeros[0]) == [0j] * len(zeros[0])


WIDTHS = (7, 8, 15, 16, 31, 32, 63, 64)
numbers = st.one_of(
    st.integers(-(2**65), 2**65),
    st.sampled_from([s * 2**b + d for s in (1, -1) for b in (0, *WIDTHS) for d in (-1, 0, 1)]),
    st.floats(),
    st.sampled_from([2.0**b + d for b in (7, 16, 32, 63) for d in (-1, -0.5, 0)]),
    st.complex_numbers(),
    st.booleans(),
)


@settings(max_examples=5 * settings().max_examples)
@given(st.sampled_from(KINDS), numbers)
@example(Kind(TYPES[1]), 3.4028235677973366e38)
@example(Kind(TYPES[8], True), complex(1, -(2.0**63)))
def test_any_number_becomes_what_the_reference_says(kind, number):
    def without_nan_payload(data):
        """Which NaN a narrowing yields is the processor's affair."""
        parts = struct.unpack(f"={len(data) // 4}f", data) if kind.name == "single" else [data]
        return [math.nan if x != x else x for x in parts]

    ours = outcome(lambda: repr(without_nan_payload(stored_bytes(make(kind, [number])))))
    theirs = outcome(lambda: repr(without_nan_payload(View.make(kind, [number]).export()[1])))
    assert ours == theirs
