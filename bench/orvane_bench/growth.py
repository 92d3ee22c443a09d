"""How time and memory grow with the number of elements."""

from __future__ import annotations

import math
import statistics
from collections.abc import Callable, Iterator
from dataclasses import dataclass
from pathlib import Path

from .timing import in_fresh_process

COUNTS = (10**3, 10**5, 10**7, 10**8)
PROCESSES = {10**8: 1}
"""Of most counts three; what takes seconds is steady enough in one."""


@dataclass(frozen=True)
class GrowthRow:
    """A statement over `n` elements; `setup` makes its operands from the name `n`."""

    name: str
    setup: str
    statement: str
    in_proportion: bool
    """Whether the time grows with n; otherwise it has to stay."""
    bytes_per_element: int
    """What setup and statement need together; counts for which memory lacks are left out."""
    greatest: int = 10**8


ARRAY = "a = orvane.double(np.arange(n, dtype=float).reshape((n // 100, 100), order='F'))\n"

GROWTH_ROWS = [
    GrowthRow(
        "from a nested list n/100 x 100",
        "L = np.arange(n, dtype=float).reshape(n // 100, 100).tolist()\n",
        "r = orvane.double(L)",
        True,
        60,
    ),
    GrowthRow(
        "from a one-dimensional buffer",
        "x = np.arange(n, dtype=float)\n",
        "r = orvane.double(x)",
        True,
        24,
    ),
    GrowthRow(
        "from a row-major buffer n/100 x 100",
        "x = np.arange(n, dtype=float).reshape(n // 100, 100)\n",
        "r = orvane.double(x)",
        True,
        24,
    ),
    GrowthRow("zeros, size=(n/100, 100)", "", "r = orvane.double(size=(n // 100, 100))", False, 16),
    GrowthRow("a[i]", ARRAY, "r = a[5]", False, 24),
    GrowthRow("a[i][j]", ARRAY, "r = a[5][5]", False, 24),
    GrowthRow("a[i][j] = x", ARRAY, "a[5][5] = 1.5", False, 24),
    GrowthRow("a.reshape(100, n/100)", ARRAY, "r = a.reshape(100, n // 100)", False, 24),
    GrowthRow("memoryview(a)", ARRAY, "r = memoryview(a)", False, 24),
    GrowthRow("memoryview(a[:]), fresh view", ARRAY, "r = memoryview(a[:])", True, 40),
    GrowthRow("a[:].clone()", ARRAY, "r = a[:].clone()", True, 40),
    GrowthRow("a == b", ARRAY + "b = a.clone()\n", "r = a == b", True, 32),
    GrowthRow("str(a)", ARRAY, "r = str(a)", True, 90),
    GrowthRow(
        "pickle.dumps(a)",
        "import pickle\n" + ARRAY,
        "r = pickle.dumps(a)",
        True,
        120,
        greatest=10**7,
    ),
    GrowthRow(
        "a[0].toarray(), 1 x n",
        "a = orvane.double(np.arange(n, dtype=float))\n",
        "r = a[0].toarray()",
        True,
        48,
    ),
]


@dataclass(frozen=True)
class GrowthPoint:
    count: int
    seconds: float
    peak: int


@dataclass(frozen=True)
class GrowthResult:
    row: GrowthRow
    points: list[GrowthPoint]

    @property
    def order(self) -> float:
        """The exponent e of time ~ n^e from 10^5 elements, where fixed costs are small, onward."""

        first = next(point for point in self.points if point.count >= 10**5)
        last = self.points[-1]
        return math.log(last.seconds / first.seconds) / math.log(last.count / first.count)

    @property
    def holds(self) -> bool:
        # Arrays of 10^5 doubles live in the caches and larger ones do not: that may cost a factor
        # of five on the way to 10^7. What stays may vary by as much: a mapping of its own, however
        # large, costs more than memory that served before.
        return self.order < (1.35 if self.row.in_proportion else 0.25)


def available_bytes() -> int:
    with Path("/proc/meminfo").open() as lines:
        return next(
            int(line.split()[1]) * 1024 for line in lines if line.startswith("MemAvailable:")
        )


def measure_growth(progress: Callable[[str], None], greatest: int) -> Iterator[GrowthResult]:
    for row in GROWTH_ROWS:
        points = []
        for n in COUNTS:
            if (
                n > min(row.greatest, greatest)
                or n * row.bytes_per_element > available_bytes() * 0.7
            ):
                continue
            progress(f"growth, {n:,} elements: {row.name}")
            setup = f"import numpy as np, orvane\nn = {n}\n{row.setup}"
            measured = [
                in_fresh_process("growth", setup, row.statement) for _ in range(PROCESSES.get(n, 3))
            ]
            points.append(
                GrowthPoint(
                    n,
                    statistics.median(one["seconds"] for one in measured),
                    statistics.median(one["peak"] for one in measured),
                )
            )
        yield GrowthResult(row, points)
