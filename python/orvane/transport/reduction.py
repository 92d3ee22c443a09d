"""The form in which arrays travel. What has been written in it stays readable."""

from __future__ import annotations

import sys
from pickle import PickleBuffer
from typing import TYPE_CHECKING, Any

from .. import AnyArray

if TYPE_CHECKING:
    from typing_extensions import Buffer


class Carried:
    """An array on its way. A pickle has its elements as bytes, in column-major order."""

    __slots__ = ("_array",)

    def __init__(self, array: AnyArray) -> None:
        self._array = array

    def __reduce_ex__(self, protocol: Any) -> tuple[Any, ...]:
        array = self._array
        # Of what may be written to, pickles make a bytearray, in which an array can stay for good.
        elements = PickleBuffer(self.block(writable=True)) if protocol >= 5 else bytes(self.block())
        told = type(array), array.size, array._is_complex, elements
        return array_from_elements, told if sys.byteorder == "little" else (*told, sys.byteorder)

    def __deepcopy__(self, memo: object) -> Carried:
        return self  # `arrived` copies, and once is enough

    def block(self, writable: bool = False) -> memoryview:
        """The elements in storage order, byte by byte; lent, unless a view has to be gathered."""
        from .._bridge import Elements, copy

        view = memoryview(Elements(self._array, writable))
        if not view.f_contiguous:
            view = memoryview(Elements(copy(self._array), writable))
        # Whoever writes to files asks for row-major memory, which a line of bytes always is.
        return PickleBuffer(view).raw()

    def copied(self) -> AnyArray:
        from .._bridge import copy

        return copy(self._array)


def reduce_array(array: AnyArray) -> tuple[Any, ...]:
    """What ``__reduce__`` would give if arrays were pickled as blocks."""
    return arrived, (Carried(array),)


def arrived(array: AnyArray | Carried) -> AnyArray:
    """The array that a pickle has read; of what `copy` hands on as it is, a copy."""
    return array.copied() if isinstance(array, Carried) else array


def array_from_elements(
    array_type: type[AnyArray],
    size: tuple[int, ...],
    is_complex: bool,
    elements: Buffer,
    byteorder: str = "little",
) -> AnyArray:
    """The array that `Carried` has told of, around the very block that was read."""
    from ..convert.kinds import Kind
    from ..convert.memory import array_of_bytes

    return array_of_bytes(elements, Kind(array_type, is_complex), size, byteorder != sys.byteorder)
