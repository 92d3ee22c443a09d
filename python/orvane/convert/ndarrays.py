"""Arrays of NumPy's, and arrays for NumPy's functions to read."""

from __future__ import annotations

from collections.abc import Iterator, Sequence
from contextlib import contextmanager
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .. import AnyArray, _bridge
from .fitting import fit
from .kinds import Kind, Wish, common_kind, kind_of_dtype
from .memory import refuse_copy, row_at_least
from .places import Refusal, first_place, refuse_missing, refuse_shapes, refuse_type

_ADVICE = {
    "O": "give numbers, or the type to convert them to by .astype",
    "M": "convert dates to numbers first: .astype('int64'), or a difference of them",
    "m": "convert differences of times to numbers first: x / numpy.timedelta64(1, 's')",
    "g": "give a type, such as type='double'",
}


def without_mask(numbers: NDArray[Any]) -> NDArray[Any]:
    """The elements below a mask that hides none; ValueError where it hides some."""
    if type(numbers) is np.ndarray:
        return numbers
    if isinstance(numbers, np.ma.MaskedArray):
        # The mask may be one truth value for all elements.
        mask: NDArray[Any] = np.asarray(numbers.mask)
        if mask.dtype.names:
            mask = np.any([mask[name] for name in mask.dtype.names], axis=0)
        mask = np.broadcast_to(mask, numbers.shape)
        if mask.any():
            word = f"one of {int(mask.sum())} that are masked"
            advice = "give x.filled(value), or x.compressed() for those that are there"
            raise refuse_missing(word, first_place(mask), advice)
        numbers = numbers.data
    return np.asarray(numbers)


def array_of(numbers: NDArray[Any], wish: Wish) -> AnyArray:
    """An array of the numbers, as the wish says; of another's memory where that can be."""
    numbers = without_mask(numbers)
    source = source_kind(numbers, wish)
    kind = wish.kind_for(source)
    reason = _why_not_shared(numbers, kind)
    if reason is None and wish.copy is not True:
        return _bridge.adopt(numbers, kind.format, row_at_least(numbers.shape))
    if reason is not None and wish.copy is False:
        raise refuse_copy(reason.format(source=numbers.dtype, kind=kind))
    if _is_readable_as_block(numbers, kind):
        # It reorders whole blocks at once, but wants formats without a mark of byte order.
        return kind.make(numbers.view(kind.dtype))
    fitted = fit(numbers, kind)
    if fitted is numbers or not fitted.flags.f_contiguous:
        fitted = np.array(fitted, kind.dtype, order="F", copy=True)
    return _bridge.adopt(fitted, kind.format, row_at_least(fitted.shape))


def stacked(parts: Sequence[NDArray[Any]], axis: int, wish: Wish) -> NDArray[Any]:
    """The parts side by side. Where they differ in type, each becomes what the whole will be.

    So nothing goes through a type that holds less than its own and the one that is wished.
    """
    if not parts:
        return np.zeros((0, 0))
    shapes = {part.shape for part in parts}
    if len(shapes) > 1:
        raise refuse_shapes(shapes)
    if any(part.dtype != parts[0].dtype for part in parts):
        kinds = []
        for place, part in enumerate(parts):
            with located(place, axis):
                kinds.append(source_kind(part, wish))
        kind = wish.kind_for(common_kind(kinds))
        fitted = []
        for place, part in enumerate(parts):
            with located(place, axis):
                fitted.append(fit(part, kind))
        parts = fitted
    if axis == 0:
        return np.array(parts)
    (shape,) = shapes
    shape = (*shape[:axis], len(parts), *shape[axis:])
    whole = np.empty(shape, parts[0].dtype, order="F")
    for place, part in enumerate(parts):
        whole[(slice(None),) * axis + (place,)] = part
    return whole


@contextmanager
def located(index: int, axis: int = 0) -> Iterator[None]:
    """What is refused inside is a part of something larger."""
    try:
        yield
    except Refusal as refusal:
        raise refusal.within(index, axis) from None


def source_kind(numbers: NDArray[Any], wish: Wish) -> Kind:
    dtype = numbers.dtype
    kind = kind_of_dtype(dtype)
    if kind is not None:
        return kind
    if dtype.kind == "f" and (dtype.itemsize < 4 or wish.array_type):
        kind = kind_of_dtype(np.dtype("f4"))  # which holds all that fewer bits do
    elif dtype.kind == "c" and wish.array_type:
        kind = kind_of_dtype(np.dtype("c16"))
    if kind is None:
        advice = _ADVICE.get("g" if dtype.kind in "fc" else dtype.kind, "give numbers")
        raise refuse_type(f"arrays have no elements of NumPy's type {dtype}: {advice}")
    return kind


def _is_readable_as_block(numbers: NDArray[Any], kind: Kind) -> bool:
    """Whether the constructor takes the memory as it is."""
    is_plain = numbers.dtype == kind.dtype and numbers.dtype.isnative and not numbers.dtype.names
    has_block = bool(numbers.size and numbers.ndim) and numbers.flags.c_contiguous
    return is_plain and has_block and _is_aligned(numbers, kind)


def _is_aligned(numbers: NDArray[Any], kind: Kind) -> bool:
    """As the elements of arrays are. (NumPy does not ask for it in structures.)"""
    if not numbers.dtype.names:
        return numbers.flags.aligned
    address: int = numbers.__array_interface__["data"][0]
    return address % kind.part_size == 0 or not numbers.size


def _why_not_shared(numbers: NDArray[Any], kind: Kind) -> str | None:
    """A reason, in which {source} and {kind} stand for what takes long to write."""
    dtype, wanted = numbers.dtype, kind.dtype
    if dtype != wanted:
        if not dtype.isnative and dtype.newbyteorder() == wanted:
            return "their bytes are in the other order"
        return "they are of type {source} and become {kind}"
    if not _is_aligned(numbers, kind):
        return "they are not aligned"
    if not numbers.flags.f_contiguous:
        return "they do not lie in column-major order without gaps"
    if not numbers.flags.writeable:
        return "they are read-only"
    return None
