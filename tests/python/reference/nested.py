"""From nested Python values to shapes and elements, and the four forms of construction."""

import itertools
import math
from collections.abc import Iterator
from typing import Any

from ovexceptions import ShapeError, SizeError

from .elements import Kind, Stored, is_sequence

ABSENT: Any = object()
"""Stands for the value that a deletion does not have."""

NOT_NUMERIC = "value passed to initializer must be numeric."
NOT_RECTANGULAR = "arrays must be rectangular."


def without_trailing_ones(dims: list[int]) -> list[int]:
    while len(dims) > 2 and dims[-1] == 1:
        dims = dims[:-1]
    return dims


def places(dims: list[int]) -> Iterator[tuple[int, ...]]:
    """All positions in a shape, the last dimension running fastest."""
    return itertools.product(*map(range, dims))


def storage_order(dims: list[int], elements: list[Stored]) -> list[Stored]:
    """Reorders elements from the order of nesting to the order of storage, first index fastest."""
    if not elements:
        return []  # whatever extents the empty ones stand beside
    by_place = dict(zip(places(dims), elements, strict=True))
    return [by_place[place[::-1]] for place in places(dims[::-1])]


def item_of(value: Any, i: int) -> Any:
    try:
        return value[i]
    except Exception:
        raise RuntimeError("null data pointer.") from None


def agreed_length(value: Any) -> int:
    """The length of a sequence whose direct children are all alike: scalars, or of one length."""
    length = len(value)
    if length < 2:
        return length
    items = (item_of(value, i) for i in range(length))
    lengths = (len(item) if is_sequence(item) else None for item in items)
    first = next(lengths)
    if any(other != first for other in lengths):
        raise ValueError("elements of array are of different lengths or types.")
    return length


class Walk:
    """Collects the elements of a nested value, depth first, and the shape of its nesting."""

    def __init__(self, kind: Kind, value: Any, constructing: bool) -> None:
        self.kind = kind
        self.constructing = constructing
        self.elements: list[Stored] = []
        self.dims: list[int] = []
        self._leaf_depth = 0
        self._visit(value, 0)
        if len(self.elements) != math.prod(self.dims):
            raise ValueError(NOT_RECTANGULAR)

    def _visit(self, value: Any, depth: int) -> None:
        if value is ABSENT:
            raise RuntimeError("null data pointer.")
        if not is_sequence(value):
            self._leaf(value, depth)
            return
        if isinstance(value, str):
            raise ValueError(NOT_NUMERIC)
        length = agreed_length(value)
        if depth == len(self.dims):
            self.dims.append(0)
        for i in range(length):
            self._visit(item_of(value, i), depth + 1)
        if self.dims[depth] == 0:
            self.dims[depth] = length
        elif length != self.dims[depth]:
            raise ValueError(NOT_RECTANGULAR)

    def _leaf(self, value: Any, depth: int) -> None:
        stored = self.kind.convert(value, self.constructing)
        if self._leaf_depth not in (0, depth):
            raise ValueError(NOT_RECTANGULAR)
        self._leaf_depth = depth
        self.elements.append(stored)
        if not self.dims:
            self.dims = [1, 1]


def read_size(size: Any) -> list[int]:
    if not is_sequence(size):
        raise TypeError("value of 'size' must be a sequence.")
    if not (length := len(size)):
        raise ValueError("sequence passed to 'size' must not be empty.")
    dims = []
    for i in range(length):
        item = size[i]
        if not isinstance(item, int):
            raise TypeError("dimensions must be nonnegative integers.")
        if not 0 <= item < 2**63:
            raise ValueError(
                "size cannot contain negative dimensions. Use nonnegative integers for dimensions."
            )
        dims.append(int(item))
    return [1, *dims] if len(dims) == 1 else without_trailing_ones(dims)


def mismatch(kind: type[Exception], found: list[int], size: list[int]) -> Exception:
    found_text, size_text = (", ".join(map(str, dims)) for dims in (found, size))
    return kind(
        f"dimensions of initializer ({found_text}) do not match "
        f"dimensions specified by 'size' ({size_text})."
    )


def is_storage_run(found: list[int], size: list[int]) -> bool:
    """Checks what was found against `size`; says whether it is a flat run in storage order."""
    if not size or found == size:
        return False
    if math.prod(found) != math.prod(size):
        raise mismatch(ShapeError, found, size)
    if len(found) == 1 and found[0] >= 1:
        return True
    if math.prod(size) == 0:
        return False
    raise mismatch(SizeError, found, size)


def construct(
    kind: Kind, initializer: Any = None, size: Any = None, vector: Any = None
) -> tuple[list[int], list[Stored]]:
    """The shape and the elements, in storage order, that a constructor call makes."""
    if vector is not None and initializer is not None:
        raise TypeError("initializer and 'vector' must not both be specified.")
    dims = [] if size is None else read_size(size)
    if vector is not None:
        return _from_vector(kind, dims, vector)
    if initializer is None:
        dims = dims or [0, 0]
        return dims, [kind.zero] * math.prod(dims)
    if isinstance(initializer, str):
        raise ValueError(NOT_NUMERIC)
    walk = Walk(kind, initializer, constructing=True)
    found = walk.dims
    if len(found) == 1:
        if not dims:
            found = [int(found[0] > 0), found[0]]
        elif found[0] != math.prod(dims):
            raise mismatch(ShapeError, found, dims)
    found = without_trailing_ones(found)
    if is_storage_run(found, dims):
        return dims, walk.elements
    return dims or found, storage_order(found, walk.elements)


def _from_vector(kind: Kind, dims: list[int], vector: Any) -> tuple[list[int], list[Stored]]:
    if not is_sequence(vector):
        raise ValueError("value of 'vector' must be a sequence.")
    if isinstance(vector, str):
        raise ValueError("value passed to 'vector' must be numeric.")
    length = len(vector)
    found = [length] if dims else [1, length]
    is_storage_run(found, dims)
    elements = []
    for i in range(length):
        item = vector[i]
        if is_sequence(item):
            raise TypeError("value of 'vector' must be an unnested sequence.")
        try:
            elements.append(kind.convert(item, constructing=True))
        except (TypeError, OverflowError) as refusal:
            raise ValueError(str(refusal)) from None
    return dims or found, elements
