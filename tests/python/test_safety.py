"""What must never crash, hang or leak: impossible sizes, endless nesting, callers' code inside."""

import os
from pathlib import Path

import pytest

import orvane
from impostors import Sequence
from support import (
    check,
    evaluate,
    grid,
    nested,
    outcome,
    python,
    refused,
    stored_bytes,
    table,
)

LONG = Sequence(lambda i: 1 if i < 3 else 1 / 0, 2**62)
BAD = Sequence(int, lambda: 1 / 0)


@table("""
double(size=(10**7, 10**7)) -> 100000000000000
double(size=(2**61, 2)) -> 4611686018427387904
double(size=(2**32, 2**32)) -> 18446744073709551615
double(size=(2**62, 2**62)) -> 18446744073709551615
double(size=(2**63 - 1, 2**63 - 1), is_complex=True) -> 18446744073709551615
double(vector=LONG) -> 4611686018427387904
double(vector=LONG, size=(2**31, 2**31)) -> 4611686018427387904
double([], size=(10**7, 10**7)) -> 100000000000000
""")
def test_impossible_sizes(expression, answer):
    words = "unable to allocate memory for array with number of elements = {}; type = {}"
    for name in ("double", "single"):
        with refused(MemoryError, words.format(answer, name)):
            evaluate(expression.replace("double", name), LONG=LONG)
    with refused(TypeError, "NONE"):  # met long before all that is promised
        orvane.double([[1.0, None] * 10**6] * 10**6, size=(2, 2))


@pytest.mark.parametrize("size", [(0, 2**62, 2**62), (2**62, 2**62, 0), (2**62, 0), (2**40, 0, 7)])
def test_no_elements_under_huge_dimensions(size):
    a = orvane.double(size=size)
    assert (a.size, len(a), a.buffer_info()[1], memoryview(a).nbytes) == (size, size[0], 0, 0)
    assert (a == orvane.double(size=size), a == orvane.double(size=(1, 3))) == (True, False)
    assert a.clone().size == (0, *size[1:])
    for ask in (str, repr, lambda a: a.__reduce__()) if size[0] in (0, 2**62) else ():
        assert outcome(lambda ask=ask: ask(a))[1] in ("str", "tuple", MemoryError)
    assert a.reshape(0, 2**61).size == (0, 2**61)
    assert (str(a), a.__reduce__()[1][1]) == ("[]", [])


@table("""
double(size=LONG) -> RuntimeError:
    Item 3 could not be retrieved from the value associated with the 'size' keyword.
a.reshape(LONG) -> RuntimeError: Item 3 could not be retrieved from the value passed to reshape().
double(LONG) -> RuntimeError: NULL
double([LONG]) -> RuntimeError: NULL
a.__setitem__(0, LONG) -> RuntimeError: NULL
a[0].__setitem__(slice(1), LONG) -> RuntimeError: NULL
double([[[], []], [[1], [2]]]) -> ValueError: RECTANGULAR
double([[[]], [1]], size=(9, 9)) -> ValueError: RECTANGULAR
double([[[]], ['x']]) -> ValueError: NUMERIC
a.__setitem__(0, [[[]], [1]]) -> ValueError: RECTANGULAR
a[0].__setitem__(slice(1), [[[]], [1]]) -> ValueError: RECTANGULAR
double(size=BAD) -> ZeroDivisionError: division by zero
double(vector=BAD) -> ZeroDivisionError: division by zero
double(BAD) -> ZeroDivisionError: division by zero
double([[1], BAD]) -> ZeroDivisionError: division by zero
a.__setitem__(0, BAD) -> ZeroDivisionError: division by zero
a.__setitem__(slice(1), [BAD]) -> ZeroDivisionError: division by zero
a.reshape(BAD) -> ValueError: reshape() must be passed a nonempty sequence of nonnegative integers.
""")
def test_lengths_that_lie(expression, answer):
    check(expression, answer, a=grid(2, 2), LONG=LONG, BAD=BAD)


