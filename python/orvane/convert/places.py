"""How refusals name the first element that they are about."""

from __future__ import annotations

from collections.abc import Iterable, Iterator
from contextlib import contextmanager
from typing import TYPE_CHECKING, Any

if TYPE_CHECKING:
    import numpy as np


class Refusal(Exception):  # noqa: N818
    """Why something cannot be read, on its way out of the sequences and tables that it stands in.

    Each of them adds its subscript; what users see is made of it at the end, by `told`.
    """

    def __init__(
        self, error: type[Exception], noun: str, words: str, place: Iterable[Any] = ()
    ) -> None:
        super().__init__(noun + words)
        self._error = error
        self._noun = noun
        self._words = words
        self.place = tuple(int(index) for index in place)

    def within(self, index: int, axis: int = 0) -> Refusal:
        """The same of a part of something larger."""
        if axis > len(self.place):  # it is about a column, and about no element of it
            self._noun, self._words = "", f"column {index}: {self._noun}{self._words}"
        else:
            self.place = (*self.place[:axis], index, *self.place[axis:])
        return self

    def told(self) -> Exception:
        if not self.place:
            return self._error(self._noun + self._words)
        joint = "" if self._noun else ": "
        where = f"{self._noun or 'the value'} at {subscripts(self.place)}"
        return self._error(f"{where}{joint}{self._words}")


@contextmanager
def named(where: str) -> Iterator[None]:
    """Refusals inside say first in what they happened, in which block for example."""
    try:
        yield
    except Refusal as refusal:
        told = refusal.told()
        raise type(told)(f"{where}: {told}") from None


def subscripts(place: Iterable[Any]) -> str:
    """ "[1][2]"; nothing where there is but one element."""
    return "".join(f"[{int(index)}]" for index in place)


def first_place(chosen: np.ndarray[Any, np.dtype[Any]]) -> tuple[Any, ...]:
    """Where the first truth stands, last dimension fastest."""
    import numpy as np

    return tuple(np.unravel_index(int(np.argmax(chosen)), chosen.shape))


def refuse_misfit(kind: object, value: object, place: Iterable[Any]) -> Refusal:
    if isinstance(value, int) and value.bit_length() > 256:
        value = (
            f"an integer of {value.bit_length()} bits"  # there is a limit to what can be written
        )
    return Refusal(ValueError, "the element", f", {value}, does not fit into {kind}", place)


def refuse_missing(word: object, place: Iterable[Any], advice: str) -> Refusal:
    return Refusal(ValueError, "the value", f" is missing ({word}): {advice}", place)


def refuse_shapes(shapes: Iterable[tuple[int, ...]]) -> ValueError:
    return ValueError(f"the parts differ in shape: {' and '.join(map(str, sorted(shapes)))}")


def refuse_type(words: str) -> Refusal:
    """Of what holds no numbers, or none that arrays can have."""
    return Refusal(TypeError, "", words)
