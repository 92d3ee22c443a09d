"""Subscripts that are written to."""

from __future__ import annotations

from .operands import MATRICES
from .row import Row

ASSIGNMENT = [
    Row("a[i][j] = x", MATRICES, "a[7][9] = 1.5", "x[7][9] = 1.5", 1.2),
    Row("a[i] = [1000 floats]", MATRICES + "row = L[3]\n", "a[7] = row", "x[7] = row", 4),
]
