"""What `fitting` does, number by number, where NumPy is not installed."""

from __future__ import annotations

import itertools
import struct
from operator import itemgetter
from typing import Any

from .. import AnyArray
from .kinds import Kind
from .places import refuse_misfit


def fit_array(array: AnyArray, kind: Kind, rank: int) -> AnyArray:
    """A new array with the numbers of a whole one, which came in `rank` dimensions."""
    numbers = list(map(complex, array.real(), array.imag()) if array._is_complex else array._data)
    # They stand in storage order; the place that is named is the first by subscripts.
    extents = [range(extent) for extent in reversed(array.size)]
    places = [place[-rank:] for place in (each[::-1] for each in itertools.product(*extents))]
    for place, number in sorted(zip(places, numbers, strict=True), key=itemgetter(0)):
        try:
            fit_number(number, kind)
        except ValueError:
            raise refuse_misfit(kind, number, place) from None
    fitted = [fit_number(number, kind) for number in numbers]
    return kind.make(vector=fitted, size=array.size)


def fit_number(number: Any, kind: Kind) -> Any:
    """One number of Python's as an element of the kind; ValueError when it does not fit."""
    if kind.code == "b":
        return number != 0
    if kind.is_complex:
        real, imag = (_fit_real(part, kind) for part in (number.real, number.imag))
        return complex(real, imag)
    if number.imag != 0:
        raise ValueError
    return _fit_real(number.real, kind)


def _fit_real(number: Any, kind: Kind) -> Any:
    try:
        number = float(number) if kind.code == "f" else _whole(number)
        struct.pack("<" + kind.letter, number)  # "f" alone would not mind overflow
    except (OverflowError, struct.error):
        raise ValueError from None
    return number


def _whole(number: float) -> int:
    if number != number or int(number) != number:
        raise ValueError
    return int(number)
