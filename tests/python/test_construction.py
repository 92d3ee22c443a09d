"""Construction from a size, a flat vector, and nested sequences; how they combine."""

import array
from functools import partial

import pytest

import orvane
from impostors import Sequence
from support import check, evaluate, outcome, table


@table(r"""
double(size=b'\x02\x03').size -> (2, 3)
double(size=Sequence([2, 3])).size -> (2, 3)
double(5, size=5) -> TypeError: value of 'size' must be a sequence.
double(size='ab', vector=5) -> TypeError: dimensions must be nonnegative integers.
double(size=(2.0, -1)) -> TypeError: dimensions must be nonnegative integers.
double(size=(BIG,)) -> ValueError:
    size cannot contain negative dimensions. Use nonnegative integers for dimensions.
double(size=Sequence([1], 2)) -> RuntimeError:
    Item 1 could not be retrieved from the value associated with the 'size' keyword.
int8(vector=5) -> ValueError: value of 'vector' must be a sequence.
int8(vector='') -> ValueError: value passed to 'vector' must be numeric.
int8(vector=[1, 'a']) -> TypeError: value of 'vector' must be an unnested sequence.
int8(vector=int8([1])) -> TypeError: value of 'vector' must be an unnested sequence.
int8(vector=[300, None]) -> ValueError: value (300) cannot be stored in a variable of type int8.
int8(vector=Sequence([1], 2)) -> RuntimeError: item 1 could not be retrieved.
int8([[[1, 2], [3, 4]], [[5, 6], [7, 8]]])._data -> [1, 5, 3, 7, 2, 6, 4, 8]
double([[[]]]).size -> (1, 1, 0)
int8([range(2), b'ab', array('b', [1, 2])]) -> [[0, 1], [97, 98], [1, 2]]
int8([uint8([1, 2])[0], [3, 4]]) -> [[1, 2], [3, 4]]
int8(int8(size=(0, 5))).size -> (0, 0)
int8([[], []], (0, 3)).size -> (0, 3)
double('ab') -> ValueError: NUMERIC
double([[1], [[None]]]) -> TypeError: NONE
double(set(), (1, 1)) -> TypeError: TYPE
double(Sequence([1], 2)) -> RuntimeError: NULL
double([[1, 2, 3], [4, 5, 6]], (3, 2)) -> SizeError:
    dimensions of initializer (2, 3) do not match dimensions specified by 'size' (3, 2).
""")
def test_sizes_vectors_and_nested_values(expression, answer):
    check(expression, answer, Sequence=Sequence, array=array.array)


CALLS = """
|5|[]|[1, 2], (2, 1)|[1], None, None, True|size=(2, 2)|vector=[1], size=(1, 1)
[1], is_complex=True|{}, [1]|{"initializer": [1], "is_complex": True}|{"size": [2]}, 5|{}, {}
{}, size=(1, 1)|{"shape": 1}|[], (), (), (), ()|5, initializer=5|shape=1|5, None, [1]|size=0
**{"".join(["si", "ze"]): (2, 1)}|5, vector=[1]|None, None, 5, None|is_complex=None|5, (1, 2)
[], (0, 3)|(), [2]|None, (1, 2, 1)|**{"": 1}
"""


@pytest.mark.parametrize("arguments", CALLS.strip("\n").replace("\n", "|").split("|"))
def test_all_ways_to_call_a_type_are_one(arguments):
    ways = "double({})", "double.__new__(double, {})", "partial(double, {})()"
    called, made, passed_on = (
        outcome(lambda way=way: evaluate(way.format(arguments), partial=partial)) for way in ways
    )
    assert called == made == passed_on
    if called[0] == "gave":
        assert called[2].size == made[2].size == passed_on[2].size


@pytest.mark.parametrize("place", range(3))
def test_arguments_are_held_while_their_own_code_runs(place):
    def length():  # who called lets go of all that was handed on
        call.__setstate__((orvane.double, (), {}, {}))
        return 2

    places = [None] * place
    call = partial(orvane.double, *places, Sequence(lambda i: i + 1, length))
    assert call().size == (1, 2)


def test_a_user_defined_sequence_sees_every_call_in_order():
    calls = []

    class Told(Sequence):
        def __init__(self, name, *items):
            super().__init__(
                lambda i: calls.append(f"{name}{i}") or items[i],
                lambda: calls.append(f"len-{name}") or len(items),
            )

    orvane.double(Told("a", Told("b", 1, 2), Told("c", 3, 4)))
    orvane.double(vector=Told("v", 1, 2), size=Told("s", 2, 1))
    orvane.double(Told("x", 5))
    assert " ".join(calls) == (
        "len-a a0 len-b a1 len-c a0 len-b b0 b1 b0 b1 a1 len-c c0 c1 c0 c1 "
        "len-s s0 s1 len-v v0 v1 len-x x0"
    )
