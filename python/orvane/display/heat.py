"""Heat maps: colours for numbers, and the picture that they make.

Lightness rises with the number all the way, so that a map can be read in any colours and on any
ground. What has no place between the least and the greatest number has a colour outside the range.
"""

from __future__ import annotations

import math
import zlib
from collections.abc import Iterator
from typing import Any, NamedTuple

RAMP = ((52, 34, 120), (47, 92, 166), (38, 150, 152), (126, 200, 104), (250, 230, 84))
NOT_A_NUMBER, INFINITE, NEGATIVE_INFINITE = (150, 150, 150), (226, 62, 52), (196, 62, 204)

_LAST = 252
_MIDDLE = _LAST // 2
_INDEX_OF_NAN = _LAST + 1
_INDEX_OF_INFINITE = _LAST + 2
_INDEX_OF_NEGATIVE = _LAST + 3


def _ramp_at(place: float) -> tuple[int, ...]:
    position = place * (len(RAMP) - 1)
    left = min(int(position), len(RAMP) - 2)
    return tuple(
        round(a + (b - a) * (position - left))
        for a, b in zip(RAMP[left], RAMP[left + 1], strict=True)
    )


PALETTE: list[tuple[int, ...]] = [_ramp_at(index / _LAST) for index in range(_LAST + 1)]
PALETTE += [NOT_A_NUMBER, INFINITE, NEGATIVE_INFINITE]


class HeatMap(NamedTuple):
    """Rows of places in the palette, and what they tell."""

    rows: list[bytes]
    least: float | None
    greatest: float | None
    outside: list[tuple[str, tuple[int, ...]]]

    def png(self) -> bytes:
        return png_of(self.rows, PALETTE)


def heat_map_of(sample: list[list[Any]]) -> HeatMap:
    """Complex numbers are shown by their magnitude, truth values between False and True."""
    kind = type(sample[0][0])
    if kind is complex:
        sample = [[math.hypot(number.real, number.imag) for number in row] for row in sample]
    finite = [number for row in sample for number in row if math.isfinite(number)]
    if kind is bool:
        finite = [False, True]
    least, greatest = min(finite, default=None), max(finite, default=None)
    rows = [bytes(row) for row in _places(sample, least or 0, greatest or 0)]
    seen = set().union(*rows)
    named = ("nan", _INDEX_OF_NAN), ("inf", _INDEX_OF_INFINITE), ("-inf", _INDEX_OF_NEGATIVE)
    outside = [(name, PALETTE[place]) for name, place in named if place in seen]
    return HeatMap(rows, least, greatest, outside)


def _places(sample: list[list[Any]], least: Any, greatest: Any) -> Iterator[list[int]]:
    """How far each number is from the least to the greatest; halfway where there is but one."""
    finite, span = math.isfinite, greatest - least
    if math.isinf(span):
        sample = [[number / 2 for number in row] for row in sample]
        least, span = least / 2, greatest / 2 - least / 2
    for row in sample:
        yield [
            (round((number - least) / span * _LAST) if span else _MIDDLE)
            if finite(number)
            else _outside(number)
            for number in row
        ]


def _outside(number: float) -> int:
    if math.isnan(number):
        return _INDEX_OF_NAN
    return _INDEX_OF_INFINITE if number > 0 else _INDEX_OF_NEGATIVE


def png_of(rows: list[bytes], palette: list[tuple[int, ...]]) -> bytes:
    """A picture of a point for each byte, which is a place in the palette."""
    header = b"".join(side.to_bytes(4, "big") for side in (len(rows[0]), len(rows)))
    depth_8_palette_plain = bytes((8, 3, 0, 0, 0))
    points = b"".join(b"\0" + row for row in rows)  # each row begins with its filter: none
    return b"\x89PNG\r\n\x1a\n" + b"".join(
        _chunk(name, content)
        for name, content in (
            (b"IHDR", header + depth_8_palette_plain),
            (b"PLTE", bytes(part for colour in palette for part in colour)),
            (b"IDAT", zlib.compress(points)),
            (b"IEND", b""),
        )
    )


def _chunk(name: bytes, content: bytes) -> bytes:
    check = zlib.crc32(name + content)
    return len(content).to_bytes(4, "big") + name + content + check.to_bytes(4, "big")
