"""Tensors by DLPack's protocol."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

from .. import ARRAY_TYPES, AnyArray, _bridge

if TYPE_CHECKING:
    from numpy.typing import NDArray
    from typing_extensions import CapsuleType

_VERSION = (1, 0)
_CPU = (1, 0)


class Tensor:
    """What ``from_dlpack`` of other libraries takes; made by `to_dlpack`."""

    def __init__(self, array: AnyArray, writable: bool) -> None:
        self._array = array
        self._writable = writable

    def __dlpack__(
        self,
        *,
        stream: object = None,
        max_version: tuple[int, int] | None = None,
        dl_device: tuple[int, int] | None = None,
        copy: bool | None = None,
    ) -> CapsuleType:
        if dl_device is not None and tuple(map(int, dl_device)) != _CPU:
            raise BufferError("the elements lie in the memory of the CPU, and nowhere else")
        is_versioned = max_version is not None and max_version[0] >= _VERSION[0]
        return _bridge.to_capsule(self._array, is_versioned, self._writable, copy)

    def __dlpack_device__(self) -> tuple[int, int]:
        return _CPU


def to_dlpack(array: AnyArray, *, writable: bool = False) -> Tensor:
    """The elements of an array or view, without a copy, for ``from_dlpack`` of other libraries.

    They are marked read-only unless ``writable=True``. Some libraries ignore that mark, and some
    know only an older form that cannot say so: they raise BufferError, and need ``writable=True``.
    BufferError for complex integers, which DLPack does not have.
    """
    if not isinstance(array, ARRAY_TYPES):
        raise TypeError(f"expected an orvane array, got {type(array).__name__}")
    return Tensor(array, writable)


def from_dlpack(x: Any, *, copy: bool | None = None) -> AnyArray:
    """An array of a tensor: an object with ``__dlpack__``, or a capsule that it gave.

    The memory is shared where it is in column-major order, and copied elsewhere; ``copy=False``
    refuses that, ``True`` always copies. Memory that is marked read-only, or may be so, is shared
    until the first assignment, which takes a copy.
    """
    if not hasattr(x, "__dlpack__"):
        return _bridge.from_capsule(x, copy)
    try:
        capsule = x.__dlpack__(max_version=_VERSION)
    except TypeError:  # it knows the older form only
        capsule = x.__dlpack__()
    return _bridge.from_capsule(capsule, copy)


class _Checked:
    """Hands on the tensors of an object that do not contradict themselves."""

    def __init__(self, x: Any) -> None:
        self._x = x

    def __dlpack__(self, **words: Any) -> CapsuleType:
        capsule: CapsuleType = self._x.__dlpack__(**words)
        _bridge.check_capsule(capsule)
        return capsule

    def __dlpack_device__(self) -> Any:
        return self._x.__dlpack_device__()


def ndarray_from_dlpack(x: Any) -> NDArray[Any]:
    """What NumPy makes of a tensor, with the dimensions that it has, and of more types than arrays.

    ValueError for what NumPy cannot read either.
    """
    import numpy as np

    try:
        numbers: NDArray[Any] = np.from_dlpack(_Checked(x))
    except BufferError as error:
        raise ValueError(str(error)) from error
    return numbers
