from collections.abc import Sequence
from typing import Any, final, type_check_only

from typing_extensions import CapsuleType

from . import AnyArray

def adopt(source: Any, format: str, size: Sequence[int], /) -> AnyArray:
    """An array around the memory of another object.

    The format is that of the array's type, "d" or "Zi" for example. Memory that is exported
    read-only is copied at the first assignment. ValueError when the memory has gaps, is not aligned
    or is not of that size.
    """

def copy_memory(source: Any, format: str, size: Sequence[int], /) -> AnyArray:
    """An array of its own with the elements in the memory of another object.

    They lie there in storage order, aligned or not. ValueError when the memory has gaps or is not
    of that size.
    """

def copy(array: AnyArray, /) -> AnyArray:
    """An array of its own with the elements that an array or view shows."""

def to_capsule(
    array: AnyArray, versioned: bool, writable: bool, copy: bool | None, /
) -> CapsuleType:
    """The DLPack tensor of an array or view."""

def from_capsule(capsule: Any, copy: bool | None, /) -> AnyArray:
    """An array of a DLPack tensor."""

def check_capsule(capsule: Any, /) -> None:
    """BufferError for a DLPack tensor of whatever type that contradicts itself."""

@type_check_only
class _Exporter:
    """What exporters of buffers have at run time from Python 3.12 on."""

    def __buffer__(self, flags: int, /) -> memoryview: ...
    def __release_buffer__(self, buffer: memoryview, /) -> None: ...

@final
class Elements(_Exporter):
    """The elements of an array or view, lent, as an exporter of buffers."""

    def __new__(cls, array: AnyArray, /, writable: bool = False) -> Elements: ...
    def close(self) -> None:
        """Show the elements to nobody else, and write to them no more."""

@final
class Shown(_Exporter):
    """The memory of an exporter of buffers that does not contradict itself, for memoryviews.

    ValueError where it does.
    """

    def __new__(cls, exporter: Any, /) -> Shown: ...
