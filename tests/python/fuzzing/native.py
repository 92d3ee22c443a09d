"""Operations through native code: elements taken, given, lent and held."""

import math
import os
import time
from pathlib import Path

import orvane
from native_clients import load
from reference.array import View
from reference.nested import storage_order
from support import counted, outcome

from . import values
from .judge import Judge
from .pool import adopted, is_real_double, stored

TYPED = LOANS = None
if folder := os.environ.get("ORVANE_FUZZ_NATIVE"):
    TYPED, LOANS = (load(f"{name}_client", Path(folder)) for name in ("typed", "loan"))


class NativeJudge(Judge):
    """Looks also at what native code holds, and counts what it has to get back."""

    def __init__(self) -> None:
        super().__init__()
        self.kept = None
        self.made = self.lent_blocks = 0
        if TYPED:
            TYPED.count_freed_buffers()
            self.released = LOANS.released()

    def check(self) -> None:
        super().check()
        for loan, storage, first, count in self.loans:
            expected = storage if isinstance(storage, list) else storage.elements[first:][:count]
            assert loan.values() == expected, ("loan", loan.values(), expected)
        if self.kept:
            assert (found := TYPED.describe_kept()) == self.kept, ("handle", found, self.kept)

    def close(self) -> None:
        super().close()
        if TYPED:
            TYPED.drop_kept_elsewhere(self.chance.random() < 0.5)
            freed, released = 0, 0
            for pause in range(300):  # what other threads let go of is freed by a pending call
                LOANS.lend(orvane.double([1.0]), False, False).give_back()
                freed, released = freed + TYPED.count_freed_buffers(), LOANS.released()
                if (freed, released - self.released) == (self.made, self.lent_blocks):
                    return
                time.sleep(pause / 10_000)  # with the lock comes the news of the call
            raise AssertionError("blocks of native code", freed, self.made, self.lent_blocks)


def take(p: NativeJudge) -> None:
    ours, theirs = p.member()
    if max(ours.shape) < 10_000:
        expected = outcome(lambda: ours.storage if ours.is_whole else ours.materialise())
        got = outcome(lambda: TYPED.take(ours.storage.kind.format, theirs))
        assert got[0] == expected[0], ("take", got, expected)
        if got[0] == "gave":
            content = tuple(expected[2].shape), expected[2].pack()
            assert (got[2][0], got[2][2]) == content, ("take", got, expected)


def hold(p: NativeJudge) -> None:
    ours, theirs = p.member(is_real_double)
    p.kept = p.alone(lambda: TYPED.keep(theirs, True)) or p.kept
    if p.chance.random() < 0.5:  # lent, it is stale after an assignment: it may only go
        p.kept = None
        p.alone(lambda: TYPED.keep(theirs, False))
        outcome(lambda: ours.is_whole or ours.materialise())
    if p.chance.random() < 0.3:
        TYPED.drop_kept_elsewhere(p.chance.random() < 0.5)
        p.kept = None


def give(p: NativeJudge) -> None:
    """Native code makes an array."""
    chance, kind, shape = p.chance, values.kind(p.chance), values.shape(p.chance)
    way = chance.randrange(8)
    if way == 0:
        theirs = LOANS.moved([float(i) for i in range(6)], [2, 3])[0]
    elif way == 1:
        theirs = LOANS.given_up(5)[0]
        theirs[0][:] = range(5)
    elif way == 2 and not p.lent_blocks:
        p.lent_blocks, theirs = 1, LOANS.adopted(chance.random() < 0.5, [2, 3])
        theirs[0][0] = 9.0  # what must not be written to is left with this
    elif max(shape) < 10_000:
        ours = View.make(kind, vector=counted(kind, math.prod(shape)), size=shape)
        theirs, _ = TYPED.make(kind.format, tuple(shape), ours.storage.pack())
        p.made += 1
        assert stored(theirs) == ours.storage.elements, "make"
    else:
        return
    p.join(adopted(theirs), theirs)


def lend(p: NativeJudge) -> None:
    ours, theirs = p.member(is_real_double)
    writing = p.chance.random() < 0.5
    if loan := p.alone(lambda: LOANS.lend(theirs, writing, True)):
        shape, expected = loan.shape()[0], ours.to_list()
        for _ in shape[1:]:
            expected = [x for row in expected for x in row]
        found, count = loan.values(), len(expected)
        assert found == storage_order(shape, expected), ("loan", shape, expected)
        address, elements = theirs.buffer_info()
        place = (loan.address() - address) // 8
        is_inside = 0 <= place <= elements - count
        assert is_inside or not writing or not count
        p.keep(p.loans, (loan, ours.storage if is_inside else found, place, count), 4)


def write_loan(p: NativeJudge) -> None:
    for loan, storage, first, count in p.loans:
        if hasattr(loan, "write") and count:
            place, value = p.chance.randrange(count), float(p.chance.randrange(99))
            loan.write(place, value)
            storage.elements[first + place] = value


def give_back(p: NativeJudge) -> None:
    if p.loans:
        loan = p.loans.pop(p.chance.randrange(len(p.loans)))[0]
        (loan.give_back if p.chance.random() < 0.5 else loan.give_back_elsewhere)()


# Where the modules could not be built, programs do without them.
OPERATIONS = {take: 2, hold: 1, give: 1, lend: 2, write_loan: 1, give_back: 1} if TYPED else {}
