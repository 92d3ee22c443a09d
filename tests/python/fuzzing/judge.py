"""What must hold: both sides answer alike, and what was handed out stays what it was."""

import gc
import math
from collections.abc import Callable
from typing import Any

from reference.array import View
from support import outcome

from .pool import KNOWN, Judgement, Pair, Pool, adopted, is_array, is_small, stored


class Own(BaseException):
    """What code of the caller's raises; no words of ours may replace it."""


class Judge(Pool):
    """Asks both sides. What code of the caller's found wrong in the midst of a call, which might
    raise something else, is kept for the next look."""

    def __init__(self) -> None:
        super().__init__()
        self.wrong: list[BaseException] = []

    def both(self, ask: Callable[..., Any], ours: Any, theirs: Any, *told: Any) -> None:
        """Asks the same of both and compares the answers; new arrays join the pool."""
        expected, got = outcome(lambda: ask(ours)), outcome(lambda: ask(theirs))
        if expected[0] == got[0] == "gave" and isinstance(expected[2], View):
            self.join(expected[2], got[2])
        else:
            # From 3.15 on the interpreter refuses a slice's bounds in other words than lists do.
            words = (repr(answer).replace(" or None or ", " or ") for answer in (got, expected))
            assert next(words) == next(words), (*told, got, expected)

    def same(self, ask: Callable[..., Any], suits: Judgement = lambda ours: True) -> None:
        self.both(ask, *self.member(suits))

    def join(self, ours: View, theirs: Any) -> None:
        assert is_array(theirs), theirs
        self.keep(self.members, (ours, theirs), 9)
        for ask in (lambda a: a.size, str)[: 1 + is_small(ours)]:
            self.both(ask, ours, theirs)

    def alone(self, ask: Callable[[], Any], target: Pair | None = None) -> Any:
        """Asks the extension alone. Gives what it gave; a known error is as good as an answer. The
        reference learns what the target holds now."""
        try:
            return ask()
        except (*KNOWN, Own):
            return None
        finally:
            if target:
                elements, found = target[0].storage.elements, stored(target[1])
                assert len(found) == len(elements), "length"
                elements[:] = found

    def welcome(self, made: Any) -> None:
        """What may have been made alone."""
        if is_array(made) and max(made.size) < 10_000 and made.buffer_info()[1] < 10_000:
            self.join(adopted(made), made)

    def check(self) -> None:
        """What holds after every operation, whatever it was."""
        if self.wrong:
            raise self.wrong[0]
        for ours, theirs in self.members:
            elements = ours.storage.elements
            assert (found := stored(theirs)) == elements, ("content", found, ours.storage)
            assert theirs.buffer_info()[1] == len(elements) == math.prod(ours.shape), "count"
        for taken, storage, shape in self.exports:
            image = memoryview(taken)
            found = tuple(image.shape), image.tobytes(order="A")
            assert found == (shape, storage.pack()), ("export", found, shape, storage)
        self.same(lambda a: a.size)

    def close(self) -> None:
        """Lets go of all in any order; every buffer has to be back then."""
        held = [self.members, self.iterators, self.exports, self.loans, self.pickles]
        for some in self.chance.sample(held, len(held)):
            some.clear()
        gc.collect()
        assert not [e for e in self.exporters if e.open_views], "buffers left open"
