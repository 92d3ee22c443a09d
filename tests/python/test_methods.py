"""The methods: reshape, parts, toarray, and what they tell of the storage."""

from __future__ import annotations

import array

import pytest

import orvane
from ovexceptions import ShapeError
from support import each_kind, evaluate, grid, nested, refused, stored_bytes

BAD = "reshape() must be passed a nonempty sequence of nonnegative integers."
KEYWORDS = "reshape() does not accept keyword arguments."
PARTIAL = "reshape() not supported for a partial array."
NO_PARTS = "real() and imag() can be called only on a complex array."
ONE_DIMENSION = "toarray() can be called only on a one-dimensional sequence."


def count_differs(product, count=6):
    return (
        f"number of elements specified by arguments to reshape() ({product}) "
        f"does not match current number ({count})."
    )


class Failing(list):
    def __getitem__(self, i):
        return 2 if i == 0 else 1 // 0


class Unmeasured:
    def __len__(self):
        return 1 // 0

    def __getitem__(self, i):
        raise IndexError


RESHAPES = [
    ("3, 2", (3, 2)),
    ("[3, 2]", (3, 2)),
    ("(1, 6)", (1, 6)),
    ("6, 1", (6, 1)),
    ("2, 3, 1, 1", (2, 3)),
    ("2, 1, 3", (2, 1, 3)),
    ("6, 1, 1", (6, 1)),
    ("True, 6", (1, 6)),
    ("range(1, 4)", (1, 2, 3)),
    ("int8([1, 6])[0]", (1, 6)),
    (r"b'\x02\x03'", (2, 3)),
]
REFUSED_RESHAPES = [
    *(
        (arguments, ValueError, BAD)
        for arguments in (
            "", "6", "[6]", "(6,)", "[]", "None", "'ab'", "{1: 2, 2: 3}", "2.0, 3", "-1, 6",
            "BIG, 0", "2, None", "[2, '3']", "foo=1", "Unmeasured()", "[[2, 3]]",
        )
    ),
    ("Failing([2, 3])", RuntimeError,
     "Item 1 could not be retrieved from the value passed to reshape()."),
    ("2, 2", ShapeError, count_differs(4)),
    ("0, 0", ShapeError, count_differs(0)),
    ("2, 2, foo=1", ShapeError, count_differs(4)),
    ("2**32, 2**32", ShapeError, count_differs(0)),
    ("2**63 - 1, 3", ShapeError, count_differs(2**63 - 3)),
    ("2, 2**63 - 1, 2", ShapeError, count_differs(2**64 - 4)),
    ("2, 3, foo=1", ValueError, KEYWORDS),
]  # fmt: skip


@pytest.mark.parametrize(("arguments", "size"), RESHAPES)
def test_reshape_is_in_place_and_moves_nothing(arguments, size):
    a = grid(2, 3)
    view = a[0:1]
    before = stored_bytes(a)
    assert evaluate(f"a.reshape({arguments})", a=a) is a
    assert (a.size, stored_bytes(a)) == (size, before)
    assert view.size == (1, *size[1:])


@pytest.mark.parametrize(("arguments", "exception", "message"), REFUSED_RESHAPES)
def test_refused_reshapes_change_nothing(arguments, exception, message):
    a = grid(2, 3)
    with refused(exception, message):
        evaluate(f"a.reshape({arguments})", a=a, Failing=Failing, Unmeasured=Unmeasured)
    assert a.size == (2, 3)
    for partial in (a[0], a[0][1:]):
        with refused(RuntimeError, PARTIAL):
            evaluate(f"a.reshape({arguments})", a=partial)


def test_a_wrapped_product_that_matches_is_still_refused():
    empty, one = grid(0, 3), grid(1, 1)
    assert empty.reshape(0, 0).size == (0, 0)
    assert empty.reshape(2**62, 0, 2**62).size == (2**62, 0, 2**62)
    with refused(ShapeError, count_differs(0, 0)):
        empty.reshape(2**32, 2**32)
    with refused(ShapeError, count_differs(1, 1)):
        one.reshape(7, pow(7, -1, 2**64))


def test_a_view_with_a_slice_alone_reshapes_the_whole():
    a = grid(2, 3)
    view = a[1:2]
    assert view.reshape(3, 2) is view
    assert (a.size, view.size) == ((3, 2), (1, 2))


@each_kind
def test_parts(kind):
    cells = grid(2, 3, kind=kind)
    if not kind.is_complex:
        for whole in (cells, cells[1], cells[0:1]):
            part = whole.noncomplex()
            assert (type(part), part._is_complex, part.size) == (type(cells), False, (6,))
            assert list(part) == [cells[j][i] for i in range(3) for j in range(2)]
            for name in ("real", "imag"):
                with refused(
                    ValueError, "real() and imag() can be called only on a complex array."
                ):
                    getattr(whole, name)()
        return
    cells[1][2] = 5 + 7j
    for name in ("real", "imag"):
        part = getattr(cells[1], name)()
        assert (part.size, part._is_complex, len(part)) == ((6,), False, 6)
        assert part.get_bytewise_strides() == (kind.element.size,) * 2
        assert list(part) == [
            getattr(z, name) for row in zip(*nested(cells), strict=True) for z in row
        ]
        part[0] = 9
        assert cells[0][0] == 0
    with refused(ValueError, "noncomplex() must not be called on a complex array."):
        cells.noncomplex()


def test_parts_of_nothing():
    part = orvane.double(is_complex=True).real()
    assert (part.size, list(part), str(part)) == ((0,), [], "[]")


@each_kind
def test_what_is_told_of_the_storage_is_of_the_whole(kind):
    a = grid(2, 3, 4, kind=kind)
    strides = (kind.size, 2 * kind.size, 6 * kind.size)
    for view in (a, a[1], a[0:1], a[1][2][::-1]):
        assert view.get_bytewise_strides() == strides
        assert view.buffer_info() == a.buffer_info()
        assert view.itemsize == kind.size
    address, count = a.buffer_info()
    a[0][0][0] = True
    assert (count, address) == (24, a.buffer_info()[0])


@each_kind
def test_toarray(kind, capsys):
    a = grid(2, 3, kind=kind)
    if kind.is_complex:
        for view, words in ((a[0], "toarray() failed."), (a, ONE_DIMENSION)):
            with refused(RuntimeError, words):
                view.toarray()
            assert "TypeError" in capsys.readouterr().err
        return
    code = "B" if kind.name == "logical" else kind.format
    for view in (a[1], a[0][::-1], a[1][1:], a[0][2:2], a.noncomplex()):
        assert view.toarray() == array.array(code, list(view))
        assert view.toarray().typecode == code
    for empty in (grid(0, 3, kind=kind), a[1:1]):
        assert empty.toarray() == array.array(code)
    for view in (a, a[0:1], grid(1, 3, kind=kind)):
        with refused(RuntimeError, ONE_DIMENSION):
            view.toarray()
        assert "TypeError" in capsys.readouterr().err


def test_methods_refuse_arguments():
    for name in ("clone", "real", "toarray", "buffer_info", "tomemoryview", "__reduce__"):
        with pytest.raises(TypeError):
            getattr(grid(1, 1), name)(1)
