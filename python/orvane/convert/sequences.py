"""Nested sequences of whatever `asarray` reads."""

from __future__ import annotations

import math
from array import array as stdlib_array
from collections.abc import Callable
from itertools import islice
from typing import TYPE_CHECKING, Any

from .. import ARRAY_TYPES, AnyArray, _bridge, uint64
from .kinds import Kind, Wish, common_kind, kind_of, kind_of_dtype
from .memory import row_at_least
from .nested import (
    NUMBERS,
    SEQUENCES,
    TOGETHER,
    array_at_once,
    array_of_numbers,
    flattened,
    is_plain,
    leaf_types,
    shape_of_nested,
)
from .places import Refusal, refuse_missing, refuse_shapes, refuse_type
from .plain_fitting import array_of_flat, fit_array

if TYPE_CHECKING:
    from numpy.typing import NDArray

#: What gives the numbers of objects that look like sequences, or like nothing.
_HINTS = {"toarray": "; give x.toarray()", "collect": "; give x.collect()"}


def name_of(obj: object) -> str:
    return f"an object of type {type(obj).__name__}"


def sequence_of(obj: Any) -> list[Any] | tuple[Any, ...]:
    """A sequence of whatever kind, but for text, as a list or tuple."""
    if isinstance(obj, (list, tuple)):
        return obj
    hint = next((hint for name, hint in _HINTS.items() if hasattr(obj, name)), "")
    is_sequence = hasattr(obj, "__len__") and hasattr(obj, "__getitem__")
    if hint or not is_sequence or isinstance(obj, (str, dict)) or hasattr(obj, "keys"):
        raise refuse_type(f"no numbers can be read from {name_of(obj)}{hint}")
    items, values = islice(obj, len(obj)), []  # they need not end by themselves
    while some := list(islice(items, TOGETHER)):
        values += some
    return values


def array_of_plain(
    values: list[Any] | tuple[Any, ...], wish: Wish, leaves: set[type] | None = None
) -> AnyArray | None:
    """An array of Python's numbers, or of arrays of one type; it may need converting.

    None where the values, whose `leaf_types` may be given, are of more types than that.
    """
    array = array_at_once(values, wish)
    if array is not None:
        return array
    leaves = leaves or leaf_types(values)
    if is_plain(leaves):
        return array_of_numbers(values, leaves, wish)
    return _array_of_arrays(values) if len(leaves) == 1 and leaves.issubset(ARRAY_TYPES) else None


def _array_of_arrays(values: list[Any] | tuple[Any, ...]) -> AnyArray | None:
    """Of arrays of one type."""
    if any(isinstance(each, SEQUENCES) for each in values):
        return None
    kind = kind_of(values[0])
    # The constructors round complex integers of 64 bits.
    if kind.is_complex > (kind.code == "f") or any(kind_of(each) != kind for each in values):
        return None
    try:
        return kind.make(values)
    except ValueError:
        return None  # whoever reads them one by one knows why


def ndarray_of_sequence(
    values: list[Any] | tuple[Any, ...],
    wish: Wish,
    read: Callable[[Any, Wish], NDArray[Any]],
) -> NDArray[Any]:
    """NumPy's array of what `read` reads of the values."""
    from .exports import to_numpy
    from .fitting import fit
    from .ndarrays import source_kind, stacked

    leaves = leaf_types(values)
    numbers = _ndarray_at_once(values, leaves)
    if numbers is not None:
        return numbers
    array = array_of_plain(values, wish, leaves)
    if array is None:
        array = _array_of_scalars(values, wish, leaves)
    if array is not None:
        return to_numpy(array).reshape(shape_of_nested(values), order="F")
    parts = []
    for index, value in enumerate(values):
        try:
            part = read(value, wish)
            if wish.array_type is not None:  # so that what is refused is the first
                part = fit(part, wish.kind_for(source_kind(part, wish)))
        except Refusal as refusal:
            raise refusal.within(index) from None
        parts.append(part)
    return stacked(parts, 0, wish)


