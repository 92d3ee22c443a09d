"""`asarray`: who reads what."""

from __future__ import annotations

import sys
from contextlib import suppress
from typing import TYPE_CHECKING, Any, TypeVar, overload

from .. import ARRAY_TYPES, AnyArray, _bridge
from .._numpy import has_numpy, require_numpy
from .dlpack import from_dlpack
from .formats import read_format
from .kinds import Kind, Wish, kind_of, read_wish
from .memory import array_copied_from, array_over, refuse_copy, why_not_shared
from .nested import (
    NUMBERS,
    array_at_once,
    array_of_numbers,
    is_plain,
    leaf_types,
    refuse_what_is_no_number,
)

if TYPE_CHECKING:
    from numpy.typing import NDArray

_ArrayT = TypeVar("_ArrayT", bound=AnyArray)

_OF_LIBRARIES = {"pandas", "polars", "pyarrow", "jax", "jaxlib", "h5py", "zarr"}
_ARRAY_METHODS = ("__array__", "__array_interface__", "__array_struct__")


@overload
def asarray(
    obj: object,
    type: type[_ArrayT],
    *,
    is_complex: bool | None = None,
    copy: bool | None = None,
) -> _ArrayT: ...
@overload
def asarray(
    obj: object,
    type: object = None,
    *,
    is_complex: bool | None = None,
    copy: bool | None = None,
) -> AnyArray: ...
def asarray(
    obj: object,
    type: object = None,
    *,
    is_complex: bool | None = None,
    copy: bool | None = None,
) -> AnyArray:
    """An array of whatever holds numbers.

    ``obj``: an array, an exporter of buffers in any layout, what has DLPack's or NumPy's protocol,
    an object of pandas, Polars, PyArrow, PyTorch or JAX, nested sequences, a number. One dimension
    becomes a row.

    ``type`` says of which type the elements are: one of the eleven, its name, or a type of NumPy's;
    by default they stay what they are. ``is_complex`` is by default as in ``obj``. A value that
    does not fit is refused with its place: ValueError.

    ``copy=None`` shares the memory where it is writable, in column-major order and of the right
    type, and copies elsewhere; ``False`` insists on sharing, and ValueError says why it cannot be;
    ``True`` never shares. The array keeps the owner of the memory alive.

    ValueError for missing and masked values; TypeError for what holds no numbers.
    """
    return _array_of(obj, read_wish(type, is_complex, copy))


def _array_of(obj: Any, wish: Wish) -> AnyArray:
    if isinstance(obj, ARRAY_TYPES):
        return _converted(obj, wish, is_own=False)
    if isinstance(obj, NUMBERS):
        return _of_sequence([[obj]], wish)
    if type(obj) is list or type(obj) is tuple:
        return _of_sequence(obj, wish)
    numbers = _ndarray_of_library(obj)
    if numbers is not None:
        return _of_ndarray(numbers, obj, wish)
    view = _view_of(obj)
    if view is not None:
        return _of_memory(view, wish)
    if hasattr(obj, "__dlpack__"):
        try:
            array = from_dlpack(obj, copy=wish.copy)
        except BufferError as error:
            numbers = None
            if wish.copy is not False:  # NumPy may know how to widen what no array has
                with suppress(ImportError, RuntimeError, TypeError):
                    numbers = _ndarray_by_protocol(obj)
            if numbers is None:
                raise ValueError(str(error)) from error
            return _of_ndarray(numbers, obj, wish)
        return _converted(array, wish, is_own=wish.copy is True)
    numbers = _ndarray_by_protocol(obj)
    if numbers is not None:
        return _of_ndarray(numbers, obj, wish)
    return _of_sequence(_sequence_of(obj), wish)


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
        return memoryview(obj)
    except TypeError:
        return None


def _of_memory(view: memoryview, wish: Wish) -> AnyArray:
    told = read_format(view.format, view.itemsize)
    if told is None:
        require_numpy(f"to read a buffer of format {view.format!r}")
        import numpy as np

        from .ndarrays import array_of

        return array_of(np.asarray(view), wish)
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


