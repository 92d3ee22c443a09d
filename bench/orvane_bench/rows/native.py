"""Ways from Python to native code and back."""

from __future__ import annotations

from dataclasses import replace

from .operands import DOUBLES, MATRICES
from .row import Meter, Row

CAPSULE = [
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
    through = "for _ in range(100): ring[{0}] = roads.{1}halved(ring[{0}])"
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
        Row(
            f"{library}: 8 MB in and 8 MB out, again and again",
            setup + "ring = [a, x]\n",
            through.format(0, ""),
            through.format(1, "peer_"),
            LARGE,
            moved_bytes=DOUBLES,
            calls=100,
        ),
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


NATIVE = [*CAPSULE, *roads_of("pybind11", "py::array_t"), *roads_of("nanobind", "nb::ndarray")]
