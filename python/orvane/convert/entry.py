"""`asarray`, as it is called."""

from __future__ import annotations

from typing import TYPE_CHECKING, TypeVar, overload

from .. import AnyArray
from .kinds import read_wish
from .places import Refusal
from .reading import read_array

if TYPE_CHECKING:
    from typing import Any, Literal

    import orvane

_ArrayT = TypeVar("_ArrayT", bound=AnyArray)


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
    type: Literal["double", "float64"],
    *,
    is_complex: bool | None = None,
    copy: bool | None = None,
) -> orvane.double[Any]: ...
@overload
def asarray(
    obj: object,
    type: Literal["single", "float32"],
    *,
    is_complex: bool | None = None,
    copy: bool | None = None,
) -> orvane.single[Any]: ...
@overload
def asarray(
    obj: object,
    type: Literal["int8"],
    *,
    is_complex: bool | None = None,
    copy: bool | None = None,
) -> orvane.int8[Any]: ...
@overload
def asarray(
    obj: object,
    type: Literal["uint8"],
    *,
    is_complex: bool | None = None,
    copy: bool | None = None,
) -> orvane.uint8[Any]: ...
@overload
def asarray(
    obj: object,
    type: Literal["int16"],
    *,
    is_complex: bool | None = None,
    copy: bool | None = None,
) -> orvane.int16[Any]: ...
@overload
def asarray(
    obj: object,
    type: Literal["uint16"],
    *,
    is_complex: bool | None = None,
    copy: bool | None = None,
) -> orvane.uint16[Any]: ...
@overload
def asarray(
    obj: object,
    type: Literal["int32"],
    *,
    is_complex: bool | None = None,
    copy: bool | None = None,
) -> orvane.int32[Any]: ...
@overload
def asarray(
    obj: object,
    type: Literal["uint32"],
    *,
    is_complex: bool | None = None,
    copy: bool | None = None,
) -> orvane.uint32[Any]: ...
@overload
def asarray(
    obj: object,
    type: Literal["int64"],
    *,
    is_complex: bool | None = None,
    copy: bool | None = None,
) -> orvane.int64[Any]: ...
@overload
def asarray(
    obj: object,
    type: Literal["uint64"],
    *,
    is_complex: bool | None = None,
    copy: bool | None = None,
) -> orvane.uint64[Any]: ...
@overload
def asarray(
    obj: object,
    type: Literal["logical", "bool"],
    *,
    is_complex: bool | None = None,
    copy: bool | None = None,
) -> orvane.logical: ...
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
    try:
        return read_array(obj, read_wish(type, is_complex, copy))
    except Refusal as refusal:
        raise refusal.told() from None
