"""Arrays at a prompt."""

from __future__ import annotations

from .. import AnyArray
from .glance import Plane, heading_of, planes_of, words_of


def lines_of(array: AnyArray, width: int) -> list[str]:
    """The heading, and the corners in as many columns as fit."""
    lines = [heading_of(array)]
    for plane in planes_of(array):
        lines += [f"{plane.name}:"] * bool(plane.name) + _fitting_table(plane, width)
    return lines


def _fitting_table(plane: Plane, width: int) -> list[str]:
    for edge in (3, 2):
        table = _table(plane.corners(edge))
        if len(table[0]) <= width:
            return table
    return _table(plane.corners(1))


def _table(cells: list[list[object]]) -> list[str]:
    rows = [[words_of(cell) for cell in row] for row in cells]
    widths = [max(map(len, column)) for column in zip(*rows, strict=True)]
    return [
        "".join(f"  {words:>{width}}" for words, width in zip(row, widths, strict=True))
        for row in rows
    ]
