"""What `fitting` does, for Python's own numbers, which are as large and as exact as they like."""

from __future__ import annotations

import math
import struct
from array import array as stdlib_array
from collections.abc import Sequence
from itertools import zip_longest
from operator import attrgetter
from typing import Any, TypeVar

from .. import AnyArray, _bridge
from .kinds import Kind
from .memory import row_at_least
from .places import refuse_misfit

_Elements = TypeVar("_Elements", bound="list[Any] | stdlib_array[Any]")


def array_of_flat(numbers: list[Any], shape: tuple[int, ...], kind: Kind) -> AnyArray:
    """A new array with the numbers, which stand there row by row."""
    has_imaginary = any(isinstance(number, complex) for number in numbers)
    imag = list(map(attrgetter("imag"), numbers)) if has_imaginary else None
    return _array_of_parts(list(map(attrgetter("real"), numbers)), imag, shape, kind)


def fit_array(array: AnyArray, kind: Kind, rank: int) -> AnyArray:
    """A new array with the numbers of a whole one, which came in `rank` dimensions."""
    shape = array.size[-rank:] if rank else ()
    stored = (array.real(), array.imag()) if array._is_complex else (array._data, None)
    rows = [None if part is None else in_storage_order(list(part), shape[::-1]) for part in stored]
    return _array_of_parts(rows[0] or [], rows[1], shape, kind)


def in_storage_order(elements: _Elements, shape: tuple[int, ...]) -> _Elements:
    """Elements that stand row by row, column by column instead.

    With the dimensions in reverse it is the way back.
    """
    if len(shape) < 2:
        return elements
    ordered: Any = elements[:0]
    for column in range(shape[-1]):
        line: Any = elements[column :: shape[-1]]
        ordered += in_storage_order(line, shape[:-1])
    in_order: _Elements = ordered
    return in_order


def _array_of_parts(
    real: list[Any], imag: list[Any] | None, shape: tuple[int, ...], kind: Kind
) -> AnyArray:
    """Of numbers whose parts stand there row by row."""

    def refuse_where(refused: Sequence[Any]) -> None:
        index = next((index for index, truth in enumerate(refused) if truth), None)
        if index is not None:
            value = real[index] if imag is None else complex(real[index], imag[index])
            raise refuse_misfit(kind, value, _place_of(index, shape))

    if kind.code == "b":
        parts = [stdlib_array("b", [bool(r or i) for r, i in zip_longest(real, imag or ())])]
    elif not kind.is_complex:
        refuse_where(imag or ())
        parts = [_fit_part(real, kind, refuse_where)]
    else:
        both = (real, imag or [0] * len(real))
        parts = [_fit_part(part, kind, refuse_where) for part in both]
    stored = stdlib_array(
        parts[0].typecode, bytes(sum(len(each) * each.itemsize for each in parts))
    )
    for place, part in enumerate(parts):
        stored[place :: len(parts)] = in_storage_order(part, shape)
    return _bridge.adopt(stored, kind.format, row_at_least(shape))


def _fit_part(part: list[Any], kind: Kind, refuse_where: Any) -> stdlib_array[Any]:
    letter: Any = kind.letter
    fitted: stdlib_array[Any] = stdlib_array(letter)
    try:
        if kind.code == "f":
            fitted = stdlib_array(letter, map(float, part))
            fits = not any(map(math.isinf, fitted)) or all(_fits(each, kind) for each in part)
        else:
            whole = list(map(int, part))
            fits = whole == part
            fitted = stdlib_array(letter, whole)
    except (OverflowError, ValueError):
        fits = False
    if not fits:
        refuse_where([not _fits(number, kind) for number in part])
    return fitted


def _fits(number: Any, kind: Kind) -> bool:
    try:
        exact = float(number) if kind.code == "f" else int(number)
        struct.pack("<" + kind.letter, exact)  # "f" alone would not mind overflow
    except (OverflowError, ValueError, struct.error):
        return False
    return kind.code == "f" or exact == number


def _place_of(index: int, shape: tuple[int, ...]) -> tuple[int, ...]:
    place: list[int] = []
    for extent in reversed(shape):
        index, subscript = divmod(index, extent)
        place.insert(0, subscript)
    return tuple(place)
