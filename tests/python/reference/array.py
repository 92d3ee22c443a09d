"""Arrays and views over plain lists: subscripts, assignment, iteration, comparison, methods."""

from __future__ import annotations

import functools
import itertools
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
NOTHING = range(0)


def read_slice(subscript: slice, length: int) -> range:
    """The positions of a slice, with this module's word for a step that is no step."""
    try:
        step = 1 if subscript.step is None else operator.index(subscript.step)
    except Exception:
        step = 0
    if step == 0:
        raise ValueError("slice step cannot be zero.")
    step = max(-(2**63 - 1), min(step, 2**63 - 1))
    return range(*slice(subscript.start, subscript.stop, step).indices(length)) or NOTHING


def compose(new: range, old: range) -> range:
    """Reads a slice in the coordinates of the slice that stands before it."""
    if not old:
        return old
    first, step = old[min(new.start, len(old) - 1)], new.step * old.step
    return range(first, first + min(len(new), len(old)) * step, step)


@dataclass
class Storage:
    """What all views of one array share: a shape and the elements, first index fastest."""

    kind: Kind
    shape: list[int]
    elements: list[Stored]

    def pack(self) -> bytes:
        return b"".join(map(self.kind.pack, self.elements))

    def place(self, indices: list[int], refusal: Exception) -> int:
        """The place of an element; indices that lead outside the elements are refused."""
        strides = (math.prod(self.shape[:d]) for d in range(len(self.shape)))
        place = sum(map(operator.mul, indices, strides))
        if not 0 <= place < len(self.elements):
            raise refusal
        return place

    def read(self, indices: list[int]) -> Any:
        refusal = IndexError(f"index has an invalid value: {indices[-1]}")
        return self.kind.read(self.elements[self.place(indices, refusal)])

    def write(self, indices: list[int], stored: Stored) -> None:
        self.elements[self.place(indices, RuntimeError("unable to set value."))] = stored


