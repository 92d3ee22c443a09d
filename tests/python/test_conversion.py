"""What a Python value becomes as an element of each type, and with which words it is refused."""

from __future__ import annotations

import math
import struct
from decimal import Decimal
from fractions import Fraction

import numpy
import pytest
from hypothesis import example, given, settings
from hypothesis import strategies as st

import orvane
from reference.array import View
from reference.elements import KINDS, TYPES, Kind
from support import (
    NAMES,
    TOO_LARGE,
    each_kind,
    each_type,
    evaluate,
    make,
    outcome,
    refused,
    stored_bytes,
)

INTEGERS = [element for element in TYPES if element.is_integer]
each_integer = pytest.mark.parametrize("element", INTEGERS, ids=lambda element: element.name)


def out_of_range(value: str, name: str) -> str:
    return f"value ({value}) cannot be stored in a variable of type {name}."


def no_complex(name: str) -> str:
    return f"orvane.{name} does not accept complex values if 'is_complex' is not set to 'True'."


class Whole(int):
    """A subclass of `int` whose hooks must not be asked."""

    def __index__(self):
        raise AssertionError

    __int__ = __float__ = __bool__ = __index__


class Real(float):
    def __float__(self):
        raise AssertionError

    __int__ = __bool__ = __float__


class Pair(complex):
    def __complex__(self):
        raise AssertionError

    __bool__ = __complex__


class Convertible:
    """Offers every conversion and is a number by none of them."""

    def __float__(self):
        raise AssertionError

    __int__ = __index__ = __complex__ = __bool__ = __float__


ELEMENTS = [
    ("double(True)", 1.0),
    ("double(2**63 - 1)", 2.0**63),
    ("double(2**53 + 1)", 2.0**53),
    ("double(-(2**63))", -(2.0**63)),
    ("double(Real(1.5))", 1.5),
    ("double(Whole(7))", 7.0),
    ("double(-0.0)", -0.0),
    ("double(nan)", math.nan),
    ("single(1e39)", math.inf),
    ("single(-1e39)", math.inf),
    ("single(inf)", math.inf),
    ("single(-inf)", math.inf),
    ("single(nan)", math.nan),
    ("single(BIG)", math.inf),
    ("single(-BIG)", math.inf),
    ("single(0.1)", 0.10000000149011612),
    ("single(3.4028234663852886e38)", 3.4028234663852886e38),
    ("single(-3.4028234663852886e38)", -3.4028234663852886e38),
    ("single(3.4028234663852889e38)", math.inf),
    ("single(1e-46)", 0.0),
    ("single(2**24 + 1)", 2.0**24),
    ("single(2**62 + 2**38 + 1)", 2.0**62 + 2.0**39),  # rounded once, not by way of double
    ("single(BIG, is_complex=True)", complex(math.inf, 0)),
    ("single(complex(-inf, 1e39), is_complex=True)", complex(math.inf, math.inf)),
    ("int8(Whole(-7))", -7),
    ("uint64(2**64 - 1)", 2**64 - 1),
    ("int64(-(2**63))", -(2**63)),
    ("logical(2)", True),
    ("logical(-1)", True),
    ("logical(0.0)", False),
    ("logical(-0.0)", False),
    ("logical(nan)", True),
    ("logical(0j)", False),
    ("logical(1j)", True),
    ("logical(complex(0, nan))", True),
    ("logical(Pair(0, 1))", True),
    ("double(1j, is_complex=True)", 1j),
    ("double(Pair(1, 2), is_complex=True)", 1 + 2j),
    ("double(Real(2), is_complex=True)", 2 + 0j),
    ("int8(1.5, is_complex=True)", 1 + 0j),
    ("int8(-1.5, is_complex=True)", -1 + 0j),
    ("int8(-128.9, is_complex=True)", -128 + 0j),
    ("int8(127.9, is_complex=True)", 127 + 0j),
    ("uint8(-0.5, is_complex=True)", 0j),
    ("uint8(255.9, is_complex=True)", 255 + 0j),
    ("uint16(complex(nan, nan), is_complex=True)", 0j),
    ("int64(True, is_complex=True)", 1 + 0j),
    ("uint64(2**63, is_complex=True)", complex(2.0**63)),
]


@pytest.mark.parametrize(("expression", "expected"), ELEMENTS)
def test_elements_read_back(expression, expected):
    element = evaluate(expression, Whole=Whole, Real=Real, Pair=Pair)[0][0]
    assert (type(element), repr(element)) == (type(expected), repr(expected))


