"""Operations in whose midst code of the caller's works on the pool, and values that lie."""

import copy
import gc
from typing import Any

from impostors import Index, Sequence
from reference.array import View
from support import counted, make, outcome

from . import native, operations, values
from .judge import Judge, Own
from .pool import is_small

DEEDS = (
    *[operations.reshape] * 3,
    *(operations.write, operations.clone, operations.export, operations.step, operations.ask),
    *(operations.drop, operations.drop),
)


def meddle(p: Judge) -> None:
    try:
        p.chance.choice(DEEDS)(p)
    except BaseException as error:
        p.wrong.append(error)


def deed(p: Judge) -> None:
    """What the caller's code does to the pool before it gives an answer, if it gives one."""
    if p.chance.random() < 0.15:
        raise p.chance.choice([ValueError, Own, KeyError, MemoryError, Own])("mine")
    meddle(p)


def meddling(p: Judge, items: Any) -> Sequence:
    """The items as a sequence that does a deed when one of them or its length is asked for. Now and
    then it says another length than before."""
    left = iter(range(p.chance.randrange(max(1, 3 * len(items))), -1, -1))
    lengths = [len(items)] * 9 + [len(items) + 1, len(items) // 2]

    def answer(value: Any) -> Any:
        if next(left, None) == 0:
            deed(p)
        return value

    return Sequence(lambda i: answer(items[i]), lambda: answer(p.chance.choice(lengths)))


def right_side(p: Judge, ours: View, subscript: Any) -> Any:
    """A value of which all or a part meddles."""
    kind, shape = ours.storage.kind, values.fitting_shape(ours, subscript)
    value = values.right_side(p.chance, kind, shape)
    if not isinstance(value, list) or not value:
        value = counted(kind, p.chance.randint(1, 4))
    place = p.chance.randrange(len(value))
    if isinstance(value[place], list) and p.chance.random() < 0.6:
        value = [*value]
        value[place] = meddling(p, value[place])
        return value
    if p.chance.random() < 0.3:
        return [meddling(p, value), *[p.member()[1]] * p.chance.randrange(2)]
    return meddling(p, value)


def construct(p: Judge) -> None:
    value = right_side(p, p.member()[0], 0)
    size = p.chance.choice([None, None, [2, 3], meddling(p, [2, 3])])
    more = {p.chance.choice(["initializer", "vector"]): value, "size": size}
    p.welcome(p.alone(lambda: make(values.kind(p.chance), **more)))


def construct_of_liar(p: Judge) -> None:
    chance, kind = p.chance, values.kind(p.chance)
    exporter = values.liar(chance, kind)
    p.exporters.append(exporter)
    size = chance.choice([None, None, None, [2, 3], [3, 2], [6, 1], [1, 6], [4, 4]])
    ways = [lambda: make(kind, exporter, size)] * 8 + [lambda: make(kind, vector=exporter)]
    ways += [lambda: native.TYPED.from_buffer(exporter)] if native.TYPED else []
    made = p.alone(chance.choice(ways))
    assert exporter.open_views == 0, "a buffer left open"
    p.welcome(made)


def get(p: Judge) -> None:
    theirs, index = p.member()[1], Index(p.chance.randrange(-2, 5), lambda: deed(p))
    bounds = p.chance.choice([slice(0, index), slice(index, None), slice(None, None, index)])
    p.welcome(p.alone(lambda: theirs[bounds].clone()))


def assign(p: Judge) -> None:
    ours, theirs = p.member()
    subscript = values.subscript(p.chance, ours)
    value = right_side(p, ours, subscript)
    if isinstance(subscript, slice) and p.chance.random() < 0.2:
        subscript = slice(0, Index(2, lambda: deed(p)))
    p.alone(lambda: theirs.__setitem__(subscript, value), (ours, theirs))


def anything(p: Judge) -> None:
    """Any object at all where values are expected."""
    ours, theirs = p.member(is_small)
    some = [values.anything(p.chance) for _ in range(3)]
    words = p.chance.sample(values.PARAMETERS[:4], p.chance.randrange(4))
    more = {word: values.anything(p.chance) for word in words}
    array_type, given = type(make(values.kind(p.chance))), some[: p.chance.randrange(3)]
    p.welcome(p.alone(lambda: array_type(*given, **more)))
    p.alone(lambda: theirs[some[0]])
    p.alone(lambda: theirs.__setitem__(*some[:2]), (ours, theirs))
    assert (theirs == some[2]) in (True, False)


class Litter:
    """Garbage that meddles when it is collected."""

    def __init__(self, p: Judge) -> None:
        self.me, self.p = self, p

    def __del__(self) -> None:
        meddle(self.p)


AT_ONCE = (
    *(str, repr, lambda a: str(copy.copy(a)), lambda a: repr(a.__reduce__()[1])),
    *(lambda a: a == a[:], lambda a: str(a[::-1].clone())),
)


def amid_collections(p: Judge) -> None:
    """At some allocation garbage is collected. The answer is that of before or of after."""
    (ours, theirs), ask, usual = p.member(is_small), p.chance.choice(AT_ONCE), gc.get_threshold()
    before = outcome(lambda: ask(ours))
    gc.collect()
    gc.disable()
    Litter(p)
    gc.set_threshold(p.chance.randint(1, 20))
    gc.enable()
    got = outcome(lambda: ask(theirs))
    gc.set_threshold(*usual)
    gc.collect()
    after = outcome(lambda: ask(ours))
    assert got in (before, after), (got, before, after)


OPERATIONS = {construct: 1, construct_of_liar: 2, get: 1, assign: 2, anything: 1}
OPERATIONS |= {amid_collections: 1}