@dataclass(eq=False)
class View:
    """An array, or what a chain of subscripts left of one."""

    storage: Storage
    fixed: list[int] = field(default_factory=list)
    narrowed: range | None = None
    snapshot: Storage | None = None
    exported: Storage | None = None

    @classmethod
    def make(cls, kind: Kind, *values: Any, **keywords: Any) -> View:
        return cls(Storage(kind, *construct(kind, *values, **keywords)))

    @property
    def shape(self) -> list[int]:
        return self.storage.shape

    @property
    def is_whole(self) -> bool:
        return not self.fixed and self.narrowed is None

    def _require_free_dimension(self) -> int:
        if len(self.fixed) >= len(self.shape):
            raise RuntimeError(TOO_MANY)
        return len(self.fixed)

    def positions(self) -> range:
        """Where the first free dimension leads, if there is one."""
        if len(self.fixed) >= len(self.shape):
            return NOTHING
        return range(self.shape[len(self.fixed)]) if self.narrowed is None else self.narrowed

    # Reading

    def __len__(self) -> int:
        self._require_free_dimension()
        return len(self.positions())

    @property
    def size(self) -> tuple[int, ...]:
        sliced = self.narrowed is not None
        if len(self.fixed) + sliced > len(self.shape):
            raise RuntimeError(TOO_MANY)
        rest = self.shape[len(self.fixed) + sliced :]
        return (len(self.narrowed), *rest) if sliced else tuple(rest)

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
        if not -len(self) <= i < len(self):
            raise IndexError(f"index has an invalid value: {i}")
        indices = [*self.fixed, self.positions()[i]]
        if len(indices) == len(self.shape):
            return self.storage.read(indices)
        return View(self.storage, indices)

    def nested(self, indices: list[int], run: range | None = None) -> list[Any]:
        """Everything below a prefix of indices, or a run of it, as nested lists."""
        depth = len(indices)
        if run is None:
            run = range(self.shape[depth]) if depth < len(self.shape) else NOTHING
        read = self.storage.read if depth == len(self.shape) - 1 else self.nested
        return [read([*indices, i]) for i in run]

    def to_list(self) -> list[Any]:
        """What the view selects as nested lists."""
        if self.narrowed is None:
            return self.nested(self.fixed)
        try:
            return self.nested(self.fixed, self.narrowed)
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
            self._assign_run(read_slice(subscript, length), value)
        else:
            self._assign_block(read_slice(subscript, length), value)

    def _assign_at(self, index: int, length: int, value: Any, last: bool) -> None:
        if not -length <= index < length:
            raise IndexError(f"index has an invalid value: {index}")
        place = range(length)[index]
        if self.narrowed is not None:
            if place >= len(self.narrowed):
                raise RuntimeError("unable to index into slice.")
            place = self.narrowed[place]
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

    def _assign_block(self, new: range, value: Any) -> None:
        elements = Walk(self.storage.kind, value, constructing=False).elements
        if elements and not new:
            raise ValueError(
                "slice is empty, but number of elements assigned is greater than zero."
            )
        if new and not elements:
            raise ValueError("slice is nonempty but values are empty.")
        if not elements:
            return
        composed = new if self.narrowed is None else compose(new, self.narrowed)
        below = map(range, self.shape[len(self.fixed) + 1 :])
        # Of a run without positions the first one is written to all the same.
        runs = [run or [run.start] for run in (composed, *below)]
        for spot, stored in zip(itertools.product(*runs), elements, strict=False):
            self.storage.write([*self.fixed, *spot], stored)
        if math.prod(map(len, runs)) != len(elements):
            raise ValueError("length of slice does not match number of elements.")

    # Methods

    def reshape(self, *args: Any, **kwargs: Any) -> View:
        if self.fixed:
            raise RuntimeError("reshape() not supported for a partial array.")
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
            dims = walk.dims if walk.elements else [0, *self.shape[1:]]
            dims = [1, *dims] if len(dims) == 1 else dims
            self.snapshot = Storage(walk.kind, dims, storage_order(dims, walk.elements))
        return self.snapshot

    def clone(self) -> View:
        source = self.materialise()
        return View(Storage(source.kind, list(source.shape), list(source.elements)))

    def export(self) -> tuple[tuple[int, ...], bytes]:
        """Shape and bytes of the buffer; that of a view is the image of its first export."""
        if self.is_whole:
            return tuple(self.shape), self.storage.pack()
        if self.exported is None:
            try:
                self.exported = self.clone().storage
            except Exception:
                raise RuntimeError("null data pointer.") from None
        return tuple(self.exported.shape), self.exported.pack()

    def __reduce__(self) -> tuple[Any, tuple[dict[str, bool], list[Any]]]:
        kind = self.storage.kind
        flags = {"is_complex": True} if kind.is_complex else {}
        return functools.partial(_rebuilt, kind), (flags, self.nested(self.fixed))

    def _part(self, place: int | None) -> View:
        """The elements of the whole array in storage order, or one part of each, as a row."""
        kind, elements = self.storage.kind, list(self.storage.elements)
        if kind.is_complex and place is None:
            raise ValueError("noncomplex() must not be called on a complex array.")
        if not kind.is_complex and place is not None:
            raise ValueError("real() and imag() can be called only on a complex array.")
        if place is not None:
            elements = [stored[place] for stored in elements]
        return View(Storage(Kind(kind.element), [1, len(elements)], elements), [0])

    noncomplex = functools.partialmethod(_part, None)
    real = functools.partialmethod(_part, 0)
    imag = functools.partialmethod(_part, 1)

    def __eq__(self, other: object) -> bool:
        """Walks both side by side; an error inside an item goes through."""
        if not isinstance(other, View) or self.storage.kind.element != other.storage.kind.element:
            return False
        ours, theirs = iter(self), iter(other)
        while True:
            first, second = next(ours, None), next(theirs, None)
            if first is None or second is None:
                return first is second
            if first != second:
                return False


def _rebuilt(kind: Kind, _flags: dict[str, bool], nested: list[Any]) -> View:
    """What becomes of a pickle, or of a copy."""
    return View.make(kind, nested)


class ViewIterator(Iterator[Any]):
    """Walks the first free dimension; sees a later reshape only through the place it holds."""

    def __init__(self, view: View) -> None:
        self._view, run = view, view.positions()
        self._yields_views = len(view.shape) - len(view.fixed) > 1
        self._place = run.start if run else None

    def __next__(self) -> Any:
        run, place = self._view.positions(), self._place
        following = None if place is None else place + run.step
        self._place = following if place in run and following in run else None
        if place is None or len(self._view.fixed) >= len(self._view.shape):
            raise StopIteration
        indices = [*self._view.fixed, place]
        if self._yields_views:
            return View(self._view.storage, indices)
        return self._view.storage.read(indices)


def as_ssize(value: int) -> int:
    if not -(2**63) <= value < 2**63:
        raise OverflowError("Python int too large to convert to C ssize_t")
    return int(value)
