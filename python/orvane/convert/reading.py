"""Who reads what."""

from __future__ import annotations

import sys
from contextlib import suppress
from typing import TYPE_CHECKING, Any

from .. import ARRAY_TYPES, AnyArray, _bridge
from .._numpy import has_numpy, require_numpy
from .dlpack import from_dlpack, ndarray_from_dlpack
from .formats import read_format
from .kinds import Wish, kind_of
from .memory import array_copied_from, array_over, refuse_copy, shape_of, why_not_shared
from .nested import NUMBERS, array_of_numbers, shape_of_nested
from .places import Refusal, refuse_type
from .sequences import (
    array_of_plain,
    joined,
    name_of,
    ndarray_of_sequence,
    refuse_leaf,
    sequence_of,
)

if TYPE_CHECKING:
    from numpy.typing import NDArray

_OF_LIBRARIES = {"pandas", "polars", "pyarrow", "torch", "jax", "jaxlib", "h5py", "zarr"}
_ARRAY_METHODS = ("__array__", "__array_interface__", "__array_struct__")


def read_array(obj: Any, wish: Wish) -> AnyArray:
    """An array of whatever holds numbers; `Refusal` on the way to who asks."""
    if isinstance(obj, ARRAY_TYPES):
        return _converted(obj, wish, is_own=False)
    if isinstance(obj, NUMBERS):
        return _of_number(obj, wish)
    if type(obj) is list or type(obj) is tuple:
        return _of_sequence(obj, wish)
    if wish.copy is False and _is_never_shared(obj):
        raise refuse_copy(f"those of {name_of(obj)} have to be gathered")
    numbers = _ndarray_of_library(obj, wish)
    if numbers is not None:
        return _of_ndarray(numbers, obj, wish)
    view = _view_of(obj)
    if view is not None:
        return _of_memory(view, wish)
    if hasattr(type(obj), "__dlpack__"):
        try:
            array = from_dlpack(obj, copy=wish.copy)
        except BufferError as error:
            numbers = None
            if wish.copy is not False:  # NumPy may know how to widen what no array has
                with suppress(ImportError, RuntimeError, TypeError):
                    numbers = _ndarray_by_protocol(obj, wish)
            if numbers is None:
                raise ValueError(str(error)) from error
            return _of_ndarray(numbers, obj, wish)
        return _converted(array, wish, is_own=wish.copy is True)
    numbers = _ndarray_by_protocol(obj, wish)
    if numbers is not None:
        return _of_ndarray(numbers, obj, wish)
    return _of_sequence(sequence_of(obj), wish)


def _converted(array: AnyArray, wish: Wish, is_own: bool, rank: int | None = None) -> AnyArray:
    """The array as the wish says; `is_own` when nobody else has it.

    `rank` is the number of dimensions in which the elements came.
    """
    source = kind_of(array)
    kind = wish.kind_for(source)
    if kind == source:
        return _bridge.copy(array) if wish.copy and not is_own else array
    if wish.copy is False and not is_own:
        raise refuse_copy(f"they are of type {source} and become {kind}")
    rank = len(array.size) if rank is None else rank
    if not has_numpy():
        from .plain_fitting import fit_array

        return fit_array(_bridge.copy(array), kind, rank)
    from .exports import to_numpy
    from .ndarrays import array_of

    numbers = to_numpy(array)
    came = numbers[0] if rank < numbers.ndim else numbers
    return array_of(came, Wish(kind.array_type, kind.is_complex, None))


# --- memory -------------------------------------------------------------------------------------


def _view_of(obj: Any) -> memoryview | None:
    try:
        return memoryview(_bridge.Shown(obj))
    except TypeError:
        return None


def _of_memory(view: memoryview, wish: Wish) -> AnyArray:
    told = read_format(view.format, view.itemsize)
    if told is None:
        require_numpy(f"to read a buffer of format {view.format!r}")
        import numpy as np

        from .ndarrays import array_of

        try:
            numbers = np.asarray(view)
        except (ValueError, RuntimeError):
            raise refuse_type(f"arrays have no elements of the format {view.format!r}") from None
        return array_of(numbers, wish)
    source, is_swapped = told
    reason = why_not_shared(view, is_swapped)
    if reason is None and wish.copy is not True:
        try:
            array = array_over(view, source)
        except ValueError:
            reason = "they are not aligned"
        else:
            return _converted(array, wish, is_own=False, rank=view.ndim)
    if wish.copy is False:
        raise refuse_copy(reason or "a copy is asked for")
    array = array_copied_from(view, source, is_swapped)
    return _converted(array, wish, is_own=True, rank=view.ndim)


# --- NumPy and those that speak its language ----------------------------------------------------


def _libraries_of(obj: Any) -> set[str]:
    modules = (getattr(each, "__module__", None) for each in type(obj).__mro__)
    return {str(module).partition(".")[0] for module in modules}


def _ndarray_of_library(obj: Any, wish: Wish) -> NDArray[Any] | None:
    """What NumPy's arrays and the objects of known libraries hold; none for all others."""
    # Another thread may be importing it.
    ndarray: Any = getattr(sys.modules.get("numpy"), "ndarray", ())
    if isinstance(obj, ndarray):
        return _with_numbers(obj, wish)
    names = _libraries_of(obj)
    if "numpy" in names:
        import numpy as np

        # Classes of others that have grown out of one of its own tell what they like.
        if isinstance(obj, (np.generic, np.nditer)):
            return _with_numbers(np.asarray(obj), wish)
        numbers = _ndarray_by_protocol(obj, wish)
        if numbers is not None:
            return numbers
    if not names.isdisjoint(_OF_LIBRARIES):
        if "torch" in names and not has_numpy():
            return None  # DLPack does for most
        require_numpy(f"to read {name_of(obj)}")
        from .libraries import READERS

        for name in names & _OF_LIBRARIES:
            numbers = READERS[name](obj, ndarray_of, wish)
            if numbers is not None:
                return _with_numbers(numbers, wish)
    return None


