"""Operations whose outcome the reference can tell."""

import collections
import copy
import gc
import math
import pickle
from contextlib import suppress
from typing import Any

import numpy

from impostors import Exporter
from reference.array import Storage, View
from reference.nested import storage_order
from support import counted, make, outcome

from . import values
from .judge import Judge
from .pool import KNOWN, MAKERS, is_small, stored

try:
    import _testbuffer
except ImportError:  # it belongs to the interpreter's own tests
    _testbuffer = None


def construct(p: Judge) -> None:
    chance, kind, shape = p.chance, values.kind(p.chance), values.shape(p.chance)
    value = values.right_side(chance, kind, shape[: chance.randint(1, 4)])
    more: dict[str, Any] = {chance.choice(["initializer", "initializer", "vector"]): value}
    if chance.random() < 0.5:
        more["size"] = chance.choice([shape, values.shape(chance), [], 5, [2.0, 1], [-1, 2]])
    if chance.random() < 0.7:
        more = {"vector": counted(kind, math.prod(shape), chance.randrange(9)), "size": shape}
    elif isinstance(more.get("initializer"), values.BLOCKS):  # the reference knows sequences only
        p.welcome(p.alone(lambda: make(kind, **more)))
        return
    p.both(lambda make_it: make_it(kind, **more), *MAKERS, more)


def construct_of_memory(p: Judge) -> None:
    """Row-major or column-major, across the edges of whatever blocks are reordered at once."""
    chance, kind = p.chance, values.kind(p.chance)
    shape = chance.choices([1, 2, 3, 5, 17, 31, 64, 67, 130, 300, 1100], k=chance.randint(2, 5))
    most = chance.choice([60_000, *[2000] * 19])  # many matrices are a matter of large arrays
    while math.prod(shape) > most:
        shape.remove(max(shape))
    shape = [1] * (2 - len(shape)) + shape
    rows = [kind.convert(x, True) for x in counted(kind, math.prod(shape), chance.randrange(50))]
    columns, in_rows = storage_order(shape, rows), chance.random() < 0.7
    parts = (shape[d + 1 :] if in_rows else shape[:d] for d in range(len(shape)))
    strides = [kind.size * math.prod(part) for part in parts]
    if chance.random() < 0.4:  # along a length of one any stride will do
        strides = [8 if extent == 1 else s for extent, s in zip(shape, strides, strict=True)]
    elif in_rows and chance.random() < 0.3:
        strides = None  # which says row-major
    data, is_odd = b"".join(map(kind.pack, rows if in_rows else columns)), chance.random() < 0.2
    memory = Exporter(data, kind.format, kind.size, shape, strides, misaligned=is_odd)
    for source in (memory, View(Storage(kind, shape, columns)).to_list()):
        assert stored(make(kind, source)) == columns, (kind, shape, strides)


def construct_of_member(p: Judge) -> None:
    kind, pair = values.kind(p.chance), p.member(is_small)
    p.both(lambda side: side[0](kind, side[1]), *zip(MAKERS, pair, strict=True))


def get(p: Judge) -> None:
    pair = p.member()
    subscript = values.subscript(p.chance, pair[0])
    p.both(lambda a: a[subscript], *pair)


def assign(p: Judge) -> None:
    (ours, theirs), (one, other) = p.member(), p.member()
    subscript = values.subscript(p.chance, ours)
    if p.chance.random() < 0.8:
        shape = values.fitting_shape(ours, subscript)
        one = other = values.right_side(p.chance, ours.storage.kind, shape)
    sides = (ours, one), (theirs, other)
    p.both(lambda side: side[0].__setitem__(subscript, side[1]), *sides, subscript, other)


def write(p: Judge) -> None:
    """One element, of the latest."""
    ours, theirs = p.inner(p.members[-1] if p.members else p.member())
    value = counted(ours.storage.kind, 1, p.chance.randrange(99))[0]
    p.both(lambda a: a.__setitem__(0, value), ours, theirs)


ASKED = (
    *(repr, str, len, lambda a: -1 in a, lambda a: [str(x) for x in a]),
    *(lambda a: collections.deque(a, 1).pop(), lambda a: a.__delitem__(0)),
    *(copy.copy, copy.deepcopy, lambda a: a.__reduce__()[1]),
    *(lambda a: a.real(), lambda a: a.imag(), lambda a: a.noncomplex()),
)


def ask(p: Judge) -> None:
    p.same(p.chance.choice(ASKED), is_small)


