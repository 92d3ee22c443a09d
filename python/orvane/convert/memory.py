"""Arrays of the memory that exporters of buffers show. None of it needs NumPy."""

from __future__ import annotations

import math
from array import array as stdlib_array
from typing import TYPE_CHECKING, Any

from .. import AnyArray, _bridge
from .kinds import Kind

if TYPE_CHECKING:
    from typing_extensions import Buffer


def row_at_least(shape: tuple[int, ...]) -> tuple[int, ...]:
    """The dimensions of the array for so many of a source: two at least, one is a row."""
    return (1,) * (2 - len(shape)) + shape


def shape_of(view: memoryview) -> tuple[int, ...]:
    return view.shape or ()


def why_not_shared(view: memoryview, is_swapped: bool) -> str | None:
    """What keeps an array from standing in this memory, as it would in its own."""
    if is_swapped:
        return "their bytes are in the other order"
    if not view.f_contiguous:
        return "they do not lie in column-major order without gaps"
    if view.readonly:
        return "they are read-only"
    return None


def refuse_copy(reason: str) -> ValueError:
    return ValueError(f"the elements cannot be shared: {reason}")


def array_over(view: memoryview, kind: Kind) -> AnyArray:
    """Without a copy; the array keeps the exporter. ValueError for what is not aligned."""
    return _bridge.adopt(view, kind.format, row_at_least(shape_of(view)))


def array_copied_from(view: memoryview, kind: Kind, is_swapped: bool) -> AnyArray:
    """With elements of its own, however they lie in the memory."""
    size = row_at_least(shape_of(view))
    if kind.is_complex or view.ndim < 2 or not math.prod(size):
        is_at_hand = view.f_contiguous and not is_swapped
        return _own_array(view if is_at_hand else view.tobytes("F"), kind, size, is_swapped)
    if not (view.c_contiguous and view.format == kind.letter):
        elements: Buffer = view.tobytes()
        letter: Any = kind.letter
        if is_swapped:
            elements = _swapped(elements, kind)
        view = memoryview(elements).cast("B").cast(letter, shape_of(view))
    return kind.make(view)  # which reorders whole blocks at once


def _own_array(elements: Buffer, kind: Kind, size: tuple[int, ...], is_swapped: bool) -> AnyArray:
    """Of elements in storage order, aligned or not."""
    if is_swapped:
        return _bridge.adopt(_swapped(elements, kind), kind.format, size)
    return _bridge.copy_memory(elements, kind.format, size)


def _swapped(elements: Buffer, kind: Kind) -> stdlib_array[int]:
    parts = stdlib_array({2: "H", 4: "I", 8: "Q"}[kind.part_size])
    parts.frombytes(memoryview(_bridge.Shown(elements)))  # what it reads, it believes
    parts.byteswap()
    return parts


def array_of_bytes(
    elements: Buffer, kind: Kind, size: tuple[int, ...], is_swapped: bool
) -> AnyArray:
    """An array around a block of bytes where it is aligned and in native order, else of a copy.

    Elements of one byte have no order. Bytes, which nobody may write to, are copied at once: the
    first assignment would move the elements otherwise, away from those who see them.
    """
    is_swapped = is_swapped and kind.part_size > 1
    if not is_swapped and not isinstance(elements, bytes):
        try:
            return _bridge.adopt(elements, kind.format, size)
        except ValueError:  # it says why, unless a copy does better
            pass
    return _own_array(elements, kind, size, is_swapped)
