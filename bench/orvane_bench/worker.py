"""Measures one row in a process of its own: `python -m orvane_bench.worker ROW SAMPLE_SECONDS SIDE_SECONDS FILE`."""

from __future__ import annotations

import gc
import sys

from .rows import ROWS
from .timing import Effort, measure_repeatedly


def main() -> None:
    index, seconds_per_sample, seconds_per_side, file = sys.argv[1:]
    gc.disable()  # as timeit does: a collection would fall on whoever happens to be at work
    effort = Effort(1, float(seconds_per_sample), float(seconds_per_side))
    measure_repeatedly(ROWS[int(index)], effort).dump(file)


main()
