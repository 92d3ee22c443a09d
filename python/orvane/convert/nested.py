"""Arrays of numbers and of nested sequences of them."""

from __future__ import annotations

from collections.abc import Iterable
from typing import Any

from .. import AnyArray, double, int64, logical, uint64
from .kinds import Kind
from .places import refuse_missing, subscripts

NUMBERS = (bool, int, float, complex)


def array_at_once(values: list[Any] | tuple[Any, ...]) -> AnyArray | None:
    """An array of floats or of integers, if a look at their nesting and at the first one is enough.

    The constructors refuse what does not fit to the first, but not foreign sequences, whose items
    may be anything.
    """
    first = type(_first_leaf(values))
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


def leaf_types(values: Iterable[Any]) -> set[type]:
    """The types of all that stands in a nesting of lists, tuples and ranges."""
    types = set(map(type, values))
    nested = types & {list, tuple, range}
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


def array_of_numbers(values: Any, leaves: set[type], wanted: Kind | None) -> AnyArray:
    """An array of plain numbers, of the kind that holds them all, or `wanted` if that does."""
    if complex in leaves:
        return _made(Kind(double, True), values)
    if float in leaves or not leaves:
        return _made(Kind(double), values)
    if leaves == {bool}:
        return _made(Kind(logical), values)
    if wanted is not None and wanted.code == "f" and wanted.part_size == 8:
        return _made(wanted, values)
    try:
        return int64(values)
    except OverflowError:
        return _made(Kind(uint64), values)


def _made(kind: Kind, values: Any) -> AnyArray:
    try:
        return kind.make(values)
    except OverflowError:
        integers = (each for each in _leaves(values) if isinstance(each[1], int))
        place, value = next(each for each in integers if not _fits(kind, each[1]))
        raise ValueError(
            f"the integer at {subscripts(place)}, {value}, is too large for {kind}"
        ) from None


def _fits(kind: Kind, value: int) -> bool:
    try:
        kind.make(value)
    except OverflowError:
        return False
    return True


def refuse_what_is_no_number(values: Any) -> None:
    """TypeError or ValueError that names the first value, with its place, that is none."""
    for place, value in _leaves(values):
        if value is None:
            raise refuse_missing(None, place, "put a number there, float('nan') for example")
        if isinstance(value, (str, bytes, dict, set)):
            where = subscripts(place)
            raise TypeError(f"the value at {where}, {value!r}, is no number")


def _leaves(values: Any, place: tuple[int, ...] = ()) -> Iterable[tuple[tuple[int, ...], Any]]:
    if isinstance(values, (list, tuple, range)):
        for index, value in enumerate(values):
            yield from _leaves(value, (*place, index))
    else:
        yield place, values
