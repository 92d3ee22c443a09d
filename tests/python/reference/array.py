"""Arrays and views over plain lists: subscripts, assignment, iteration, comparison, methods."""

from __future__ import annotations

import math
import operator
from collections.abc import Iterator
from dataclasses import dataclass, field
from typing import Any

from ovexceptions import ShapeError

from .elements import Kind, Stored
from .nested import ABSENT, Walk, construct, places, storage_order, without_trailing_ones

TOO_MANY = "too many indices."
NO_SUBSCRIPT = "index is not an integer or slice."
OTHER_SHAPE = (
    "unable to perform assignment because the left and right sides have a different shape."
)
BAD_RESHAPE = "reshape() must be passed a nonempty sequence of nonnegative integers."


@dataclass(frozen=True)
class Narrowing:
    """The positions start, start + step, ... of one dimension, as far as stop in the step's
    direction. A stop below zero is a bound like any other and does not count from the end."""

    start: int
    stop: int
    step: int
    length: int

    def positions(self) -> range:
        return range(self.start, self.stop, self.step)


NOTHING = Narrowing(0, 0, 1, 0)


def read_slice(subscript: slice, length: int) -> Narrowing:
    """Measures a slice against a length, with this module's word for a step that is no step."""
    try:
        step = 1 if subscript.step is None else operator.index(subscript.step)
    except Exception:
        step = 0
    if step == 0:
        raise ValueError("slice step cannot be zero.")
    step = max(-(2**63 - 1), min(step, 2**63 - 1))
    start, stop, _ = slice(subscript.start, subscript.stop, step).indices(length)
    count = len(range(start, stop, step))
    return Narrowing(start, stop, step, count) if count else NOTHING


def compose(new: Narrowing, old: Narrowing) -> Narrowing:
    """Reads a slice in the coordinates of the slice that stands before it."""
    positions = old.positions()
    start = new.start
    if new.length == 0:
        new, start = NOTHING, 0
    else:
        start = max(0, min(start, old.length - 1))
    if not positions:
        return old
    if start >= len(positions):
        return NOTHING
    length = min(new.length, len(positions))
    step = new.step * old.step
    return Narrowing(positions[start], positions[start] + length * step, step, length)


@dataclass
class Storage:
    """What all views of one array share: a shape and the elements, first index fastest."""

    kind: Kind
    shape: list[int]
    elements: list[Stored]

    def pack(self) -> bytes:
        return b"".join(map(self.kind.pack, self.elements))

    def strides(self) -> list[int]:
        return [math.prod(self.shape[:d]) for d in range(len(self.shape))]

    def offset(self, indices: list[int]) -> int | None:
        """The place in storage, or none where the indices lead outside the elements."""
        offset = sum(i * stride for i, stride in zip(indices, self.strides(), strict=False))
        return offset if 0 <= offset < len(self.elements) else None

    def read(self, indices: list[int]) -> Any:
        offset = self.offset(indices)
        if offset is None:
            raise IndexError(f"index has an invalid value: {indices[-1]}")
        return self.kind.read(self.elements[offset])

    def write(self, indices: list[int], stored: Stored) -> None:
        offset = self.offset(indices)
        if offset is None:
            raise RuntimeError("unable to set value.")
        self.elements[offset] = stored


@dataclass
class Bounds:
    """Start, stop and step of every dimension under a chain; a fixed dimension has step 0."""

    shape: list[int]
    fixed: list[int]
    narrowed: Narrowing | None

    def of(self, dimension: int) -> tuple[int, int, int]:
        if dimension < len(self.fixed):
            return self.fixed[dimension], self.fixed[dimension] + 1, 0
        if dimension == len(self.fixed) and self.narrowed is not None:
            return self.narrowed.start, self.narrowed.stop, self.narrowed.step
        return 0, self.shape[dimension], 1

    def start(self, count: int) -> list[int]:
        """The first position; a dimension that the shape has not got starts at 0."""
        return [self.of(d)[0] if d < len(self.shape) else 0 for d in range(count)]

    def contain(self, indices: list[int]) -> bool:
        if len(indices) > len(self.shape):
            return False
        for d, index in enumerate(indices):
            start, stop, step = self.of(d)
            if step >= 0:
                stop += self.shape[d] if stop < 0 else 0
                if not start <= index < stop:
                    return False
            elif index > start:
                return False
            elif stop < 0:
                return True
            elif index <= stop:
                return False
        return True

    def advance(self, indices: list[int]) -> bool:
        """Moves to the next position, last dimension fastest; false at the end."""
        for d in reversed(range(len(indices))):
            start, stop, step = self.of(d)
            current = indices[d]
            if step < 0:
                if not stop < current <= start:
                    return False
                fits = current + step > stop
            else:
                if step == 0 or not start <= current < stop:
                    return False
                fits = current + step < stop
            if fits:
                indices[d:] = [current + step, *self.start(len(indices))[d + 1 :]]
                return True
        return False


