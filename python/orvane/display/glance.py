"""What is seen of an array: its heading, the corners and a sample of its planes.

Everything is read by subscripts, so that it is right for views and complex numbers, needs no NumPy,
and touches no element that is not shown.
"""

from __future__ import annotations

import math
from collections.abc import Sequence
from typing import Any, NamedTuple

from .. import AnyArray

SMALL = 20
"""So many elements are no more to read than a heading."""


def count_of(array: AnyArray) -> int:
    return math.prod(array.size)


def heading_of(array: AnyArray) -> str:
    size = array.size
    if not size:  # a reshape has left no dimensions to this view, which says so of itself
        len(array)
    words = [f"orvane.{type(array).__name__} of size {size}"]
    if array._is_complex:
        words.append("complex")
    return ", ".join([*words, _bytes(math.prod(size) * array.itemsize)])


def _bytes(count: int) -> str:
    if count < 1000:
        return f"{count} byte{'s' * (count != 1)}"
    thousands = min((len(str(count)) - 1) // 3, 4)
    return f"{count / 1000**thousands:.1f} {'_kMGT'[thousands]}B"


class Plane(NamedTuple):
    """A matrix, a view of one dimension as its one row, or one of the planes of more dimensions."""

    name: str
    elements: Any
    is_row: bool
    height: int
    width: int

    def row(self, place: int) -> Any:
        return self.elements if self.is_row else self.elements[place]

    def corners(self, edge: int) -> list[list[Any]]:
        """The elements at most ``edge`` places from a corner, None in the gaps between them."""
        columns = _edges(self.width, edge)
        return [
            [None] * len(columns) if place is None else _pick(self.row(place), columns)
            for place in _edges(self.height, edge)
        ]

    def steps(self, limit: int) -> tuple[int, int]:
        """Every how many rows and columns one is taken, so that there are at most ``limit``."""
        return -(-self.height // limit), -(-self.width // limit)

    def sample(self, limit: int) -> list[list[Any]]:
        down, along = self.steps(limit)
        return [list(self.row(place)[::along]) for place in range(0, self.height, down)]


def planes_of(array: AnyArray) -> list[Plane]:
    """None of what is empty; of more than two dimensions the first plane and the last."""
    size = array.size
    if not size or not math.prod(size):
        return []
    height, width = size[-2:] if len(size) > 1 else (1, *size)
    first, last = [0] * len(size[:-2]), [extent - 1 for extent in size[:-2]]
    planes = []
    for places in [first] if first == last else [first, last]:
        plane: Any = array
        for place in places:
            plane = plane[place]
        name = "".join(f"[{place}]" for place in places)
        planes.append(Plane(name, plane, len(size) == 1, height, width))
    return planes


def _edges(extent: int, edge: int) -> Sequence[int | None]:
    if extent <= 2 * edge + 1:
        return range(extent)
    return [*range(edge), None, *range(extent - edge, extent)]


def _pick(row: Any, places: Sequence[int | None]) -> list[Any]:
    return [None if place is None else row[place] for place in places]


def words_of(number: Any) -> str:
    """A number in few characters, a float to five digits if it has more than fit; None as a gap."""
    if number is None:
        return "..."
    if isinstance(number, complex):
        imaginary = words_of(number.imag)
        sign = "" if imaginary.startswith("-") else "+"
        return f"{words_of(number.real)}{sign}{imaginary}j"
    words = repr(number)
    return f"{number:.5g}" if isinstance(number, float) and len(words) > 8 else words
