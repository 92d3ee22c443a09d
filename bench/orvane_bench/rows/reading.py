"""Subscripts that are read, and iteration."""

from __future__ import annotations

from .operands import MATRICES
from .row import Row

READING = [
    Row("a[i], a view", MATRICES, "a[7]", "x[7]", 1.2),
    Row("a[i:j], a view", MATRICES, "a[10:20]", "x[10:20]", 1.2),
    Row("a[i][j], a number", MATRICES, "a[7][9]", "x[7][9]", 1.3),
    Row("a[i][j], beside nested lists", MATRICES, "a[7][9]", "L[7][9]", None),
    Row("iterate 1000 rows", MATRICES, "for _ in a: pass", "for _ in x: pass", 1.2),
    Row(
        "iterate 1000 numbers of a row",
        MATRICES + "ours, peer = a[7], x[7]\n",
        "for _ in ours: pass",
        "for _ in peer: pass",
        2.5,
    ),
    Row(
        "iterate 1000 numbers, beside array.array",
        MATRICES + "ours, peer = a[7], array.array('d', L[7])\n",
        "for _ in ours: pass",
        "for _ in peer: pass",
        None,
    ),
]
