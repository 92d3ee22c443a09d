"""Eight threads at the same arrays for a time, as `scripts/fuzz.sh --load` has them work.

Of an array that all work on nothing is certain but that each call answers or refuses. In a ledger
each thread has a row, of which it knows every element, whatever others do to the rows beside it.
"""

import sys
import threading
import time
from array import array
from collections import deque
from concurrent.futures import ThreadPoolExecutor, wait
from contextlib import suppress
from typing import Any

import orvane
from support import make

from . import values
from .leaks import resident
from .native import LOANS, TYPED
from .pool import KNOWN, adopted
from .threads import asked
from .values import Chance

WORKERS, COLUMNS = 8, 50
ENDS = "give_back", "give_back_unlocked", "give_back_elsewhere"


def flat(numbers: Any) -> memoryview:
    return memoryview(numbers).cast("B").cast("d")


class Ledger:
    """What is held is held by all, and let go of by whoever comes next."""

    def __init__(self) -> None:
        self.array = orvane.double(size=(WORKERS, COLUMNS))
        self.held: deque[Any] = deque(maxlen=40)

    def write(self, line: int, known: list[float], chance: Chance) -> None:
        j, value, row = chance.randrange(COLUMNS), chance.random(), self.array[line]
        roll = chance.randrange(3 if LOANS else 2)
        if roll == 0:
            row[j] = known[j] = value
        elif roll == 1:
            known[j:] = [value] * (COLUMNS - j)
            row[j:] = chance.choice([list, tuple, lambda x: array("d", x)])(known[j:])
        else:
            loan = LOANS.lend(self.array, True, False)
            assert loan.write(line + WORKERS * j, value) == known[j], (line, j)
            known[j] = value
            self.held.append(loan)

    def read(self, line: int, known: list[float], chance: Chance) -> None:
        row, view = self.array[line], memoryview(self.array)
        ways = [
            *(lambda: row, lambda: row[::-1][::-1], row.toarray, lambda: flat(row)),
            *(lambda: flat(row.clone()), lambda: [view[line, j] for j in range(COLUMNS)]),
        ]
        if TYPED:
            ways += [LOANS.lend(row, False, True).values, lambda: flat(TYPED.take("d", row)[2])]
        found = list(chance.choice(ways)())
        assert found == known, (line, found, known)
        self.held.append(view)

    def let_go(self, chance: Chance) -> None:
        with suppress(IndexError):  # another was quicker
            held = self.held.popleft()
            getattr(held, chance.choice(ENDS), lambda: None)()


def load(minutes: float) -> None:
    chance, ledger, stop = Chance(0), Ledger(), threading.Event()
    shared = [make(values.kind(chance), size=s) for s in ([3, 4], [2, 3, 4], [40, 30], [160, 128])]
    calls = [asked(adopted(a), a, chance) for a in shared]
    done, refused = [0] * WORKERS, [0] * WORKERS

    def work(line: int) -> None:
        chance, known = Chance(line), [0.0] * COLUMNS
        while not stop.is_set():
            done[line] += 1
            place = chance.randrange(3 * len(shared))
            if place < len(shared):
                try:
                    ledger.held.append(chance.choice(calls[place])(shared[place]))
                except KNOWN:
                    refused[line] += 1
            else:
                ledger.write(line, known, chance)
                ledger.read(line, known, chance)
                ledger.let_go(chance)

    sys.setswitchinterval(1e-4)
    start, left = time.monotonic(), 60 * minutes
    with ThreadPoolExecutor(WORKERS) as pool:
        workers = [pool.submit(work, line) for line in range(WORKERS)]
        while left > 0 and not wait(workers, min(left, 60), "FIRST_EXCEPTION").done:
            passed = time.monotonic() - start
            left = 60 * minutes - passed
            told = f"{sum(done)} rounds, {sum(refused)} refused, {resident() >> 10} KiB resident"
            print(f"{passed:6.0f} s: {told}", flush=True)
        stop.set()
    for worker in workers:
        worker.result()


if __name__ == "__main__":
    load(float(sys.argv[1]))