REFUSALS = [
    ("double(2**63)", OverflowError, TOO_LARGE),
    ("double(BIG, is_complex=True)", OverflowError, TOO_LARGE),
    ("logical(2**64)", OverflowError, TOO_LARGE),
    ("int64(2**63)", OverflowError, TOO_LARGE),
    ("uint64(2**64)", OverflowError, TOO_LARGE),
    ("uint8(-BIG)", OverflowError, TOO_LARGE),
    ("uint64(-1)", OverflowError, out_of_range("-1", "uint64")),
    ("uint8(-1, is_complex=True)", OverflowError, out_of_range("-1", "uint8")),
    ("int8(300.7, is_complex=True)", OverflowError, out_of_range("300.7", "int8")),
    ("int8(complex(1, 300), is_complex=True)", OverflowError, out_of_range("300", "int8")),
    ("int8(complex(400, 300), is_complex=True)", OverflowError, out_of_range("400", "int8")),
    ("int32(1e20, is_complex=True)", OverflowError, out_of_range("1e+20", "int32")),
    ("int16(32768.25, is_complex=True)", OverflowError, out_of_range("32768.2", "int16")),
    ("uint8(-1.0, is_complex=True)", OverflowError, out_of_range("-1", "uint8")),
    ("uint16(-inf, is_complex=True)", OverflowError, out_of_range("-inf", "uint16")),
    ("int64(float(2**63), is_complex=True)", OverflowError, out_of_range("9.22337e+18", "int64")),
    ("int64(-float(2**63), is_complex=True)", OverflowError, out_of_range("-9.22337e+18", "int64")),
    ("uint64(2.0**64, is_complex=True)", OverflowError, out_of_range("1.84467e+19", "uint64")),
]


@pytest.mark.parametrize(("expression", "exception", "message"), REFUSALS)
def test_refused_values(expression, exception, message):
    with refused(exception, message):
        evaluate(expression)


@each_integer
def test_the_limits_of_the_integers(element):
    array_type = getattr(orvane, element.name)
    assert array_type([element.low, element.high])[0][0] == element.low
    assert array_type([element.low, element.high])[0][1] == element.high
    for beyond in (element.low - 1, element.high + 1):
        inside_64_bits = element.size < 8 or beyond == -1
        words = out_of_range(str(beyond), element.name) if inside_64_bits else TOO_LARGE
        for is_complex in (False, True):
            with refused(OverflowError, words):
                array_type(beyond, is_complex=is_complex)


@each_type
def test_what_no_real_type_accepts(name):
    array_type = getattr(orvane, name)
    refusals = [
        (None, "value must not be 'None'."),
        (object(), "type does not match."),
        (Convertible(), "type does not match."),
        (Fraction(1, 2), "type does not match."),
        (Decimal(1), "type does not match."),
        (numpy.int64(1), "type does not match."),
        (numpy.float32(1), "type does not match."),
        ({1: 2}, "type does not match."),
        ({1}, "type does not match."),
    ]
    if name != "logical":
        refusals += [(1j, no_complex(name)), (Pair(1), no_complex(name))]
    if name not in ("double", "single", "logical"):
        refusals += [
            (value, f"orvane.{name} does not accept floating-point values.")
            for value in (1.0, math.nan, Real(1))
        ]
    for value, words in refusals:
        with refused(TypeError, words):
            array_type([value])
        with refused(ValueError, words):
            array_type(vector=[value])


@pytest.mark.parametrize("name", [name for name in NAMES if name != "logical"])
def test_complex_kinds_read_what_is_no_number_as_zero(name):
    values = [None, object(), Convertible(), Fraction(1, 2), {}, {1: 2}, {1}]
    array = getattr(orvane, name)(values, is_complex=True)
    assert list(array[0]) == [0j] * len(values)


def test_bool_is_an_integer_everywhere():
    for name in NAMES:
        assert list(getattr(orvane, name)([True, False])[0]) == [1, 0]


@each_kind
def test_every_way_in_stores_the_same_bytes(kind):
    value = (True if kind.name == "logical" else 7) if not kind.is_complex else 7 + 3j
    expected = kind.pack((7, 3) if kind.is_complex else value)
    assigned = make(kind, size=(1, 1))
    assigned[0][0] = value
    for array in (make(kind, value), make(kind, [[value]]), make(kind, vector=[value]), assigned):
        assert stored_bytes(array) == expected


numbers = st.one_of(
    st.integers(-(2**65), 2**65),
    st.sampled_from([b + d for b in (2**7, 2**8, 2**15, 2**31, 2**63, 2**64) for d in (-1, 0, 1)]),
    st.floats(),
    st.sampled_from([float(b) + d for b in (2**7, 2**16, 2**32, 2**63) for d in (-1, -0.5, 0)]),
    st.complex_numbers(),
    st.booleans(),
)


@settings(max_examples=1000, deadline=None)
@given(st.sampled_from(KINDS), numbers)
@example(Kind(TYPES[1]), 3.4028235677973366e38)
@example(Kind(TYPES[8], True), complex(1, -(2.0**63)))
def test_any_number_becomes_what_the_reference_says(kind, number):
    def ours():
        return _without_nan_payload(kind, stored_bytes(make(kind, [number])))

    def theirs():
        return _without_nan_payload(kind, View.make(kind, [number]).export()[1])

    assert outcome(ours) == outcome(theirs)


def _without_nan_payload(kind: Kind, data: bytes) -> bytes:
    """Which NaN a narrowing yields is the processor's affair."""
    if kind.name != "single":
        return data
    code = f"={len(data) // 4}f"
    return struct.pack(code, *(math.nan if x != x else x for x in struct.unpack(code, data)))