def start(p: Judge) -> None:
    """An iterator along any dimension, mostly the last."""
    p.keep(p.iterators, tuple(map(iter, p.inner(p.member(), 0.8))), 5)


def step(p: Judge) -> None:
    for _ in range(p.chance.choice([1, 1, 2, 3, 5, 10])):
        for pair in list(p.iterators):
            if p.chance.random() < 0.7:
                p.both(next, *pair, "next")


def reshape(p: Judge) -> None:
    """Mostly there and back, with the iterators under way in between."""
    pair = p.member()
    before, dims = list(pair[0].shape), values.other_shape(p.chance, pair[0])
    if p.chance.random() < 0.03:
        p.both(lambda a: a.reshape(*dims, order="F"), *pair)
    args = dims if p.chance.random() < 0.5 else [dims]
    p.both(lambda a: a.reshape(*args), *pair, dims)
    if p.chance.random() < 0.35:
        step(p)
        p.check()
        p.both(lambda a: a.reshape(before), *pair)
        step(p)


def clone(p: Judge) -> None:
    """Twice, with a change to the first in between."""
    pair = p.member()
    p.both(lambda a: a.clone(), *pair)
    write(p)
    p.both(lambda a: a.clone(), *pair)


def export(p: Judge) -> None:
    ours, theirs = p.member()
    expected, got = outcome(ours.export), outcome(lambda: memoryview(theirs))
    assert got[0] == expected[0], ("export", got, expected)
    if got[0] == "raised":
        assert got == expected, ("export", got, expected)
        return
    taken, kind, roll = got[2], ours.storage.kind, p.chance.random()
    assert (taken.readonly, taken.format) == (True, kind.format)
    if roll < 0.2 and kind.format in ("d", "f", "Zd", "Zf") and max(ours.shape) < 10_000:
        taken = numpy.asarray(theirs)
    elif roll < 0.4 and _testbuffer:  # which looks at extents and strides where we have left them
        taken = _testbuffer.ndarray(theirs, getbuf=_testbuffer.PyBUF_FULL_RO)
    p.keep(p.exports, (taken, ours.storage if ours.is_whole else ours.exported, expected[2][0]), 6)


def keep_pickle(p: Judge) -> None:
    with suppress(*KNOWN):
        protocol = p.chance.randrange(2, 6)
        p.keep(p.pickles, tuple(pickle.dumps(side, protocol) for side in p.member()), 4)


def unpickle(p: Judge) -> None:
    """As it was, or cut, or altered."""
    if not p.pickles:
        keep_pickle(p)
        return
    ours, theirs = p.chance.choice(p.pickles)
    if p.chance.random() < 0.5:
        p.both(pickle.loads, ours, theirs)
        return
    changed, place = bytearray(theirs), p.chance.randrange(len(theirs))
    if p.chance.random() < 0.5:
        changed[place] = p.chance.randrange(256)
    else:
        del changed[place : place + p.chance.choice([1, 2, len(theirs)])]
    got = outcome(lambda: pickle.loads(bytes(changed)))
    assert got[1] is not SystemError, got
    p.welcome(got[2])


def compare(p: Judge) -> None:
    """With another, or with what should be the same."""
    (ours, theirs), (other, others) = p.member(is_small), p.member(is_small)
    with suppress(*KNOWN):
        if p.chance.random() < 0.6:
            cut = p.chance.choice(values.USUAL)
            ours, theirs = ours[cut], theirs[cut]
            other, others = ours[:].clone(), theirs[:].clone()
    p.both(lambda side: side[0] == side[1], (ours, other), (theirs, others))
    p.both(lambda side: side[0] != side[1], (ours, other), (theirs, others))


def to_array(p: Judge) -> None:
    ours, theirs = p.inner(p.member())
    expected, is_line = outcome(ours.to_list), len(ours.shape) - len(ours.fixed) == 1
    if is_line and expected[0] == "gave" and not ours.storage.kind.is_complex:
        assert theirs.toarray().tolist() == expected[2], "toarray"


def drop(p: Judge) -> None:
    for some in (p.members, p.exports, p.iterators, p.loans):
        if some and p.chance.random() < 0.4:
            del some[p.chance.randrange(len(some))]
    gc.collect()


# How often each is drawn beside the others.
OPERATIONS = {get: 6, assign: 6, reshape: 4, step: 4, construct: 3, ask: 7, export: 2, start: 2}
OPERATIONS |= {
    keep_pickle: 2,
    construct_of_memory: 1,
    construct_of_member: 1,
    clone: 1,
    unpickle: 1,
}
OPERATIONS |= {compare: 1, to_array: 1, drop: 2}
