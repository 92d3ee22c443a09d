"""Small arrays: what making one costs, and how much memory it holds."""

from __future__ import annotations

from .row import Meter, Row

MANY = 10_000


def held(name: str, ours: str, peer: str) -> Row:
    """Bytes of one array with all that belongs to it, which may be twice the peer's."""
    keep = f"for i in range({MANY}): kept[i] = {{}}"
    setup = f"import numpy as np, orvane\nkept = [None] * {MANY}\nwarm = {ours}, {peer}\n"
    return Row(
        name,
        setup,
        keep.format(ours),
        keep.format(peer),
        0.5,
        calls=MANY,
        meter=Meter.HELD_MEMORY,
        peer_is=peer,
    )


SMALL_ARRAYS = [
    Row("double(5)", "", "orvane.double(5)", "np.array(5.)", 0.9),
    Row("double([])", "", "orvane.double([])", "np.array([])", 0.9),
    Row("double(size=(2, 2))", "", "orvane.double(size=(2, 2))", "np.zeros((2, 2))", 0.9),
    Row(
        "a.size of 2 x 2",
        "a = orvane.double(size=(2, 2))\nx = np.zeros((2, 2))\n",
        "a.size",
        "x.shape",
        1,
    ),
    held("bytes of an array 2 x 2", "orvane.double(size=(2, 2))", "np.zeros((2, 2))"),
]
