"""A few rows again, for other element types."""

from __future__ import annotations

from dataclasses import dataclass

from .operands import MILLION
from .row import Row


@dataclass(frozen=True)
class Kind:
    """An element type for which a few rows are measured again."""

    title: str
    ours: str
    keywords: str
    dtype: str
    value: str
    itemsize: int


KINDS = [
    Kind("int8", "orvane.int8", "", "np.int8", "rng.randrange(-127, 128)", 1),
    Kind("single", "orvane.single", "", "np.float32", "float(np.float32(rng.random()))", 4),
    Kind(
        "complex double",
        "orvane.double",
        ", is_complex=True",
        "complex",
        "complex(rng.random(), rng.random())",
        16,
    ),
]


def rows_of(kind: Kind) -> list[Row]:
    lists = f"L = [[{kind.value} for _ in range(1000)] for _ in range(1000)]\n"
    make = f"{kind.ours}(L{kind.keywords})"
    make_peer = f"np.array(L, dtype={kind.dtype}, order='F')"
    both = f"{lists}a = {make}\nx = {make_peer}\n"
    buffer = f"{lists}x = np.array(L, dtype={kind.dtype})\n"
    moved = kind.itemsize * MILLION
    from_buffer = f"{kind.ours}(x{kind.keywords})"

    def name(work: str) -> str:
        return f"{kind.title}: {work}"

    return [
        Row(name("from a nested list 1000 x 1000"), lists, make, make_peer, 4, moved_bytes=moved),
        Row(
            name("from a row-major buffer 1000 x 1000"),
            buffer,
            from_buffer,
            "np.asfortranarray(x)",
            1.2 if kind.itemsize == 16 else 2,  # the wider, the more of it is what memory does
            moved_bytes=moved,
        ),
        Row(name("a[i][j], a number"), both, "a[7][9]", "x[7][9]", 1.3),
        Row(name("a[i] = [1000 numbers]"), both + "row = L[3]\n", "a[7] = row", "x[7] = row", 4),
        Row(
            name("iterate 1000 numbers of a row"),
            both + "ours, peer = a[7], x[7]\n",
            "for _ in ours: pass",
            "for _ in peer: pass",
            2.5,
        ),
        Row(
            name("a == b, a million"),
            f"{both}b = {make}\ny = x.copy(order='F')\n",
            "a == b",
            "np.array_equal(x, y)",
            1,
        ),
        Row(
            name("memoryview(a[0:500]), fresh view"),
            both,
            "memoryview(a[0:500])",
            "memoryview(np.array(x[0:500], order='F'))",
            0.9,
            moved_bytes=moved // 2,
        ),
        Row(name("str(a) of a million"), both, "str(a)", "str(x.tolist())", 4),
        Row(name("pickle.dumps(a)"), both, "pickle.dumps(a)", "pickle.dumps(x.tolist())", 1),
    ]


KINDS_AGAIN = [row for kind in KINDS for row in rows_of(kind)]
