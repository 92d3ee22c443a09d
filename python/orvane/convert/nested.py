"""Arrays of numbers and of nested sequences of them."""

from __future__ import annotations

from collections.abc import Collection
from contextlib import suppress
from itertools import chain, islice
from typing import Any

from .. import ARRAY_TYPES, AnyArray, double, int64, logical, uint64
from .kinds import Kind, Wish
from .plain_fitting import array_of_flat

NUMBERS = (bool, int, float, complex)
SEQUENCES = (list, tuple, range)

#: So many items are gone through in one step of the interpreter, which answers no signals in it.
TOGETHER = 1 << 20


def array_at_once(values: list[Any] | tuple[Any, ...], wish: Wish) -> AnyArray | None:
    """An array of floats or of integers, if a look at their nesting and at the first one is enough.

    The constructors refuse what does not fit to the first, but not foreign sequences, whose items
    may be anything.
    """
    first = type(_first_leaf(values))
    wanted = None if wish.array_type is None else Kind(wish.array_type)
    if first is float and wanted and wanted.code in "iu" and leaf_types(values) != {float}:
        return None  # doubles would round the integers among them
    try:
        return double(values) if first is float else int64(values) if first is int else None
    except (TypeError, ValueError, OverflowError):
        return None  # whoever looks at all of them knows why


def _first_leaf(values: list[Any] | tuple[Any, ...]) -> Any:
    """The first of the values, if they stand in nothing but lists and tuples."""
    first = values[0] if values else None
    if not isinstance(first, (list, tuple)):
        return first
    if not {list, tuple}.issuperset(map(type, values)):
        return None
    leaves = list(map(_first_leaf, values))
    return None if any(leaf is None for leaf in leaves) else leaves[0]


def leaf_types(values: Collection[Any]) -> set[type]:
    """The types of all that stands in a nesting of lists, tuples and ranges."""
    items, types = iter(values), set[type]()
    for _ in range(0, len(values), TOGETHER):
        types.update(map(type, islice(items, TOGETHER)))
    nested = types & set(SEQUENCES)
    leaves = types - nested
    if nested:
        for value in values:
            if isinstance(value, range):
                leaves.add(int)
            elif isinstance(value, (list, tuple)):
                leaves |= leaf_types(value)
    return leaves


def is_plain(leaves: set[type]) -> bool:
    """Whether they are Python's own numbers, and nothing else."""
    return leaves <= set(NUMBERS)


def shape_of_nested(values: Any) -> tuple[int, ...]:
    """The extents of a nesting, of arrays too, as the first of each level tells them."""
    shape = []
    while isinstance(values, SEQUENCES):
        shape.append(len(values))
        values = values[0] if values else None
    return (*shape, *values.size) if isinstance(values, ARRAY_TYPES) else tuple(shape)


def flattened(values: Any) -> tuple[list[Any], tuple[int, ...]]:
    """The leaves of a nesting, row by row, and its extents; ValueError where it is ragged."""
    shape = shape_of_nested(values)
    flat = list(values)
    for extent in shape[1:]:
        if any(not isinstance(each, SEQUENCES) or len(each) != extent for each in flat):
            raise ValueError(_RAGGED)
        flat = list(chain.from_iterable(flat))
    if any(isinstance(each, SEQUENCES) for each in flat):
        raise ValueError(_RAGGED)
    return flat, shape


_RAGGED = "elements of array are of different lengths or types."


def array_of_numbers(values: Any, leaves: set[type], wish: Wish) -> AnyArray:
    """An array of plain numbers: of the kind that is wished, or easily becomes that."""
    natural = Kind(double, complex in leaves)
    if leaves and leaves.isdisjoint({float, complex}):
        natural = Kind(logical if leaves == {bool} else int64)
    kind = wish.kind_for(natural)
    # Of numbers of several types, doubles would not hold all that integers do.
    if len(leaves) < 2 or wish.array_type is None or kind.code == "f":
        with suppress(OverflowError):
            return natural.make(values)
    if wish.array_type is None and natural == Kind(int64):
        kind = Kind(uint64, kind.is_complex)
        with suppress(OverflowError):
            return uint64(values)
    return array_of_flat(*flattened(values), kind)
