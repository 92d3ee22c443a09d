"""The extension against the reference: random arrays, chains, assignments, reshapes, iterators.

A program of operations runs on both. After every operation the two answers are compared (values,
types of exceptions, their words, what is handed out) and then the whole content, byte by byte.
`ORVANE_MODEL_EXAMPLES` sets how many programs run, and makes them random; a program has about ten
operations.
"""

import collections
import math
import os
import random
from contextlib import suppress

import numpy
import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

from reference.array import View
from reference.elements import KINDS
from reference.nested import without_trailing_ones
from support import BIG, counted, make, outcome

SCALED = os.environ.get("ORVANE_MODEL_EXAMPLES")

shapes = st.one_of(
    st.lists(st.integers(1, 6), min_size=2, max_size=2),
    st.lists(st.integers(1, 4), min_size=3, max_size=3),
    st.lists(st.integers(1, 3), min_size=4, max_size=4),
    st.lists(st.sampled_from([0, 1, 2, 3]), min_size=2, max_size=4),
).map(without_trailing_ones)
at = numpy.s_
some = at[:], at[1:], at[:-1], at[:2], at[1:3], at[2:4], at[3::-2], at[::-1], at[-1:0:-1]
wide = st.sampled_from(some)
small = st.none() | st.integers(-3, 6)
gentle = st.builds(slice, small, small, st.sampled_from([None, None, 1, -1, 2, -2]))
bounds = st.none() | st.integers(-7, 7) | st.sampled_from([BIG, -BIG, 2**63 - 1, -(2**63)])
wild = st.builds(slice, bounds, bounds, st.sampled_from([None, 1, -1, 3, -3, 2**63 - 1, -BIG]))
# fmt: off
strange = st.sampled_from([
    BIG, -BIG, 2**63 - 1, -(2**63), None, 1.0, (0, 1), "x", ..., True, False,
    slice(None, None, 0), slice("x"), slice(None, None, "x"), slice(1.5, None), slice(0, b"", None),
])
scalars = st.sampled_from([
    0, 1, -1, 2, 77, 300, 2**40, 2**64, -(2**64), 1.5, -0.75, 1e300, math.inf, -math.inf, True,
    1j, 3 - 4j, complex(500, 1), None, "5", b"7", [], {}, (),
])
# fmt: on
NAMES = "set step delete show iterate start step reshape clone export pickle compare part"
names = st.sampled_from(["get", "set"] * 4 + NAMES.split())
RECIPES = "flat flat short long scalar scalar other nest ragged scalars"
recipes = st.sampled_from(["fit"] * 6 + RECIPES.split())
subscripts = st.one_of(st.integers(-3, 5), st.integers(0, 1), wide, wide, gentle, wild, strange)
handles = st.sampled_from([-1, -1, -1, -2, -3, 0, 1])
calls = st.tuples(names, handles, subscripts, recipes, st.integers(0, 2**16), scalars)


def fitting_shape(view, subscript):
    """The shape of the right side that an assignment would most likely take."""
    length, *rest = view.shape[len(view.fixed) :] or [0]
    with suppress(AttributeError, TypeError, ValueError):
        return [len(range(*subscript.indices(length))), *rest]
    return rest


def right_side(view, subscript, recipe, number, scalar):
    kind, chance = view.storage.kind, random.Random(number)
    shape = fitting_shape(view, subscript)
    count = math.prod(shape)

    def element(i):
        real = i % 2 == 0 if kind.name == "logical" else (number + i) % 120
        return complex(real, i % 50) if kind.is_complex and i % 3 else real

    def nest(dims, first=0):
        if not dims:
            return element(first)
        return [nest(dims[1:], first + i * math.prod(dims[1:])) for i in range(dims[0])]

    if recipe in ("flat", "short", "long"):
        excess = {"flat": 0, "short": -1 - number % 2, "long": 1 + number % 2}[recipe]
        return chance.choice([list, tuple])(map(element, range(max(0, count + excess))))
    if recipe == "nest":
        return nest(chance.choices(range(4), k=1 + number % 3))
    if recipe == "ragged":
        return chance.choice([[[[], []], [[1], [2]]], [[1, 2], [3]], [1, []], [[[]], [1]]])
    if recipe == "scalars":
        return [scalar] * count
    return nest(shape) if recipe == "fit" else scalar


def exported(view):
    return view.shape, view.tobytes(order="A")


