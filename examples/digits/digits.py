"""Reads the handwritten digits that stand beside this file in `data/`."""

import csv
import gzip
from pathlib import Path
from typing import NamedTuple

SIDE = 8
"""Pixels in a row and in a column of an image."""

INK = 16
"""The value of a pixel that is wholly ink; paper is 0."""

DATA_FILE = Path(__file__).parent / "data" / "digits.csv.gz"


class Digits(NamedTuple):
    """The images, each as its 64 pixels row by row, and what each of them shows."""

    images: list[list[int]]
    labels: list[int]


def read_digits(path: Path = DATA_FILE) -> Digits:
    """Reads lines of 64 pixels and a label."""
    with gzip.open(path, "rt", encoding="ascii", newline="") as file:
        lines = [[int(field) for field in line] for line in csv.reader(file)]
    return Digits([line[:-1] for line in lines], [line[-1] for line in lines])