def _of_ndarray(numbers: NDArray[Any], obj: Any, wish: Wish) -> AnyArray:
    """An array of what an object holds in NumPy's words."""
    from .ndarrays import array_of

    if wish.copy is False and numbers is not obj and _is_gathered(numbers, obj, wish):
        raise refuse_copy(f"those of {name_of(obj)} have to be gathered")
    return array_of(numbers, wish)


def _is_never_shared(obj: Any) -> bool:
    """Whether the elements lie in files or in chunks, or are yet to be computed."""
    in_chunks = getattr(obj, "chunks", None) is not None
    return in_chunks or not _libraries_of(obj).isdisjoint(("h5py", "zarr", "dask"))


def _is_gathered(numbers: NDArray[Any], obj: Any, wish: Wish) -> bool:
    """Whether these are elements made for who asked: who asks again then gets others."""
    import numpy as np

    again = _ndarray_of_library(obj, wish)
    if again is None:
        again = _ndarray_by_protocol(obj, wish)
    return again is None or bool(numbers.size and not np.may_share_memory(numbers, again))


def _ndarray_by_protocol(obj: Any, wish: Wish) -> NDArray[Any] | None:
    has_method = any(hasattr(type(obj), name) for name in _ARRAY_METHODS)
    if not has_method and not isinstance(getattr(obj, "__array_interface__", None), dict):
        return None
    require_numpy(f"to read {name_of(obj)}")
    from .interfaces import ndarray_by_protocol

    numbers = ndarray_by_protocol(obj)
    return None if numbers is None else _with_numbers(numbers, wish)


def _with_numbers(numbers: NDArray[Any], wish: Wish) -> NDArray[Any]:
    """What holds objects holds numbers, or sequences of them, or is refused."""
    holds_objects = numbers.dtype.kind == "O" and numbers.ndim
    return ndarray_of(numbers.tolist(), wish) if holds_objects else numbers


def ndarray_of(obj: Any, wish: Wish) -> NDArray[Any]:
    """NumPy's array of whatever `asarray` reads, with the dimensions that it has there.

    Its elements are of the type that is wished only where they would not be exact otherwise.
    """
    from .exports import to_numpy
    from .ndarrays import source_kind, without_mask

    refuse_leaf(obj)
    if isinstance(obj, ARRAY_TYPES):
        return to_numpy(obj)
    if isinstance(obj, NUMBERS):
        return to_numpy(array_of_numbers([obj], {type(obj)}, wish))[0, 0, ...]
    numbers = _ndarray_of_library(obj, wish)
    view = _view_of(obj) if numbers is None else None
    if view is not None:
        return to_numpy(_of_memory(view, wish)).reshape(shape_of(view), order="F")
    if numbers is None:
        numbers = _ndarray_by_protocol(obj, wish)
    if numbers is None and hasattr(type(obj), "__dlpack__"):
        numbers = ndarray_from_dlpack(obj)
    if numbers is None:
        return ndarray_of_sequence(sequence_of(obj), wish, ndarray_of)
    numbers = without_mask(numbers)
    source_kind(numbers, wish)  # or it is refused
    return numbers


# --- numbers and sequences ----------------------------------------------------------------------


def _of_number(number: Any, wish: Wish) -> AnyArray:
    try:
        return _of_sequence([[number]], wish)
    except Refusal as refusal:
        refusal.place = ()
        raise


def _of_sequence(values: list[Any] | tuple[Any, ...], wish: Wish) -> AnyArray:
    if wish.copy is False:
        raise refuse_copy("a sequence of numbers has no memory to share")
    array = array_of_plain(values, wish)
    if array is not None:
        if wish.array_type is None and wish.is_complex is None:
            return array
        return _converted(array, wish, is_own=True, rank=len(shape_of_nested(values)) or None)
    wish = wish._replace(copy=None)  # what is made here is nobody else's
    if has_numpy():
        from .ndarrays import array_of

        return array_of(ndarray_of_sequence(values, wish, ndarray_of), wish)
    array, shape = joined(values, wish, _with_shape)
    return _converted(array, wish, is_own=True, rank=len(shape))


def _with_shape(obj: Any, wish: Wish) -> tuple[AnyArray, tuple[int, ...]]:
    """An array of whatever can be read without NumPy, with the dimensions that it has there."""
    refuse_leaf(obj)
    if isinstance(obj, NUMBERS):
        return array_of_numbers([obj], {type(obj)}, wish), ()
    if isinstance(obj, ARRAY_TYPES):
        return obj, obj.size
    view = _view_of(obj)
    if view is not None:
        return _of_memory(view, wish), shape_of(view)
    if hasattr(type(obj), "__dlpack__"):
        array = read_array(obj, wish)
        return array, array.size
    if _ndarray_of_library(obj, wish) is None:
        _ndarray_by_protocol(obj, wish)  # both ask for NumPy
    values = sequence_of(obj)
    plain = array_of_plain(values, wish)
    return joined(values, wish, _with_shape) if plain is None else (plain, shape_of_nested(values))
