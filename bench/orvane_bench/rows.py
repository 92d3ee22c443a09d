"""What is measured: one table of rows, each a piece of work and the same work done by a peer."""

from __future__ import annotations

from dataclasses import dataclass, replace
from enum import Enum


class Meter(Enum):
    """How a row is measured."""

    REPEATED = "repeated"
    """Time of a statement that is repeated, ours and the peer's in turn in one process."""
    FIRST_TIME = "first time"
    """Time of a statement that runs once in a fresh interpreter."""
    PEAK_MEMORY = "peak memory"
    """Bytes by which a statement, run once in a fresh interpreter, raises the peak of memory."""


@dataclass(frozen=True)
class Row:
    """A piece of work. All code is Python source; `setup` sees the names of `COMMON`."""

    name: str
    setup: str
    ours: str
    peer: str
    at_least: float | None
    """The ratio, peer's measure divided by ours, to be reached; None where it is only told."""
    fresh: str = ""
    """Runs before every single execution of `ours` and of `peer`, outside the time taken."""
    moved_bytes: int = 0
    """So many bytes are copied by `memcpy` in the same run: the limit that the memory sets."""
    calls: int = 1
    """How many pieces of work one execution stands for."""
    at_most: float | None = None
    """Seconds that ours may take, whatever the peer does."""
    meter: Meter = Meter.REPEATED
    peer_is: str = ""
    """What the table calls the peer, if not by its code."""


COMMON = """
import array
import pickle
import random
import numpy as np
import orvane
rng = random.Random(20240229)
"""

MILLION = 1_000_000
DOUBLES = 8 * MILLION

FLOATS = "L = [[rng.random() for _ in range(1000)] for _ in range(1000)]\n"
MATRICES = FLOATS + "a = orvane.double(L)\nx = np.array(L, order='F')\n"
FLAT = "buf = array.array('d', [rng.random() for _ in range(1_000_000)])\n"
ROW = FLAT + "a = orvane.double(buf)\nx = np.array(buf)\n"


def row_major(*extents: int) -> str:
    return f"x = np.random.default_rng(1).random({extents})\n"


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

SUBSCRIPTS = [
    Row("a[i], a view", MATRICES, "a[7]", "x[7]", 1.2),
    Row("a[i:j], a view", MATRICES, "a[10:20]", "x[10:20]", 1.2),
    Row("a[i][j], a number", MATRICES, "a[7][9]", "x[7][9]", 1.3),
    Row("a[i][j], beside nested lists", MATRICES, "a[7][9]", "L[7][9]", None),
    Row("a[i][j] = x", MATRICES, "a[7][9] = 1.5", "x[7][9] = 1.5", 1.2),
    Row("a[i] = [1000 floats]", MATRICES + "row = L[3]\n", "a[7] = row", "x[7] = row", 4),
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
    Row("str(a) of a million doubles", MATRICES, "str(a)", "str(x.tolist())", 4),
    Row("pickle.dumps(a)", MATRICES, "pickle.dumps(a)", "pickle.dumps(x.tolist())", 1),
    Row(
        "pickle.loads of it",
        MATRICES + "ours = pickle.dumps(a)\npeer = pickle.dumps(x.tolist())\n",
        "pickle.loads(ours)",
        "np.array(pickle.loads(peer))",
        1,
    ),
    Row(
        "a[0].toarray() of a million",
        ROW,
        "a[0].toarray()",
        "array.array('d', x.tobytes())",
        0.9,
        moved_bytes=DOUBLES,
    ),
]

