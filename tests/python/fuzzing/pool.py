"""What lives on between the operations of a program, in pairs: the reference's and ours."""

from collections.abc import Callable
from contextlib import suppress
from typing import Any

from reference.array import Storage, View
from reference.elements import Kind
from support import DOUBLE, ERRORS, KIND_OF, counted, make

from . import values
from .values import Chance

KNOWN = (*ERRORS.values(), NotImplementedError, StopIteration)
MAKERS = View.make, make
Pair = tuple[View, Any]
Judgement = Callable[[View], bool]


def is_small(ours: View) -> bool:
    return len(ours.storage.elements) < 300 and max(ours.shape) < 10_000


def is_real_double(ours: View) -> bool:
    return ours.storage.kind == DOUBLE and is_small(ours)


def is_array(value: Any) -> bool:
    return hasattr(type(value), "_is_complex")


def stored(theirs: Any) -> list[Any]:
    """All elements in storage order, also of the array behind a view, without pinning them."""
    if theirs._is_complex:
        return list(zip(theirs._real, theirs._imag, strict=True))
    return list(theirs._data)


def adopted(theirs: Any) -> View:
    """The other half of an array that the reference could not make."""
    name = type(theirs).__name__.rpartition(".")[2]
    (element,) = {kind.element for kind in KIND_OF.values() if kind.name == name}
    return View(Storage(Kind(element, theirs._is_complex), list(theirs.size), stored(theirs)))


class Pool:
    """The latest of each sort. What is drawn from it is drawn by the chance of the operation."""

    def __init__(self) -> None:
        self.chance = Chance()
        self.members: list[Pair] = []
        self.iterators: list[tuple[Any, Any]] = []
        self.exports: list[tuple[Any, Storage, tuple[int, ...]]] = []
        self.pickles: list[tuple[bytes, bytes]] = []
        self.loans: list[tuple[Any, Any, int, int]] = []
        self.exporters: list[Any] = []

    def keep(self, some: list[Any], new: Any, most: int) -> None:
        some.append(new)
        if len(some) > most:
            del some[self.chance.randrange(most)]

    def member(self, suits: Judgement = lambda ours: True) -> Pair:
        """Any that suits, the latest sooner; made if there is none."""
        while not (some := [pair for pair in self.members if suits(pair[0])]):
            kind = DOUBLE if suits is is_real_double else values.kind(self.chance)
            ours, theirs = (m(kind, vector=counted(kind, 6), size=[2, 3]) for m in MAKERS)
            self.keep(self.members, (ours, theirs), 9)
        return some[-1] if self.chance.random() < 0.3 else self.chance.choice(some)

    def inner(self, pair: Pair, descent: float = 1.0) -> Pair:
        """The first line of numbers, or the first part somewhere on the way to it."""
        with suppress(*KNOWN):
            while len(pair[0].shape) - len(pair[0].fixed) > 1 and self.chance.random() < descent:
                pair = pair[0][0], pair[1][0]
        return pair
