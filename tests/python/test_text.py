"""The texts of `str()` and `repr()`."""

from __future__ import annotations

import math

import numpy
from hypothesis import given
from hypothesis import strategies as st

import orvane
from reference.elements import KINDS
from support import COMPLEX, DOUBLE, check, from_stored, grid, table


@table("""
repr(double([[1, 2], [3, 4]])) -> "orvane.double([[1.0,2.0],[3.0,4.0]])"
str(a[0]) -> "[0.0,2.0]"
repr(a[0:1]) -> "orvane.double([[0.0,2.0]])"
str(a[1:1]) -> "[]"
repr(int8([1, 2, 3])) -> "orvane.int8([[1,2,3]])"
repr(logical([True, False])) -> "orvane.logical([[True,False]])"
repr(double()) -> "orvane.double([])"
str(double([[]])) -> "[[]]"
str(double(size=(2, 2, 0))) -> "[[[],[]],[[],[]]]"
repr(double(is_complex=True)) -> "orvane.double([], is_complex=True)"
repr(double([[1 + 2j, 1j]], is_complex=True)[0][1:]) -> "orvane.double([1j], is_complex=True)"
str(double([[[1, 2], [3, 4]]])) -> "[[[1.0,2.0],[3.0,4.0]]]"
str(double([inf, -inf, nan, -0.0])) -> "[[inf,-inf,nan,-0.0]]"
str(uint64([2**64 - 1])) -> "[[18446744073709551615]]"
""")
def test_forms(expression, answer):
    check(expression, answer, a=grid(2, 2))


@given(st.sampled_from(KINDS), st.data())
def test_any_elements_print_as_python_prints_them(kind, data):
    """Bytes at random reach subnormals, huge exponents, NaN with payloads and both zeros."""
    raw = data.draw(st.binary(min_size=4 * kind.size, max_size=4 * kind.size))
    stored = kind.unpack(raw)
    expected = str([[kind.read(element) for element in stored]]).replace(" ", "")
    assert str(from_stored(kind, stored)) == expected


def test_awkward_doubles():
    stored = [
        *(10.0**e for e in (-324, -5, -4, 15, 16, 17, 22, 23, 308)),
        *(math.ldexp(m, e) for m in (1, -1, 2**53 - 1) for e in (-1074, 0, 53, 900)),
        *(0.1, 1 / 3, 123456789012345.6, 9.999999999999999e22, 1e16 - 2, 1e-5, 0.0001),
        *(math.nan, math.inf, -math.inf, 0.0, -0.0),
    ]
    assert str(from_stored(DOUBLE, stored)) == str([stored]).replace(" ", "")
    pairs = [(x, y) for x in stored[-8:] for y in stored[-8:]]
    expected = str([[complex(x, y) for x, y in pairs]]).replace(" ", "")
    assert str(from_stored(COMPLEX, pairs)) == expected


def test_a_long_text_is_never_shortened():
    numbers = numpy.arange(100_000, dtype="i")
    assert str(orvane.int32(numbers)) == str([numbers.tolist()]).replace(" ", "")
