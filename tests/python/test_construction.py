"""Construction from a size, a flat vector, and nested sequences; how they combine."""

import array
from functools import partial

import pytest
from hypothesis import given
from hypothesis import strategies as st

import orvane
from impostors import Sequence
from reference.array import View
from reference.elements import KINDS
from support import check, evaluate, grid, make, outcome, stored_bytes, table


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


elements = st.integers(-3, 300) | st.sampled_from([None, 1.5, True, 1j, "x", 2**64, -(2**40)])
values = st.recursive(elements, lambda inner: st.lists(inner, max_size=3), max_leaves=12)
sizes = st.none() | st.lists(st.integers(-1, 4) | st.just(True), max_size=4)
vectors = st.none() | st.lists(elements, max_size=6)


@given(st.sampled_from(KINDS), st.none() | values, sizes, vectors, st.integers(1, 3))
def test_any_arguments_give_what_the_reference_gives(kind, initializer, size, vector, repeats):
    if isinstance(initializer, list) and repeats > 1:
        initializer = [initializer] * repeats  # more often rectangular than chance would have it
    arguments = {"initializer": initializer, "size": size, "vector": vector}

    def ours():
        made = make(kind, **arguments)
        return made.size, stored_bytes(made)

    assert outcome(ours) == outcome(lambda: View.make(kind, **arguments).export())


limits = [2**63 - 2, -(2**63) - 1, 2**64 - 2, -2, 126, 254, 2**15 - 2, 2**32 - 2]
containers = st.one_of(
    st.sampled_from([range(start, start + 4) for start in limits]),
    st.builds(range, st.integers(-3, 99), st.integers(-3, 99), st.sampled_from([1, -7])),
    *(st.binary(max_size=5), st.binary(max_size=5).map(bytearray)),
    st.builds(array.array, st.sampled_from("bBhHiIlLqQfd"), st.lists(st.integers(0, 127))),
    st.builds(
        lambda kind, rows, chain: eval(chain, {"a": grid(rows, 3, 2, kind=kind)}),
        *(st.sampled_from(KINDS), st.integers(1, 3)),
        st.sampled_from(["a", "a[::-2]", "a[0]", "a[0][2][::-1]"]),
    ),
)


@given(st.sampled_from(KINDS), containers)
def test_containers_that_are_read_directly_are_read_as_any_sequence_is(kind, values):
    initializers = ({"initializer": [values]}, {"initializer": (values,) * 2})
    for arguments in ({"vector": values}, *initializers):
        ours = outcome(lambda a=arguments: stored_bytes(make(kind, **a)))
        assert ours == outcome(lambda a=arguments: View.make(kind, **a).export()[1])
    theirs, ours = View.make(kind, size=(2, len(values))), make(kind, size=(2, len(values)))
    for subscript in (slice(None), slice(1, 2), 1, slice(None, None, -1)):
        for one, other in ((theirs, ours), (theirs[0], ours[0])):
            sets = (lambda t=t, s=subscript: t.__setitem__(s, values) for t in (one, other))
            expected, got = map(outcome, sets)
            assert got == expected
        assert stored_bytes(ours) == theirs.export()[1]
