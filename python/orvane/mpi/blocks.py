"""Arrays as MPI sees them: what lies where, in MPI's own types. Nothing is copied to be sent."""

from __future__ import annotations

from collections.abc import Iterator, Sequence
from contextlib import ExitStack
from typing import TYPE_CHECKING, Any, NamedTuple

from .. import ARRAY_TYPES, AnyArray
from ..convert.exports import to_numpy, writable
from ..convert.kinds import Kind, kind_of
from ..convert.memory import row_at_least
from .engine import engine
from .shares import starts_of

if TYPE_CHECKING:
    from numpy.typing import NDArray

_KINDS = {
    kind.format: kind
    for kind in (Kind(each, is_complex) for each in ARRAY_TYPES for is_complex in (False, True))
}


MOST = 2**31 - 1
"""What MPI counts with an `int` before its fourth version."""


class Form(NamedTuple):
    """What ranks have to agree on: the kind of the elements, and the dimensions, two at least."""

    format: str
    size: tuple[int, ...]

    @property
    def kind(self) -> Kind:
        return _KINDS[self.format]

    def make(self) -> AnyArray:
        return self.kind.make(size=self.size)

    def extent(self, axis: int) -> int:
        return self.size[axis] if axis < len(self.size) else 1

    def of_extent(self, axis: int, extent: int) -> Form:
        """The same with another extent along a dimension, which may be one beyond the last."""
        size = [*self.size, *[1] * (axis + 1 - len(self.size))]
        size[axis] = extent
        return Form(self.format, _trimmed(tuple(size)))

    def __str__(self) -> str:
        return f"{self.kind} of size {self.size}"


def _trimmed(size: tuple[int, ...]) -> tuple[int, ...]:
    """As sizes of arrays are: of dimensions of one at the end, those beyond the second go."""
    while len(size) > 2 and size[-1] == 1:
        size = size[:-1]
    return size


class Block:
    """An array or view, lent for as long as the stack stays open that comes with it."""

    def __init__(self, array: AnyArray, owned: ExitStack, is_written: bool = False) -> None:
        if not isinstance(array, ARRAY_TYPES):
            raise TypeError(f"expected an orvane array, got {type(array).__name__}")
        self.array: AnyArray = array
        self.kind = kind_of(array)
        self._owned = owned
        lent: NDArray[Any] = owned.enter_context(writable(array)) if is_written else to_numpy(array)
        self.numbers = lent.reshape(row_at_least(lent.shape))  # which moves nothing
        self.form = Form(self.kind.format, _trimmed(self.numbers.shape))

    @property
    def has_gaps(self) -> bool:
        return not self.numbers.flags.f_contiguous

    def part(self, axis: int, start: int, extent: int) -> NDArray[Any]:
        numbers = self.numbers
        while numbers.ndim <= axis:
            numbers = numbers[..., None]
        return numbers[(slice(None),) * axis + (slice(start, start + extent),)]

    def set_apart(self, other: Block) -> None:
        """Has elements of its own from now on if the other may have the same: MPI wants that."""
        import numpy as np

        if np.may_share_memory(self.numbers, other.numbers):
            self.numbers = self.numbers.copy(order="F")

    def place(self) -> Any:
        """Where the elements begin, for mpi4py."""
        return engine().memory.fromaddress(_address(self.numbers), 0)

    def message(self) -> list[Any]:
        """The elements as mpi4py takes messages: place, count and type.

        Where they have no gaps, so many of them, as far as MPI counts; else one of a type that says
        where each lies.
        """
        is_line = not self.has_gaps and self.numbers.size <= MOST
        if is_line or not self.numbers.size:
            return [self.place(), self.numbers.size, self._element()]
        return [self.place(), 1, self.layout(self.numbers)]

    def messages(self, counts: Sequence[int]) -> list[Any]:
        """The elements, which have no gaps, as messages that follow each other, of so many each."""
        return [self.place(), counts, starts_of(counts), self._element()]

    def layout(self, part: NDArray[Any]) -> Any:
        """MPI's type that says where each element of a part lies, seen from the block's place."""
        made = self._element()
        offset = _address(part) - _address(self.numbers)
        if part.flags.f_contiguous and part.size <= MOST:
            return self._keep(made.Create_hindexed([part.size], [offset])).Commit()
        run: int | None = part.itemsize  # so many bytes without a gap
        for extent, stride in zip(part.shape, part.strides, strict=True):
            if extent == 1:
                continue
            is_next = stride == run
            made = (
                self._keep(made.Create_contiguous(extent))
                if is_next
                else self._stepping(made, extent, stride)
            )
            run = extent * stride if is_next else None
        return self._keep(made.Create_hindexed([1], [offset])).Commit()

    def _stepping(self, of: Any, extent: int, stride: int) -> Any:
        """So many of a type, each so many bytes behind the one before.

        Open MPI takes a step of -1 byte for none given, and leaves the array on the wrong side. So
        single bytes that lie backwards go by pairs.
        """
        if stride != -1:
            return self._keep(of.Create_hvector(extent, 1, stride))
        pair = self._keep(of.Create_hindexed_block(1, [0, -1]))
        pairs = self._keep(pair.Create_hvector(extent // 2, 1, -2))
        if extent % 2 == 0:
            return pairs
        return self._keep(engine().Datatype.Create_struct([1, 1], [0, 1 - extent], [pairs, of]))

    def in_line(self) -> NDArray[Any]:
        """The elements without gaps, where MPI's operations can work on them; a copy if need be."""
        return self.numbers.copy("F") if self.has_gaps else self.numbers

    def is_at(self, other: Block) -> bool:
        """Whether both are the very same elements."""
        mine, theirs = self.numbers, other.numbers
        return _address(mine) == _address(theirs) and mine.strides == theirs.strides

    def terms_of(self, line: NDArray[Any], op: Any) -> Iterator[list[Any]]:
        """The messages for an operation on elements without gaps, which the caller keeps."""
        flat = line.reshape(-1, order="F")
        for start in range(0, flat.size, MOST // 2):
            yield self._terms(flat[start : start + MOST // 2], op)

    def _terms(self, numbers: NDArray[Any], op: Any) -> list[Any]:
        """Of complex integers, each part is a number by itself."""
        place = engine().memory.fromaddress(_address(numbers), 0)
        if op.is_predefined and is_pair(self.kind):
            return [place, 2 * numbers.size, engine().Datatype.fromcode(self.kind.letter)]
        return [place, numbers.size, self._element()]

    def _element(self) -> Any:
        """MPI's type of an element; of complex integers, which it does not know, two in a row."""
        datatype, kind = engine().Datatype, self.kind
        if is_pair(kind):
            return self._keep(datatype.fromcode(kind.letter).Create_contiguous(2)).Commit()
        return datatype.fromcode(kind.letter.upper() if kind.is_complex else kind.letter)

    def _keep(self, made: Any) -> Any:
        self._owned.callback(made.Free)
        return made


def _address(numbers: NDArray[Any]) -> int:
    address: int = numbers.__array_interface__["data"][0]
    return address


def is_pair(kind: Kind) -> bool:
    """Whether an element is two integers."""
    return kind.is_complex and kind.code != "f"
