"""What others see of arrays: NumPy's arrays over their elements, and lists."""

from __future__ import annotations

from collections.abc import Iterator
from contextlib import AbstractContextManager, contextmanager
from typing import TYPE_CHECKING, Any, overload

from .. import ARRAY_TYPES, AnyArray, _bridge
from .._numpy import has_numpy, require_numpy

if TYPE_CHECKING:
    import numpy as np
    from numpy.typing import NDArray

    import orvane

    _ComplexIntegers = (
        orvane.int8[complex]
        | orvane.int16[complex]
        | orvane.int32[complex]
        | orvane.int64[complex]
        | orvane.uint8[complex]
        | orvane.uint16[complex]
        | orvane.uint32[complex]
        | orvane.uint64[complex]
    )


def _refuse_others(array: Any) -> None:
    if not isinstance(array, ARRAY_TYPES):
        raise TypeError(f"expected an orvane array, got {type(array).__name__}")


def _lent(array: Any, writable: bool) -> _bridge.Elements:
    _refuse_others(array)
    return _bridge.Elements(array, writable=writable)


@overload
def to_numpy(
    array: orvane.double[float], *, copy: bool | None = None, writable: bool = False
) -> NDArray[np.float64]: ...
@overload
def to_numpy(
    array: orvane.single[float], *, copy: bool | None = None, writable: bool = False
) -> NDArray[np.float32]: ...
@overload
def to_numpy(
    array: orvane.int8[int], *, copy: bool | None = None, writable: bool = False
) -> NDArray[np.int8]: ...
@overload
def to_numpy(
    array: orvane.int16[int], *, copy: bool | None = None, writable: bool = False
) -> NDArray[np.int16]: ...
@overload
def to_numpy(
    array: orvane.int32[int], *, copy: bool | None = None, writable: bool = False
) -> NDArray[np.int32]: ...
@overload
def to_numpy(
    array: orvane.int64[int], *, copy: bool | None = None, writable: bool = False
) -> NDArray[np.int64]: ...
@overload
def to_numpy(
    array: orvane.uint8[int], *, copy: bool | None = None, writable: bool = False
) -> NDArray[np.uint8]: ...
@overload
def to_numpy(
    array: orvane.uint16[int], *, copy: bool | None = None, writable: bool = False
) -> NDArray[np.uint16]: ...
@overload
def to_numpy(
    array: orvane.uint32[int], *, copy: bool | None = None, writable: bool = False
) -> NDArray[np.uint32]: ...
@overload
def to_numpy(
    array: orvane.uint64[int], *, copy: bool | None = None, writable: bool = False
) -> NDArray[np.uint64]: ...
@overload
def to_numpy(
    array: orvane.logical, *, copy: bool | None = None, writable: bool = False
) -> NDArray[np.bool_]: ...
@overload
def to_numpy(
    array: orvane.double[complex], *, copy: bool | None = None, writable: bool = False
) -> NDArray[np.complex128]: ...
@overload
def to_numpy(
    array: orvane.single[complex], *, copy: bool | None = None, writable: bool = False
) -> NDArray[np.complex64]: ...
@overload
def to_numpy(
    array: _ComplexIntegers, *, copy: bool | None = None, writable: bool = False
) -> NDArray[np.void]: ...
def to_numpy(array: Any, *, copy: bool | None = None, writable: bool = False) -> NDArray[Any]:
    """A NumPy array of the elements of an array or view, with the very shape that ``size`` tells.

    It lies over the elements, without a copy, and sees what is assigned to them; ``copy=True``
    gives it elements of its own. ``writable=True`` lets NumPy write to them; `writable` does so for
    a time. Complex integers become structures of the parts ``real`` and ``imag``.
    """
    require_numpy("orvane.to_numpy")
    import numpy as np

    elements = _lent(array, writable and not copy)
    return np.array(elements, copy=True, order="F") if copy else np.asarray(elements)


def writable(array: AnyArray) -> AbstractContextManager[Any]:
    """A context in which others may write to the elements of an array or view.

    What it gives lies over the elements: a writable NumPy array; a writable memoryview where NumPy
    is not installed. When the context ends it goes on showing them, but is read-only. Other NumPy
    arrays that were made of it inside must not be written to afterwards.
    """
    _refuse_others(array)
    return _lent_for_writing(array)


@contextmanager
def _lent_for_writing(array: AnyArray) -> Iterator[Any]:
    elements = _lent(array, writable=True)
    try:
        if not has_numpy():
            with memoryview(elements) as view:
                yield view
        else:
            import numpy as np

            numbers = np.asarray(elements)
            try:
                yield numbers
            finally:
                numbers.flags.writeable = False
    finally:
        elements.close()


def tolist(array: AnyArray) -> list[Any]:
    """The elements that an array or view shows, in nested lists."""
    _refuse_others(array)
    # What a pickle holds is the fastest list that there is, and for whole arrays the right one.
    _, (_, nested) = _bridge.copy(array).__reduce__()
    shown: list[Any] = nested if len(array.size) > 1 else nested[0]
    return shown
