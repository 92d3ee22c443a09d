"""The methods: reshape, parts, toarray, and what they tell of the storage."""

import array

import pytest

import orvane
from impostors import Sequence
from support import answered_by, each_kind, evaluate, grid, nested, refused, table

BAD = "ValueError: reshape() must be passed a nonempty sequence of nonnegative integers."
COUNT = """ShapeError: number of elements specified by arguments to reshape() ({}) \
does not match current number (6)."""
ONE_DIMENSION = "toarray() can be called only on a one-dimensional sequence."


@table(r"""
b'\x02\x03' -> (2, 3)
Sequence([3, 2]) -> (3, 2)
None -> BAD
'ab' -> BAD
BIG, 0 -> BAD
order='F' -> BAD
Sequence([6], length=2) -> RuntimeError:
    Item 1 could not be retrieved from the value passed to reshape().
2, 2, order='F' -> COUNT 4
2, 2**63 - 1, 2 -> COUNT 18446744073709551612
9, 6148914691236517206 -> COUNT 6
2**32, 2**32, 6 -> COUNT 0
2, 3, order='F' -> ValueError: reshape() does not accept keyword arguments.
""")
def test_reshape(expression, answer):
    a = grid(2, 3)
    word, _, number = answer.partition(" ")
    expected = {"BAD": BAD, "COUNT": COUNT.format(number)}.get(word, answer)
    with answered_by(expected) as expects_size:
        assert evaluate(f"a.reshape({expression})", a=a, Sequence=Sequence) is a
    assert a.size == (eval(answer) if expects_size else (2, 3))
    for partial in (a[0], a[0][1:]):
        with refused(RuntimeError, "reshape() not supported for a partial array."):
            evaluate(f"a.reshape({expression})", a=partial, Sequence=Sequence)


@each_kind
def test_what_is_told_of_the_storage_is_of_the_whole_in_its_order(kind):
    a = grid(2, 3, kind=kind)
    columns = [a[j][i] for i in range(3) for j in range(2)]
    told = (kind.size, 2 * kind.size), a.buffer_info(), kind.size
    names, others = ["noncomplex()", "_data"], ["real()", "imag()", "_real", "_imag"]
    words = "real() and imag() can be called only on a complex array."
    if kind.is_complex:
        a[1][2] = columns[5] = 5 + 7j
        names, others, words = others, names, "noncomplex() must not be called on a complex array."
    for view in (a, a[1], a[0:1], a[1][::-1]):
        assert (view.get_bytewise_strides(), view.buffer_info(), view.itemsize) == told
        for name in others:
            with refused(ValueError, words):
                evaluate(f"view.{name}", view=view)
        for name in names:
            part = evaluate(f"view.{name}", view=view)
            assert (type(part), part.size, part._is_complex) == (type(a), (6,), False)
            assert part.get_bytewise_strides() == (kind.element.size,) * 2
            attribute = name.strip("_()")
            assert list(part) == [getattr(x, attribute) if kind.is_complex else x for x in columns]
            part[0] = True
            assert a[0][0] == columns[0]
    assert a.buffer_info() == (told[1][0], 6)


@each_kind
def test_toarray(kind, capsys):
    a = grid(2, 3, kind=kind)
    failing = [(a, ONE_DIMENSION), (a[0:1], ONE_DIMENSION), (grid(1, 3, kind=kind), ONE_DIMENSION)]
    working = [a[1], a[0][::-1], a[0][2:2], grid(0, 3, kind=kind)[:], a[1:1]]
    working += [grid(1, 3, kind=kind)[0], grid(1, 5, kind=kind)[0][1:4]]  # without gaps
    if kind.is_complex:
        failing += [(view, "toarray() failed.") for view in working[:2]]
        working = []
    code = "B" if kind.name == "logical" else kind.format
    for view in working:
        assert (view.toarray(), view.toarray().typecode) == (array.array(code, nested(view)), code)
    for view, words in failing:
        with refused(RuntimeError, words):
            view.toarray()
        assert "TypeError" in capsys.readouterr().err  # the cause


def test_methods_of_nothing_and_with_arguments():
    part = orvane.double(is_complex=True).real()
    assert (part.size, nested(part), str(part)) == ((0,), [], "[]")
    for name in ("clone", "real", "toarray", "buffer_info", "tomemoryview", "__reduce__"):
        with pytest.raises(TypeError):
            getattr(grid(1, 1), name)(1)
