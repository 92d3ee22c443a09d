"""The texts of `str()` and `repr()`."""

from __future__ import annotations

import math
import struct

import numpy
import pytest
from hypothesis import given
from hypothesis import strategies as st

from reference.elements import KINDS
from support import (
    COMPLEX,
    DOUBLE,
    KIND_OF,
    each_kind,
    evaluate,
    from_stored,
    grid,
    nested,
    refused,
)

FORMS = [
    ("a", "[[1.0,2.0],[3.0,4.0]]", "orvane.double([[1.0,2.0],[3.0,4.0]])"),
    ("a[0]", "[1.0,2.0]", None),
    ("a[0:1]", "[[1.0,2.0]]", None),
    ("a[0][1:2]", "[2.0]", None),
    ("a[0][::-1]", "[2.0,1.0]", None),
    ("a[1:1]", "[]", None),
    ("int8([1, 2, 3])", "[[1,2,3]]", "orvane.int8([[1,2,3]])"),
    ("double(5)", "[[5.0]]", None),
    ("single(0.1)", "[[0.10000000149011612]]", "orvane.single([[0.10000000149011612]])"),
    ("logical([True, False])", "[[True,False]]", "orvane.logical([[True,False]])"),
    ("double()", "[]", None),
    ("double([[]])", "[[]]", None),
    ("double(size=(0, 3))", "[]", None),
    ("double(size=(2, 2, 0))", "[[[],[]],[[],[]]]", None),
    ("double(is_complex=True)", "[]", "orvane.double([], is_complex=True)"),
    ("z", "[[(1+2j),1j]]", "orvane.double([[(1+2j),1j]], is_complex=True)"),
    ("z[0][1:]", "[1j]", "orvane.double([1j], is_complex=True)"),
    ("double([[[1, 2], [3, 4]]])", "[[[1.0,2.0],[3.0,4.0]]]", None),
    ("double([inf, -inf, nan, -0.0])", "[[inf,-inf,nan,-0.0]]", None),
    ("uint64([2**64 - 1])", "[[18446744073709551615]]", "orvane.uint64([[18446744073709551615]])"),
]  # fmt: skip


@pytest.mark.parametrize(("expression", "text", "representation"), FORMS)
def test_forms(expression, text, representation):
    array = evaluate(expression, a=evaluate("double([[1, 2], [3, 4]])"), z=_complex_row())
    assert (str(array), repr(array)) == (text, representation or f"orvane.double({text})")


def _complex_row():
    return evaluate("double([[1 + 2j, 1j]], is_complex=True)")


@each_kind
def test_text_is_that_of_the_nested_list_without_blanks(kind):
    array = grid(3, 4, 2, kind=kind)
    for view in (array, array[1], array[::-2], array[2][3:0:-1], array[0][1], array[0][1][:1]):
        assert str(view) == str(nested(view)).replace(" ", "")


@given(st.sampled_from(KINDS), st.data())
def test_any_elements_print_as_python_prints_them(kind, data):
    """Bytes at random reach subnormals, huge exponents, NaN with payloads and both zeros."""
    raw = data.draw(st.binary(min_size=4 * kind.size, max_size=4 * kind.size))
    stored = kind.unpack(raw)
    expected = str([[kind.read(element) for element in stored]]).replace(" ", "")
    assert str(from_stored(kind, stored)) == expected


AWKWARD = [
    *(10.0**e for e in (-324, -5, -4, 15, 16, 17, 22, 23, 308)),
    *(math.ldexp(m, e) for m in (1, -1, 2**53 - 1) for e in (-1074, 0, 53, 900)),
    0.1, 1 / 3, 123456789012345.6, 9.999999999999999e22, 5e-324, 1e16 - 2, 2.0**53, 1e-5, 0.0001,
]  # fmt: skip


def test_awkward_doubles():
    stored = [*AWKWARD, math.nan, math.inf, -math.inf, 0.0, -0.0]
    assert str(from_stored(DOUBLE, stored)) == str([stored]).replace(" ", "")
    pairs = [(x, y) for x in stored[-8:] for y in stored[-8:]]
    expected = str([[complex(x, y) for x, y in pairs]]).replace(" ", "")
    assert str(from_stored(COMPLEX, pairs)) == expected
    singles = [struct.unpack("f", struct.pack("f", x))[0] for x in (0.1, 1e-45, 3.4e38, 16777216.0)]
    assert str(from_stored(KIND_OF["f"], singles)) == str([singles]).replace(" ", "")


def test_a_long_text_is_never_shortened():
    numbers = numpy.arange(100_000, dtype="i")
    array = evaluate("int32(numbers)", numbers=numbers)
    assert str(array) == str([numbers.tolist()]).replace(" ", "")


def test_outdated_chains_print_what_is_left():
    array = grid(4, 3, 2)
    line, lines, element = array[3][2], array[3][1:3], array[0]
    far = array[2][2][0:2]
    array.reshape(2, 12)
    assert (str(line), str(far)) == ("[]", "[[],[]]")
    assert repr(element) == "orvane.double(" + str(nested(array[0])).replace(" ", "") + ")"
    with refused(RuntimeError, "unable to set list item."):
        str(grown(lines, array))
    array.reshape(3, 8)
    beyond = array[2]
    array.reshape(1, 24)
    with refused(IndexError, "index has an invalid value: 22"):
        str(beyond)


def grown(view, array):
    array.reshape(24, 1)
    return view
