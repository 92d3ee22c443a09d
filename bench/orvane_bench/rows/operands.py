"""Python source that makes what the rows work on, and sizes in bytes."""

from __future__ import annotations

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
