"""Arrays made from row-major buffers, which are transposed on the way.

What is asked for is to hold on every machine, whatever its caches.
"""

from __future__ import annotations

import math

from .operands import DOUBLES, MILLION, row_major
from .row import Row


def beside_numpy(*extents: int, title: str, limit: float) -> Row:
    return Row(
        f"from a row-major buffer {title}",
        row_major(*extents),
        "orvane.double(x)",
        "np.asfortranarray(x)",
        limit,
        moved_bytes=8 * math.prod(extents),
    )


REORDERING = [
    beside_numpy(1000, 1000, title="1000 x 1000", limit=1.2),
    beside_numpy(100, 100, 100, title="100 x 100 x 100", limit=1.5),
    beside_numpy(MILLION, 3, title="1,000,000 x 3", limit=1.2),
    beside_numpy(3, MILLION, title="3 x 1,000,000", limit=1.2),
    # Both sides make an array, so that the memory is as fresh. To take 1.3 times as long at most.
    Row(
        "row-major 1000 x 1000, beside memcpy into memory as fresh",
        row_major(1000, 1000) + "y = np.asfortranarray(x)\n",
        "orvane.double(x)",
        "orvane.double(y)",
        0.77,
        moved_bytes=DOUBLES,
        peer_is="orvane.double(y), y column-major",
    ),
]
