"""The form in which arrays travel. What has been written in it stays readable."""

from __future__ import annotations

import sys
from pickle import PickleBuffer
from typing import TYPE_CHECKING, Any

from .. import AnyArray

if TYPE_CHECKING:
    from typing_extensions import Buffer


class Elements:
    """The elements of an array on their way; a pickle has them as bytes, in column-major order."""

    def __init__(self, array: AnyArray) -> None:
        self._array = array

    def __reduce_ex__(self, protocol: Any) -> tuple[Any, ...]:
        block = self.block()
        return _as_they_are, (PickleBuffer(block) if protocol >= 5 else bytes(block),)

    def __deepcopy__(self, memo: object) -> Elements:
        return self  # `copied` has them copied once

    def block(self) -> memoryview | bytes:
        """The elements in storage order, byte by byte; lent, unless a view has to be gathered."""
        from .._bridge import Elements as Lent

        view = memoryview(Lent(self._array))
        # Whoever writes to files asks for row-major memory, which a line of bytes always is.
        return PickleBuffer(view).raw() if view.f_contiguous else view.tobytes("F")

    def copied(self) -> AnyArray:
        from .._bridge import copy

        return copy(self._array)


def _as_they_are(elements: Buffer) -> Buffer:
    return elements


def reduce_array(array: AnyArray) -> tuple[Any, ...]:
    """What ``__reduce__`` would give if arrays were pickled as blocks."""
    told = type(array), array.size, array._is_complex, Elements(array)
    return array_from_elements, told if sys.byteorder == "little" else (*told, sys.byteorder)


def array_from_elements(
    array_type: type[AnyArray],
    size: tuple[int, ...],
    is_complex: bool,
    elements: Buffer | Elements,
    byteorder: str = "little",
) -> AnyArray:
    """The array that `reduce_array` has told of, around the very block that was read."""
    if isinstance(elements, Elements):  # `copy` hands on what it has been given
        return elements.copied()
    from ..convert.kinds import Kind
    from ..convert.memory import array_of_bytes

    return array_of_bytes(elements, Kind(array_type, is_complex), size, byteorder != sys.byteorder)