def _ndarray_of_library(obj: Any) -> NDArray[Any] | None:
    """What NumPy's arrays and the objects of known libraries hold; none for all others."""
    loaded = sys.modules.get("numpy")
    if loaded is not None and isinstance(obj, loaded.ndarray):
        return _with_numbers(obj)
    modules = (getattr(each, "__module__", None) for each in type(obj).__mro__)
    names = {str(module).partition(".")[0] for module in modules}
    if "numpy" in names:
        import numpy as np

        return _with_numbers(np.asarray(obj))
    if not names.isdisjoint(_OF_LIBRARIES):
        require_numpy(f"to read {_name_of(obj)}")
        from .libraries import READERS

        for name in names & _OF_LIBRARIES:
            numbers = READERS[name](obj, ndarray_of)
            if numbers is not None:
                return _with_numbers(numbers)
    return None


def _of_ndarray(numbers: NDArray[Any], obj: Any, wish: Wish) -> AnyArray:
    """An array of what an object holds in NumPy's words."""
    from .ndarrays import array_of

    if wish.copy is False and numbers is not obj and _is_gathered(numbers, obj):
        raise refuse_copy(f"those of {_name_of(obj)} have to be gathered")
    return array_of(numbers, wish)


def _is_gathered(numbers: NDArray[Any], obj: Any) -> bool:
    """Whether these are elements made for who asked: who asks again then gets others."""
    import numpy as np

    again = _ndarray_of_library(obj)
    if again is None:
        again = _ndarray_by_protocol(obj)
    return again is None or bool(numbers.size and not np.may_share_memory(numbers, again))


def _ndarray_by_protocol(obj: Any) -> NDArray[Any] | None:
    if not any(hasattr(type(obj), name) for name in _ARRAY_METHODS):
        return None
    require_numpy(f"to read {_name_of(obj)}")
    import numpy as np

    return _with_numbers(np.asanyarray(obj))


def _with_numbers(numbers: NDArray[Any]) -> NDArray[Any]:
    """What holds objects holds numbers, or sequences of them, or is refused."""
    return ndarray_of(numbers.tolist()) if numbers.dtype.kind == "O" and numbers.ndim else numbers


def ndarray_of(obj: Any) -> NDArray[Any]:
    """NumPy's array of whatever `asarray` reads, with the dimensions that it has there."""
    import numpy as np

    from .ndarrays import stacked, without_mask

    if isinstance(obj, ARRAY_TYPES):
        from .exports import to_numpy

        return to_numpy(obj)
    numbers = None if isinstance(obj, NUMBERS) else _ndarray_of_library(obj)
    if numbers is None and not isinstance(obj, NUMBERS) and _view_of(obj) is None:
        numbers = _ndarray_by_protocol(obj)
    if numbers is not None:
        return without_mask(numbers)
    if isinstance(obj, NUMBERS) or _view_of(obj) is not None:
        return np.asarray(obj)
    if hasattr(obj, "__dlpack__"):
        tensor: NDArray[Any] = np.from_dlpack(obj)
        return tensor
    values = _sequence_of(obj)
    leaves = leaf_types(values)
    if is_plain(leaves):
        return np.array(values)
    refuse_what_is_no_number(values)
    return stacked([ndarray_of(value) for value in values], axis=0)


# --- sequences ----------------------------------------------------------------------------------


def _sequence_of(obj: Any) -> list[Any] | tuple[Any, ...]:
    """A sequence of whatever kind, but for text, as a list or tuple."""
    if isinstance(obj, (list, tuple)):
        return obj
    is_sequence = hasattr(obj, "__len__") and hasattr(obj, "__getitem__")
    if not is_sequence or isinstance(obj, (str, dict)) or hasattr(obj, "keys"):
        hint = "; give x.toarray()" if hasattr(obj, "toarray") else ""
        raise TypeError(f"no numbers can be read from {_name_of(obj)}{hint}")
    return list(obj)


def _of_sequence(values: list[Any] | tuple[Any, ...], wish: Wish) -> AnyArray:
    if wish.copy is False:
        raise refuse_copy("a sequence of numbers has no memory to share")
    is_nested = any(isinstance(value, (list, tuple, range)) for value in values)
    rank = None if is_nested else 1
    array = array_at_once(values)
    if array is not None:
        return _converted(array, wish, is_own=True, rank=rank)
    leaves = leaf_types(values)
    if is_plain(leaves):
        wanted = None if wish.array_type is None else Kind(wish.array_type, bool(wish.is_complex))
        array = array_of_numbers(values, leaves, wanted)
        return _converted(array, wish, is_own=True, rank=rank)
    refuse_what_is_no_number(values)
    require_numpy("to read other numbers than Python's")
    from .ndarrays import array_of

    return array_of(ndarray_of(values), wish)


def _name_of(obj: object) -> str:
    return f"an object of type {type(obj).__name__}"
