"""Several threads at the same array, for a moment."""

import copy
import sys
from collections.abc import Callable
from concurrent.futures import ThreadPoolExecutor
from contextlib import suppress
from typing import Any

from reference.array import View
from support import counted

from . import values
from .native import LOANS, TYPED, NativeJudge
from .pool import KNOWN, is_small
from .values import Chance

Call = Callable[[Any], Any]


def suits(ours: View) -> bool:
    return ours.is_whole and is_small(ours) and bool(ours.storage.elements)


def asked(ours: View, theirs: Any, chance: Chance) -> tuple[Call, ...]:
    """What many threads may do to an array at once."""
    kind, shapes = ours.storage.kind, [list(ours.shape), values.other_shape(chance, ours)]
    row, walk = theirs[0], iter(theirs)
    return (
        *(str, list, memoryview, lambda a: a[:].clone(), lambda a: a[0], lambda a: next(walk)),
        *(lambda a: a == row, lambda a: a.__setitem__(0, a[-1]), copy.copy),
        *(lambda a: a.reshape(shapes[0]), lambda a: a.reshape(shapes[1])),
        lambda a: row.__setitem__(0, counted(kind, 1)[0]),
        lambda a: TYPED and TYPED.take(kind.format, a),
        lambda a: LOANS and LOANS.lend(a, True, False).give_back_elsewhere(),
    )


def threads(p: NativeJudge) -> None:
    """The reference learns what became of the array."""
    ours, theirs = p.member(suits)
    calls = asked(ours, theirs, p.chance)

    def work(chance: Chance) -> None:
        for _ in range(40):
            with suppress(*KNOWN):
                chance.choice(calls)(theirs)

    interval = sys.getswitchinterval()
    sys.setswitchinterval(1e-6)
    with ThreadPoolExecutor(3) as workers:
        done = [workers.submit(work, Chance(p.chance.random())) for _ in range(3)]
    sys.setswitchinterval(interval)
    for worker in done:
        worker.result()
    ours.storage.shape[:] = theirs.size
    p.alone(lambda: None, (ours, theirs))