def _ndarray_at_once(values: list[Any] | tuple[Any, ...], leaves: set[type]) -> NDArray[Any] | None:
    """Of NumPy's numbers of one type, or of its arrays of one type and shape."""
    import numpy as np

    if len(leaves) != 1:
        return None
    (leaf,) = leaves
    if leaf is np.ndarray and type(values[0]) is leaf:
        dtypes = {getattr(value, "dtype", None) for value in values}
    else:
        dtypes = {np.dtype(leaf) if _is_number_of_numpy(leaf) else None}
    dtype = dtypes.pop()
    if dtypes or dtype is None or dtype.kind not in "biufc":
        return None
    try:
        return np.array(values)
    except ValueError:
        return None  # they differ in shape


def _is_number_of_numpy(leaf: type) -> bool:
    import numpy as np

    return issubclass(leaf, (np.number, np.bool_)) and leaf.__module__ == "numpy"


def _array_of_scalars(
    values: list[Any] | tuple[Any, ...], wish: Wish, leaves: set[type]
) -> AnyArray | None:
    """Of Python's and NumPy's numbers of several types."""
    import numpy as np

    kinds = []
    for leaf in leaves:
        is_known = leaf in NUMBERS or _is_number_of_numpy(leaf)
        kind = kind_of_dtype(np.dtype(leaf)) if is_known else None
        if kind is None:
            return None
        kinds.append(kind)
    flat, shape = flattened(values)
    numbers = [each.item() if isinstance(each, np.generic) else each for each in flat]
    if any(type(each) is int and each >= 2**63 for each in flat):
        kinds.append(Kind(uint64))
    return array_of_flat(numbers, shape, wish.kind_for(common_kind(kinds)))


def joined(
    values: list[Any] | tuple[Any, ...],
    wish: Wish,
    read: Callable[[Any, Wish], tuple[AnyArray, tuple[int, ...]]],
) -> tuple[AnyArray, tuple[int, ...]]:
    """An array of what `read` reads of the values, with its shape; without NumPy."""
    arrays, shapes = [], set()
    for index, value in enumerate(values):
        try:
            array, shape = read(value, wish)
            if wish.array_type is not None:  # so that what is refused is the first
                array = _fitted(array, wish.kind_for(kind_of(array)), shape)
        except Refusal as refusal:
            raise refusal.within(index) from None
        arrays.append(array)
        shapes.add(shape)
    if len(shapes) > 1:
        raise refuse_shapes(shapes)
    (shape,) = shapes
    kind = wish.kind_for(common_kind(map(kind_of, arrays)))
    letter: Any = "b" if kind.code == "b" else kind.letter
    units, whole = 1 + kind.is_complex, stdlib_array(letter)
    whole.frombytes(bytes(len(arrays) * math.prod(shape) * units * kind.part_size))
    for index, array in enumerate(arrays):
        try:
            fitted = _fitted(array, kind, shape)
        except Refusal as refusal:
            raise refusal.within(index) from None
        part = stdlib_array(letter, memoryview(_bridge.Elements(fitted)).tobytes("F"))
        for unit in range(units):
            whole[index * units + unit :: len(arrays) * units] = part[unit::units]
    shape = (len(arrays), *shape)
    return _bridge.adopt(whole, kind.format, row_at_least(shape)), shape


def _fitted(array: AnyArray, kind: Kind, shape: tuple[int, ...]) -> AnyArray:
    return array if kind_of(array) == kind else fit_array(_bridge.copy(array), kind, len(shape))


def refuse_leaf(value: Any) -> None:
    """What is often found among numbers and is none."""
    if value is None:
        raise refuse_missing(None, (), "put a number there, float('nan') for example")
    if isinstance(value, (str, dict, set)):
        raise Refusal(TypeError, "the value", f", {value!r}, is no number")
