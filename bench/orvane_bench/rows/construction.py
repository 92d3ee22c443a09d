"""Arrays made from lists, from buffers in storage order, and from a size."""

from __future__ import annotations

from .operands import DOUBLES, FLAT, FLOATS, row_major
from .row import Row

CONSTRUCTION = [
    Row(
        "double from a nested list 1000 x 1000 of floats",
        FLOATS,
        "orvane.double(L)",
        "np.array(L, order='F')",
        4,
        moved_bytes=DOUBLES,
    ),
    Row(
        "double from a nested list 1000 x 1000 of ints",
        "L = [[rng.randrange(-10**6, 10**6) for _ in range(1000)] for _ in range(1000)]\n",
        "orvane.double(L)",
        "np.array(L, dtype=float, order='F')",
        4,
        moved_bytes=DOUBLES,
    ),
    Row(
        "double from [[1.0, 2.0], [3.0, 4.0]]",
        "L = [[1.0, 2.0], [3.0, 4.0]]\n",
        "orvane.double(L)",
        "np.array(L)",
        1,
    ),
    Row(
        "from a one-dimensional buffer of a million doubles",
        FLAT,
        "orvane.double(buf)",
        "np.array(buf)",
        0.95,
        moved_bytes=DOUBLES,
    ),
    Row(
        "from a column-major buffer 1000 x 1000",
        row_major(1000, 1000) + "x = np.asfortranarray(x)\n",
        "orvane.double(x)",
        "np.array(x)",
        0.95,
        moved_bytes=DOUBLES,
    ),
    Row(
        "zeros, size=(1000, 1000)",
        "",
        "orvane.double(size=(1000, 1000))",
        "np.zeros((1000, 1000), order='F')",
        1,
    ),
    Row(
        "from a flat list of a million floats",
        "L = [rng.random() for _ in range(1_000_000)]\n",
        "orvane.double(L)",
        "array.array('d', L)",
        None,
        moved_bytes=DOUBLES,
    ),
]
