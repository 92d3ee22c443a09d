"""Whether a program, run again and again, leaves the process's memory where it was; and for a time,
as `python -m fuzzing.leaks MINUTES` does, whether many do, which `scripts/fuzz.sh --soak` starts.
"""

import mmap
import sys
import time
from array import array
from itertools import pairwise
from pathlib import Path

from memory_use import in_use, is_measured

from .program import Program, run


def check_leaks(seed: int, operations: list[int] | None = None) -> None:
    if not is_measured or Program(seed).has_threads:
        return
    for times in (4, 12, 40, 200):  # what grows by chance, or for a while, is looked at longer
        marks = array("q", [0] * 2 * times)  # measuring leaves nothing either
        for i in range(times):
            run(seed, operations)
            marks[2 * i : 2 * i + 2] = array("q", in_use())
        growth = [min(b - a for a, b in pairwise(marks[i + 2 :: 2])) for i in (0, 1)]
        if max(growth) <= 0:
            return
    raise AssertionError(f"blocks, bytes that each run leaves: {growth}")


def resident() -> int:
    """Bytes of the process that are in memory."""
    return int(Path("/proc/self/statm").read_text().split()[1]) * mmap.PAGESIZE


def soak(minutes: float) -> None:
    """The same programs over and over; what the first minute has left is all that there may be."""
    start, first, programs = time.monotonic(), None, 0
    while (passed := time.monotonic() - start) < 60 * minutes:
        for seed in range(100):
            run(seed)
        programs += 100
        marks = resident(), in_use()[1]
        told = f"{marks[0] >> 10} KiB resident, {marks[1]} bytes in use"
        print(f"{passed:6.0f} s, {programs} programs: {told}", flush=True)
        if passed > 60:
            first = first or marks
            assert all(now <= 1.01 * then for now, then in zip(marks, first, strict=True)), "growth"


if __name__ == "__main__":
    soak(float(sys.argv[1]))