def test_endless_and_very_deep_nesting():
    endless: list = []
    endless.append(endless)
    deep: list = [1.0]
    for _ in range(100_000):
        deep = [deep]
    forever = Sequence(lambda i: forever, 1)
    a = grid(2, 2)
    uses = "double(v)", "double(v, is_complex=True)", "a.__setitem__(0, v)"
    for use in (*uses, "a.__setitem__(slice(1), v)", "a[0].__setitem__(slice(1), v)"):
        for value in (endless, deep, (deep,), forever):
            with pytest.raises(RecursionError):
                evaluate(use, a=a, v=value)
    assert stored_bytes(a) == stored_bytes(grid(2, 2))


def test_many_dimensions():
    a = grid(*[1] * 299, 3)
    assert str(a) == "[" * 300 + "0.0,1.0,2.0" + "]" * 300
    assert (a.clone() == a, orvane.double(nested(a)) == a, a.clone().size) == (True, True, a.size)
    many = grid(*[1] * 30_000, 3)
    assert (many == many, len(many[0].size), many != many[0:1]) == (True, 30_000, False)
    for use in (str, repr, lambda a: a.__reduce__(), lambda a: a.clone(), memoryview):
        allowed = "str", "double", "tuple", RecursionError, ValueError
        assert outcome(lambda use=use: use(many))[1] in allowed


@table("""
a[::2**62][::2**62] -> [[0.0, 4.0]]
a[::-2**63][::2**62][::-1] -> [[3.0, 7.0]]
a[1:][2**63:][::-BIG].size -> (0, 2)
tall[::2] == tall[1::2] -> True
tall[::2] == tall[1:] -> False
tall[::-3][2**60:][0].size -> (0,)
tall[2**61:][2**61:2**61 + 2] -> []
tall[2**62 - 2:] -> [[], []]
tall.__setitem__(2**61, []) -> None
tall.__setitem__(slice(None), 5) -> RuntimeError: unable to set value.
tall.__setitem__(slice(None, None, 2), []) -> ValueError: slice is nonempty but values are empty.
deep[1][::2] == deep[2][1::2] -> True
deep[0][5].__setitem__(slice(0, 0), []) -> None
""")
def test_overflowing_places(expression, answer):
    tall, deep = orvane.double(size=(2**62, 0)), orvane.double(size=(3, 2**62, 0))
    check(expression, answer, a=grid(4, 2), tall=tall, deep=deep)


def test_what_is_kept_of_other_modules_survives_their_names():
    assert python("""
import array, gc
class Pair(list):
    def __init__(self, code, items): super().__init__([code, *items])
array.array = Pair
import orvane, ovexceptions, orvanemultidimarrayforpython as native
for module in (orvane, ovexceptions, native):
    del module.ShapeError, module.SizeError
del array.array
gc.collect()
for size in ((3,), (2, 1)):
    try: orvane.double([[1, 2]], size=size)
    except Exception as error: print(type(error).__name__)
made = orvane.int16([1, 2])[0].toarray()
print(type(made).__name__, *made)
""").split() == ["ShapeError", "SizeError", "Pair", "h", "1", "2"]


@pytest.mark.skipif("ORVANE_SANITIZED" in os.environ, reason="the allocator keeps what is freed")
def test_large_arrays_give_their_memory_back():
    for use in ("a[5][7]", "a == a[0:1]", "a.clone()", "memoryview(a)[0, 0]", "a._data"):
        pages = []
        for _ in range(13):
            a = orvane.double(size=(2000, 1000))
            a[0][0] = 1
            evaluate(use, a=a)
            del a
            pages.append(int(Path("/proc/self/statm").read_text().split()[0]))
        # Twelve arrays with their mirrors would be 384 MB.
        assert (pages[-1] - pages[0]) * os.sysconf("SC_PAGE_SIZE") < 64 << 20
