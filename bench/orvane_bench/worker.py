"""Measures one row in a process of its own.

Called with the row's place in the table, the seconds for a sample and for a side, and the file
to write.
"""

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
