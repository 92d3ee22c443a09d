"""Arrays made from row-major buffers, which are transposed on the way."""

from __future__ import annotations

from .operands import DOUBLES, MILLION, row_major
from .row import Row

REORDERING = [
    Row(
        "from a row-major buffer 1000 x 1000",
        row_major(1000, 1000),
        "orvane.double(x)",
        "np.asfortranarray(x)",
        2,
        moved_bytes=DOUBLES,
    ),
    Row(
        "from a row-major buffer 100 x 100 x 100",
        row_major(100, 100, 100),
        "orvane.double(x)",
        "np.asfortranarray(x)",
        1.2,
        moved_bytes=DOUBLES,
    ),
    Row(
        "from a row-major buffer 1,000,000 x 3",
        row_major(MILLION, 3),
        "orvane.double(x)",
        "np.asfortranarray(x)",
        1.2,
        moved_bytes=3 * DOUBLES,
    ),
    Row(
        "from a row-major buffer 3 x 1,000,000",
        row_major(3, MILLION),
        "orvane.double(x)",
        "np.asfortranarray(x)",
        1.2,
        moved_bytes=3 * DOUBLES,
    ),
]
