"""The methods: reshape, parts, toarray, and what they tell of the storage."""

from __future__ import annotations

import array

import pytest

import orvane
from ovexceptions import ShapeError
from support import answered_by, each_kind, evaluate, grid, nested, refused, stored_bytes, table

BAD = "ValueError: reshape() must be passed a nonempty sequence of nonnegative integers."
NO_PARTS = "real() and imag() can be called only on a complex array."
ONE_DIMENSION = "toarray() can be called only on a one-dimensional sequence."


def other_count(product, count=6):
    return (
        f"number of elements specified by arguments to reshape() ({product}) "
        f"does not match current number ({count})."
    )


class Sequence:
    def __init__(self, length, *items):
        self.length, self.items = length, items

    def __len__(self):
        return self.length or 1 // 0

    def __getitem__(self, i):
        return self.items[i]


# Calls of reshape on a 2 by 3 array; COUNT stands for the refusal of a product of elements.
@table(r"""
3, 2 -> (3, 2)
[1, 6] -> (1, 6)
2, 3, 1, 1 -> (2, 3)
True, 6 -> (1, 6)
b'\x02\x03' -> (2, 3)
Sequence(2, 3, 2) -> (3, 2)
None -> BAD
6 -> BAD
[6] -> BAD
'ab' -> BAD
2.0, 3 -> BAD
-1, 6 -> BAD
BIG, 0 -> BAD
order='F' -> BAD
Sequence(0) -> BAD
Sequence(2, 6) -> RuntimeError: Item 1 could not be retrieved from the value passed to reshape().
2, 2 -> COUNT 4
2, 2, order='F' -> COUNT 4
2**32, 2**32 -> COUNT 0
2**63 - 1, 3 -> COUNT 9223372036854775805
2, 2**63 - 1, 2 -> COUNT 18446744073709551612
2, 3, order='F' -> ValueError: reshape() does not accept keyword arguments.
""")
def test_reshape(expression, answer):
    a = grid(2, 3)
    view, before = a[0:1], stored_bytes(a)
    word, _, number = answer.partition(" ")
    expected = {"BAD": BAD, "COUNT": f"ShapeError: {other_count(number)}"}.get(word, answer)
    with answered_by(expected) as expects_size:
        assert evaluate(f"a.reshape({expression})", a=a, Sequence=Sequence) is a
    assert (a.size, stored_bytes(a)) == (eval(answer) if expects_size else (2, 3), before)
    assert view.size == (1, *a.size[1:])
    for partial in (a[0], a[0][1:]):
        with refused(RuntimeError, "reshape() not supported for a partial array."):
            evaluate(f"a.reshape({expression})", a=partial, Sequence=Sequence)


def test_a_product_that_matches_only_by_wrapping_is_refused():
    empty = grid(0, 3)
    assert empty.reshape(0, 0).size == (0, 0)
    assert empty.reshape(2**62, 0, 2**62).size == (2**62, 0, 2**62)
    with refused(ShapeError, other_count(0, 0)):
        empty.reshape(2**32, 2**32)
    with refused(ShapeError, other_count(1, 1)):
        grid(1, 1).reshape(7, pow(7, -1, 2**64))


def part_of(view, name):
    """The result of a method, or an attribute."""
    part = getattr(view, name)
    return part() if callable(part) else part


@each_kind
def test_parts_are_of_the_whole_in_storage_order(kind):
    a = grid(2, 3, kind=kind)
    columns = [a[j][i] for i in range(3) for j in range(2)]
    names, others = ["noncomplex", "_data"], ["real", "imag", "_real", "_imag"]
    words = NO_PARTS
    if kind.is_complex:
        a[1][2] = columns[5] = 5 + 7j
        names, others, words = others, names, "noncomplex() must not be called on a complex array."
    for name in others:
        with refused(ValueError, words):
            part_of(a[0], name)
    for name in names:
        for view in (a, a[1], a[0:1]):
            part = part_of(view, name)
            assert (type(part), part.size, part._is_complex) == (type(a), (6,), False)
            assert part.get_bytewise_strides() == (kind.element.size,) * 2
            assert list(part) == [
                getattr(x, name.strip("_")) if kind.is_complex else x for x in columns
            ]
            part[0] = True
            assert a[0][0] == columns[0]


def test_parts_of_nothing():
    part = orvane.double(is_complex=True).real()
    assert (part.size, nested(part), str(part)) == ((0,), [], "[]")


@each_kind
def test_what_is_told_of_the_storage_is_of_the_whole(kind):
    a = grid(2, 3, 4, kind=kind)
    address, count = a.buffer_info()
    for view in (a, a[1], a[0:1], a[1][2][::-1]):
        assert view.get_bytewise_strides() == (kind.size, 2 * kind.size, 6 * kind.size)
        assert (view.buffer_info(), view.itemsize) == ((address, 24), kind.size)
    a[0][0][0] = True
    assert a.buffer_info() == (address, count)


@each_kind
def test_toarray(kind, capsys):
    a = grid(2, 3, kind=kind)
    failing = [(a, ONE_DIMENSION), (a[0:1], ONE_DIMENSION), (grid(1, 3, kind=kind), ONE_DIMENSION)]
    working = [a[1], a[0][::-1], a[1][1:], a[0][2:2], grid(0, 3, kind=kind)[:], a[1:1]]
    working += [grid(1, 3, kind=kind)[0], grid(1, 5, kind=kind)[0][1:4]]  # without gaps
    if kind.is_complex:
        failing += [(view, "toarray() failed.") for view in working[:3]]
        working = []
    code = "B" if kind.name == "logical" else kind.format
    for view in working:
        assert (view.toarray(), view.toarray().typecode) == (array.array(code, nested(view)), code)
    for view, words in failing:
        with refused(RuntimeError, words):
            view.toarray()
        assert "TypeError" in capsys.readouterr().err  # the cause


def test_methods_refuse_arguments():
    for name in ("clone", "real", "toarray", "buffer_info", "tomemoryview", "__reduce__"):
        with pytest.raises(TypeError):
            getattr(grid(1, 1), name)(1)
