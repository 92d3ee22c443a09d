"""What the formats of foreign buffers say, in every spelling."""

from __future__ import annotations

import re
import sys

from .kinds import Kind, kind_by_code

_CODES = {
    **dict.fromkeys("bhilqn", "i"),
    **dict.fromkeys("BHILQN", "u"),
    **dict.fromkeys("fd", "f"),
    "c": "u",
    "?": "b",
}
_COMPLEX_LETTERS = {"F": "f", "D": "d"}
_SIMPLE = re.compile(r"([@=<>!^]?)(Z?)([a-zA-Z?])")
_PAIR = re.compile(r"T\{([@=<>!^]?)([a-zA-Z]):real:\1?\2:imag:\}")
_LITTLE = sys.byteorder == "little"
_SWAPPED_MARKS = {">", "!"} if _LITTLE else {"<"}


def read_format(format: str | None, itemsize: int) -> tuple[Kind, bool] | None:
    """The kind of the elements, and whether their bytes are in the other order.

    None for formats that no array has. Sizes are the exporter's own words: "l" has 4 bytes in one
    spelling and 8 in another.
    """
    simple = _SIMPLE.fullmatch(format or "B")
    pair = None if simple else _PAIR.fullmatch(format or "")
    if simple:
        mark, complex_mark, letter = simple.groups()
        is_complex = bool(complex_mark) or letter in _COMPLEX_LETTERS
        letter = _COMPLEX_LETTERS.get(letter, letter)
    elif pair:
        mark, letter = pair.groups()
        is_complex = True
    else:
        return None
    size = itemsize // 2 if is_complex else itemsize
    code = _CODES.get(letter)
    kind = None if code is None else kind_by_code(code, size, is_complex)
    return None if kind is None else (kind, mark in _SWAPPED_MARKS and size > 1)