@dataclass(eq=False)
class View:
    """An array, or what a chain of subscripts left of one."""

    storage: Storage
    fixed: list[int] = field(default_factory=list)
    narrowed: Narrowing | None = None
    snapshot: Storage | None = None
    exported: Storage | None = None

    @classmethod
    def make(cls, kind: Kind, *values: Any, **keywords: Any) -> View:
        return cls(Storage(kind, *construct(kind, *values, **keywords)))

    @property
    def shape(self) -> list[int]:
        return self.storage.shape

    def bounds(self) -> Bounds:
        return Bounds(self.shape, self.fixed, self.narrowed)

    def _require_free_dimension(self) -> int:
        if len(self.fixed) >= len(self.shape):
            raise RuntimeError(TOO_MANY)
        return len(self.fixed)

    # Reading

    def __len__(self) -> int:
        active = self._require_free_dimension()
        return self.shape[active] if self.narrowed is None else self.narrowed.length

    @property
    def size(self) -> tuple[int, ...]:
        sliced = self.narrowed is not None
        if len(self.fixed) + sliced > len(self.shape):
            raise RuntimeError(TOO_MANY)
        rest = self.shape[len(self.fixed) + sliced :]
        return (self.narrowed.length, *rest) if sliced else tuple(rest)

    def __getitem__(self, subscript: Any) -> Any:
        if isinstance(subscript, int):
            return self._item(as_ssize(subscript))
        if type(subscript) is not slice:
            raise RuntimeError(NO_SUBSCRIPT)
        new = read_slice(subscript, len(self))
        if self.narrowed is not None:
            new = compose(new, self.narrowed)
        return View(self.storage, list(self.fixed), new)

    def _item(self, i: int) -> Any:
        length = len(self)
        if not -length <= i < length:
            raise IndexError(f"index has an invalid value: {i}")
        place = i + length if i < 0 else i
        if self.narrowed is not None:
            place = self.narrowed.positions()[place]
        indices = [*self.fixed, place]
        if len(indices) == len(self.shape):
            return self.storage.read(indices)
        return View(self.storage, indices)

    def nested(self, indices: list[int]) -> list[Any]:
        """Everything below a prefix of indices as nested lists."""
        depth = len(indices)
        if depth >= len(self.shape):
            return []
        read = self.storage.read if depth == len(self.shape) - 1 else self.nested
        return [read([*indices, i]) for i in range(self.shape[depth])]

    def to_list(self) -> list[Any]:
        """What the view selects as nested lists."""
        if self.narrowed is None:
            return self.nested(self.fixed)
        read = self.storage.read if len(self.fixed) + 1 == len(self.shape) else self.nested
        try:
            return [read([*self.fixed, place]) for place in self.narrowed.positions()]
        except IndexError:
            raise RuntimeError("unable to set list item.") from None

    def __str__(self) -> str:
        return str(self.to_list()).replace(" ", "")

    def __repr__(self) -> str:
        tail = ", is_complex=True" if self.storage.kind.is_complex else ""
        return f"orvane.{self.storage.kind.name}({self}{tail})"

    def __iter__(self) -> ViewIterator:
        return ViewIterator(self)

    # Assignment

    def __delitem__(self, subscript: Any) -> None:
        self[subscript] = ABSENT

    def __setitem__(self, subscript: Any, value: Any) -> None:
        active = self._require_free_dimension()
        length = self.shape[active]  # of the whole dimension, whatever slice stands in the chain
        last = active == len(self.shape) - 1
        if isinstance(subscript, int):
            self._assign_at(as_ssize(subscript), length, value, last)
        elif type(subscript) is not slice:
            raise RuntimeError(NO_SUBSCRIPT)
        elif last:
            self._assign_run(read_slice(subscript, length).positions(), value)
        else:
            self._assign_block(read_slice(subscript, length), value)

    def _assign_at(self, index: int, length: int, value: Any, last: bool) -> None:
        if not -length <= index < length:
            raise IndexError(f"index has an invalid value: {index}")
        place = index + length if index < 0 else index
        if self.narrowed is not None:
            positions = self.narrowed.positions()
            if place >= len(positions):
                raise RuntimeError("unable to index into slice.")
            place = positions[place]
        indices = [*self.fixed, place]
        if last:
            if value is ABSENT:
                raise RuntimeError("null data pointer.")
            self.storage.write(indices, self.storage.kind.convert(value, constructing=False))
            return
        walk = Walk(self.storage.kind, value, constructing=False)
        rest = self.shape[len(indices) :]
        if walk.dims != rest:
            raise ValueError(OTHER_SHAPE)
        for below, stored in zip(places(rest), walk.elements, strict=True):
            self.storage.write([*indices, *below], stored)

    def _assign_run(self, positions: range, value: Any) -> None:
        walk = Walk(self.storage.kind, value, constructing=False)
        if len(walk.dims) != 1 or len(walk.elements) != len(positions):
            raise ValueError(OTHER_SHAPE)
        for place, stored in zip(positions, walk.elements, strict=True):
            self.storage.write([*self.fixed, place], stored)

    def _assign_block(self, new: Narrowing, value: Any) -> None:
        elements = Walk(self.storage.kind, value, constructing=False).elements
        if elements and new.length == 0:
            raise ValueError(
                "slice is empty, but number of elements assigned is greater than zero."
            )
        if not elements:
            if new.length:
                raise ValueError("slice is nonempty but values are empty.")
            return
        composed = new if self.narrowed is None else compose(new, self.narrowed)
        bounds = Bounds(self.shape, self.fixed, composed)
        indices = bounds.start(len(self.shape))
        written, more = 0, True
        while more and written < len(elements):
            self.storage.write(indices, elements[written])
            written += 1
            more = bounds.advance(indices)
        if more or written < len(elements):
            raise ValueError("length of slice does not match number of elements.")

    # Methods

    def reshape(self, *args: Any, **kwargs: Any) -> View:
        if self.fixed:
            raise RuntimeError("reshape() not supported for a partial array.")
        if not args:
            raise ValueError(BAD_RESHAPE)
        given = args[0] if len(args) == 1 else args
        if not isinstance(given, list | tuple) or len(given) < 2:
            raise ValueError(BAD_RESHAPE)
        if not all(isinstance(d, int) and 0 <= d < 2**63 for d in given):
            raise ValueError(BAD_RESHAPE)
        dims = without_trailing_ones([int(d) for d in given])
        product, count = math.prod(dims), len(self.storage.elements)
        if product != count:
            raise ShapeError(
                f"number of elements specified by arguments to reshape() ({product % 2**64}) "
                f"does not match current number ({count})."
            )
        if kwargs:
            raise ValueError("reshape() does not accept keyword arguments.")
        self.storage.shape[:] = dims
        return self

    def materialise(self) -> Storage:
        """The selection as storage of its own; what the first call gave is given ever after."""
        if self.snapshot is None:
            walk = Walk(self.storage.kind, self.to_list(), constructing=True)
            dims = [1, *walk.dims] if len(walk.dims) == 1 else walk.dims
            if not walk.elements:
                self.snapshot = Storage(self.storage.kind, [0, *self.shape[1:]], [])
            else:
                elements = storage_order(dims, walk.elements)
                self.snapshot = Storage(self.storage.kind, dims, elements)
        return self.snapshot

    def clone(self) -> View:
        source = self.materialise()
        return View(Storage(source.kind, list(source.shape), list(source.elements)))

    def export(self) -> tuple[tuple[int, ...], bytes]:
        """Shape and bytes of the buffer; that of a view is the image of its first export."""
        if not self.fixed and self.narrowed is None:
            return tuple(self.shape), self.storage.pack()
        if self.exported is None:
            try:
                self.exported = self.clone().storage
            except Exception:
                raise RuntimeError("null data pointer.") from None
        return tuple(self.exported.shape), self.exported.pack()

    def reduce(self) -> tuple[dict[str, bool], list[Any]]:
        flags = {"is_complex": True} if self.storage.kind.is_complex else {}
        return flags, self.nested(self.fixed)

    def part(self, name: str) -> list[Any]:
        """`real`, `imag` or `noncomplex`: of the whole array in storage order."""
        if name == "noncomplex":
            if self.storage.kind.is_complex:
                raise ValueError("noncomplex() must not be called on a complex array.")
            return list(self.storage.elements)
        if not self.storage.kind.is_complex:
            raise ValueError("real() and imag() can be called only on a complex array.")
        return [stored[name == "imag"] for stored in self.storage.elements]

    def equals(self, other: View) -> bool:
        """Walks both side by side; an error inside an item goes through."""
        if self.storage.kind.element != other.storage.kind.element:
            return False
        ours, theirs = iter(self), iter(other)
        while True:
            first, second = next(ours, None), next(theirs, None)
            if first is None or second is None:
                return first is second
            if isinstance(first, View) != isinstance(second, View):
                return False
            same = first.equals(second) if isinstance(first, View) else first == second
            if not same:
                return False


class ViewIterator(Iterator[Any]):
    """Walks the first free dimension; sees a later reshape only through the indices it holds."""

    def __init__(self, view: View) -> None:
        active = len(view.fixed)
        self._view = View(view.storage, list(view.fixed), view.narrowed)
        self._yields_views = len(view.shape) - active > 1
        bounds = self._view.bounds()
        self._indices = bounds.start(active + 1)
        self._exhausted = not bounds.contain(self._indices)

    def __next__(self) -> Any:
        if len(self._indices) > len(self._view.shape):
            self._exhausted = True
        if self._exhausted:
            raise StopIteration
        indices = list(self._indices)
        self._exhausted = not self._view.bounds().advance(self._indices)
        if self._yields_views:
            return View(self._view.storage, indices)
        return self._view.storage.read(indices)


def as_ssize(value: int) -> int:
    if not -(2**63) <= value < 2**63:
        raise OverflowError("Python int too large to convert to C ssize_t")
    return int(value)