class Program:
    """One array in the reference and in the extension, with what was derived from it."""

    def __init__(self, kind, shape):
        vector = counted(kind, math.prod(shape))
        self.reference = View.make(kind, vector=vector, size=shape)
        self.extension = make(kind, vector=vector, size=shape)
        self.handles = [(self.reference, self.extension)]
        self.iterators = [(iter(self.reference), iter(self.extension))]

    def run(self, name, handle, *details):
        pair = self.handles[handle % len(self.handles)]
        expected, got = map(outcome, getattr(self, name)(*pair, *details))
        if expected[0] == got[0] == "gave" and isinstance(expected[2], View):
            self.handles.append((expected[2], got[2]))
            del self.handles[1:-7]
            asked = (lambda a: a.size), str
            made = self.handles[-1]
            expected, got = ([outcome(lambda a=a, q=q: q(a)) for q in asked] for a in made)
        chain = (self.reference.shape, pair[0].fixed, pair[0].narrowed)
        assert repr(got) == repr(expected), (name, chain, *details)
        assert exported(memoryview(self.extension)) == self.reference.export()
        return expected[0] != "raised"

    def get(self, ours, theirs, subscript, *_):
        return [lambda a=a: a[subscript] for a in (ours, theirs)]

    def delete(self, ours, theirs, subscript, *_):
        return [lambda a=a: a.__delitem__(subscript) for a in (ours, theirs)]

    def set(self, ours, theirs, subscript, recipe, number, scalar):
        value = right_side(ours, subscript, recipe, number, scalar)
        ones, others = (value, value)
        if recipe == "other":
            ones, others = self.handles[number % len(self.handles)]
        pairs = (ours, ones), (theirs, others)
        return [lambda a=a, value=value: a.__setitem__(subscript, value) for a, value in pairs]

    def show(self, ours, theirs, *_):
        asked = (repr, len, lambda a: a.size, lambda a: -1 in a, lambda a: [str(x) for x in a])
        return [lambda a=a: [outcome(lambda q=q: q(a)) for q in asked] for a in (ours, theirs)]

    def iterate(self, ours, theirs, *_):
        return [lambda a=a: collections.deque(a, 1).pop() for a in (ours, theirs)]

    def start(self, ours, theirs, *_):
        self.iterators = [*self.iterators[-3:], (iter(ours), iter(theirs))]
        return [lambda: None] * 2

    def step(self, _ours, _theirs, _subscript, _recipe, number, _scalar):
        return [lambda i=i: next(i) for i in self.iterators[number % len(self.iterators)]]

    def reshape(self, ours, theirs, _subscript, recipe, number, scalar):
        dims = random.Random(number).sample(self.reference.shape, k=len(self.reference.shape))
        if recipe == "long":
            dims = [dims[0] * dims[1], 1, *dims[2:], 1]
        elif recipe == "short":
            dims = [dims[0], math.prod(dims[1:])]
        elif recipe == "ragged":
            dims = [[2, scalar], [2**32, 2**32], [-1, 2], [6], [], [True, True]][number % 6]
        args = dims if number % 2 else [dims]
        if number % 17 == 0:
            return [lambda a=a: a.reshape(*args, order="F") for a in (ours, theirs)]
        return [lambda a=a: a.reshape(*args) for a in (ours, theirs)]

    def clone(self, ours, theirs, *_):
        return ours.clone, theirs.clone

    def export(self, ours, theirs, *_):
        return ours.export, lambda: exported(memoryview(theirs))

    def pickle(self, ours, theirs, *_):
        return ours.reduce, lambda: theirs.__reduce__()[1]

    def compare(self, ours, theirs, _subscript, _recipe, number, _scalar):
        other = self.handles[number % len(self.handles)]
        return lambda: ours.equals(other[0]), lambda: theirs == other[1]

    def part(self, ours, theirs, _subscript, _recipe, number, _scalar):
        name = ("real", "imag", "noncomplex")[number % 3]
        return lambda: ours.part(name), lambda: list(getattr(theirs, name)())


@pytest.mark.timeout(0)
def test_programs_agree(capfd):
    run_of, carried_out = collections.Counter(), collections.Counter()

    @settings(
        max_examples=int(SCALED or 3 * settings().max_examples),
        derandomize=not SCALED,
        suppress_health_check=list(HealthCheck),
    )
    @given(
        st.sampled_from(KINDS),
        shapes,
        st.lists(st.just(0) | st.just(1) | wide, max_size=3),
        st.lists(calls, min_size=6, max_size=30),
    )
    def run(kind, shape, opening, program):
        running = Program(kind, shape)
        for subscript in opening:
            running.run("get", -1, subscript)
        for name, *details in program:
            carried_out[name] += running.run(name, *details)
            run_of[name] += 1
        for part in ("real", "imag") if kind.is_complex else ("noncomplex",):
            got = list(getattr(running.extension, part)())  # out of the library's own array
            assert repr(got) == repr(running.reference.part(part))
        capfd.readouterr()  # iterating a chain that a reshape outdated writes a line

    run()
    with capfd.disabled():
        told = ", ".join(f"{name} {n} ({carried_out[name]})" for name, n in run_of.most_common())
        print(f"\n{sum(run_of.values())} operations (carried out) without a difference: {told}")
    assert all(carried_out[name] for name in run_of if name != "delete")