PROCESSES = [
    Row("import orvane", "", "import orvane", "import numpy", 10, meter=Meter.FIRST_TIME),
    Row(
        "peak memory of a million doubles from a buffer",
        "import array, orvane, numpy as np\n"
        "buf = array.array('d', range(1_000_000))\n"
        "warm = orvane.double(buf[:10]), np.array(buf[:10])\n",
        "result = orvane.double(buf)",
        "result = np.array(buf)",
        0.95,
        meter=Meter.PEAK_MEMORY,
    ),
    Row(
        "way in through the capsule: 8 MB, beside 32 bytes",
        "import orvane_capsule_probe as probe\n"
        + MATRICES
        + "small = orvane.double(size=(2, 2))\n",
        "probe.way_in(a, 1000)",
        "probe.way_in(small, 1000)",
        0.8,
        calls=1000,
        at_most=200e-9,
    ),
    Row(
        "way in as a typed array of C++: 8 MB, beside 32 bytes",
        "import orvane_capsule_probe as probe\n"
        + MATRICES
        + "small = orvane.double(size=(2, 2))\n",
        "probe.typed_way_in(a, 1000)",
        "probe.typed_way_in(small, 1000)",
        0.8,
        calls=1000,
        at_most=200e-9,
    ),
]


ROADS = """
import orvane_{0}_roads as roads
# Infinities stay what they are, however often they are halved.
small, small_x = (make(np.full((3, 3), np.inf, order="F")) for make in (orvane.double, np.array))
x = np.full((1000, 1000), np.inf, order="F")
a = orvane.double(x)
view, view_x = a[10:500], x[10:500]
"""
SMALL, LARGE = 0.67, 0.83


def roads_of(library: str, peer: str) -> list[Row]:
    """Ways in and out of bound functions, beside the same work on the library's own arrays."""
    setup = ROADS.format(library)

    def row(work: str, function: str, ours: str, theirs: str, limit: float, moved: int = 0) -> Row:
        code = f"roads.{function}({ours})", f"roads.peer_{function}({theirs})"
        return Row(f"{library}: {work}", setup, *code, limit, moved_bytes=moved)

    round_trip = "b = roads.{0}out(4096, 8192); roads.{0}halve(b); c = roads.{0}halved(b)"
    rows = [
        row("in, 3 x 3", "way_in", "small", "small_x", SMALL),
        row("in, 1000 x 1000", "way_in", "a", "x", LARGE),
        row("in, a view", "way_in", "view", "view_x", LARGE),
        row("in, any rank, 1000 x 1000", "way_in_any_rank", "a", "x", LARGE),
        row("out, 3 x 3", "out", "3, 3", "3, 3", SMALL),
        row("out, 1000 x 1000", "out", "1000, 1000", "1000, 1000", LARGE, DOUBLES),
        row("identity, 3 x 3", "identity", "small", "small_x", SMALL),
        row("identity, 1000 x 1000", "identity", "a", "x", LARGE),
        row("halve in place, 3 x 3", "halve", "small", "small_x", SMALL),
        row("halve in place, 1000 x 1000", "halve", "a", "x", LARGE, DOUBLES),
        row("halve to a new array, 3 x 3", "halved", "small", "small_x", SMALL),
        row("halve to a new array, 1000 x 1000", "halved", "a", "x", LARGE, DOUBLES),
        row("halve a copy, 3 x 3", "halved_copy", "small", "small_x", SMALL),
        row("halve a copy, 1000 x 1000", "halved_copy", "a", "x", LARGE, DOUBLES),
        Row(
            f"{library}: peak memory of a round trip of 256 MB",
            f"import orvane_{library}_roads as roads, numpy as np\n"
            "warm = roads.halved(roads.out(3, 3)), roads.peer_halved(roads.peer_out(3, 3))\n",
            round_trip.format(""),
            round_trip.format("peer_"),
            0.95,
            meter=Meter.PEAK_MEMORY,
        ),
    ]
    return [replace(row, peer_is=peer) for row in rows]


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
            2,
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


ROWS = [
    *CONSTRUCTION,
    *SUBSCRIPTS,
    *WHOLE_ARRAYS,
    *PROCESSES,
    *roads_of("pybind11", "py::array_t"),
    *roads_of("nanobind", "nb::ndarray"),
    *(row for kind in KINDS for row in rows_of(kind)),
]
