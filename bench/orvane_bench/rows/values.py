"""Arrays, buffers and ranges as values: to make an array of, to assign, and as items of lists."""

from __future__ import annotations

from .operands import DOUBLES
from .row import Row

MATRIX = (
    "x = np.asfortranarray(np.random.default_rng(1).random((1000, 1000)))\na = orvane.double(x)\n"
)
OTHER = MATRIX + "y = np.array(x + 1, order='F')\nb = orvane.double(y)\n"
ROWS = MATRIX + "y = np.ascontiguousarray(x)\n"
PACKED = OTHER + "value = array.array('d', x[3])\n"

RIGHT_SIDES = [
    Row("a[i] = array.array of 1000", PACKED, "a[7] = value", "x[7] = value", 1),
    Row(
        "a[i] = memoryview of 1000",
        PACKED + "value = memoryview(value)\n",
        "a[7] = value",
        "x[7] = value",
        1,
    ),
    Row(
        "a[i] = a row of another array",
        OTHER + "ours, peer = b[3], y[3]\n",
        "a[7] = ours",
        "x[7] = peer",
        1,
    ),
    Row("a[i] = a row of NumPy's", ROWS + "value = y[3]\n", "a[7] = value", "x[7] = value", 0.8),
    Row("a[i] = range(1000)", MATRIX, "a[7] = range(1000)", "x[7] = range(1000)", 2),
    Row("a[:] = b, a million", OTHER, "a[:] = b", "x[:] = y", 1, moved_bytes=DOUBLES),
    Row(
        "a[0:500] = b[0:500], half a million",
        OTHER + "ours, peer = b[0:500], y[0:500]\n",
        "a[0:500] = ours",
        "x[0:500] = peer",
        1,
        moved_bytes=DOUBLES // 2,
    ),
    Row(
        "a[:] = NumPy's array, column-major, a million",
        OTHER,
        "a[:] = y",
        "x[:] = y",
        0.8,
        moved_bytes=DOUBLES,
    ),
    Row(
        "a[:] = NumPy's array, row-major, a million",
        ROWS,
        "a[:] = y",
        "x[:] = y",
        0.8,
        moved_bytes=DOUBLES,
    ),
]

INITIALIZERS = [
    Row(
        "double(own array), a million",
        MATRIX,
        "orvane.double(a)",
        "x.copy(order='F')",
        1,
        moved_bytes=DOUBLES,
    ),
    Row(
        "double(single array), a million",
        MATRIX + "x = x.astype('f', order='F')\na = orvane.single(x)\n",
        "orvane.double(a)",
        "x.astype('d', order='F')",
        1,
        moved_bytes=DOUBLES,
    ),
    Row(
        "double(own view with a step), half a million",
        MATRIX + "ours, peer = a[::2], x[::2]\n",
        "orvane.double(ours)",
        "peer.copy(order='F')",
        1,
        moved_bytes=DOUBLES // 2,
    ),
]


def of_rows(kind: str, ours: str, peer: str = "ours") -> Row:
    setup = f"{ROWS}ours = {ours}\npeer = {peer}\n"
    work = f"double([1000 {kind}])"
    return Row(work, setup, "orvane.double(ours)", "np.array(peer)", 1, moved_bytes=DOUBLES)


NESTINGS = [
    of_rows("array.array", "[array.array('d', row) for row in y]"),
    of_rows("memoryviews", "[memoryview(row) for row in y]"),
    of_rows("own rows", "list(a)", "list(x)"),
    of_rows("NumPy rows", "list(y)"),
]

PARTS = [
    Row(
        "a.noncomplex() of a million",
        MATRIX,
        "a.noncomplex()",
        "x.ravel(order='K').copy()",
        1,
        moved_bytes=DOUBLES,
    ),
    *(
        Row(
            f"a.{part}() of a million complex",
            MATRIX + "x = x * (1 + 1j)\na = orvane.double(x, is_complex=True)\n",
            f"a.{part}()",
            f"x.{part}.copy(order='K')",
            1.5 if part == "real" else None,
            moved_bytes=DOUBLES,
        )
        for part in ("real", "imag")
    ),
]

VALUES = [*RIGHT_SIDES, *INITIALIZERS, *NESTINGS, *PARTS]
