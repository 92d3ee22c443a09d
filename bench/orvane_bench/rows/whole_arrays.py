"""Comparison, export, copies."""

from __future__ import annotations

from .operands import DOUBLES, MATRICES
from .row import Row

WHOLE_ARRAYS = [
    Row(
        "a == b, a million equal doubles",
        MATRICES + "b = orvane.double(L)\ny = x.copy(order='F')\n",
        "a == b",
        "np.array_equal(x, y)",
        1,
    ),
    Row("memoryview(a), whole array", MATRICES, "memoryview(a)", "memoryview(x)", 1),
    Row(
        "memoryview(a[0:500]) of 1000 x 1000, fresh view",
        MATRICES,
        "memoryview(a[0:500])",
        "memoryview(np.array(x[0:500], order='F'))",
        0.9,
        moved_bytes=DOUBLES // 2,
    ),
    Row(
        "a.clone() of a million, fresh array",
        MATRICES,
        "a.clone()",
        "x.copy(order='F')",
        0.9,
        fresh="a = None; x = None; a = orvane.double(L); x = np.array(L, order='F')",
        moved_bytes=DOUBLES,
    ),
    Row(
        "a.reshape() of a million, beside 4 elements",
        MATRICES + "small = orvane.double(size=(2, 2))\n",
        "a.reshape(1000, 1000)",
        "small.reshape(2, 2)",
        0.8,
    ),
]
