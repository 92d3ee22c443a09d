"""What all ranks of a communicator do together: one array on every rank, or a part on each."""

from __future__ import annotations

from collections.abc import Iterable, Sequence
from math import prod
from operator import index
from typing import TYPE_CHECKING, Any

from .. import AnyArray
from .blocks import MOST, Block, Form
from .engine import engine
from .meeting import Meeting
from .shares import even_counts, starts_of

if TYPE_CHECKING:
    from mpi4py.MPI import Comm as _Comm  # type: ignore[import-not-found, unused-ignore]
    from numpy.typing import NDArray


def bcast(array: AnyArray | None = None, root: int = 0, *, comm: _Comm | None = None) -> Any:
    """The array of one rank, on every rank.

    On ``root``, ``array`` is what is sent. Elsewhere it is filled with that and given back; without
    one, a new array is made.
    """
    with Meeting("bcast", comm, root=root) as meeting:
        with meeting.agreed():
            if meeting.is_root:
                meeting.give(array)
            else:
                meeting.take(array)
        form = meeting.told[meeting.root].given
        meeting.make_room([form if told.given is None else None for told in meeting.told])
        block = meeting.given or meeting.taken
        assert block
        meeting.comm.Bcast(block.message(), meeting.root)
        return block.array


def scatter(
    array: AnyArray | None = None,
    root: int = 0,
    *,
    out: AnyArray | None = None,
    axis: int = -1,
    counts: Iterable[int] | None = None,
    comm: _Comm | None = None,
) -> Any:
    """To every rank its part of the array of one rank, in ``out`` or in a new array.

    The last dimension is divided, into whole columns, unless ``axis`` names another. A part is what
    `share` tells; or as large as ``counts`` says, on ``root``, for each rank; or as large as
    ``out``, where every rank has one.
    """
    with Meeting("scatter", comm, root=root, axis=axis) as meeting:
        with meeting.agreed():
            if meeting.is_root:
                meeting.give(array)
                meeting.counts = None if counts is None else tuple(map(index, counts))
            meeting.take(out)
        form = meeting.told[meeting.root].given
        assert form
        axis = _axis(meeting, len(form.size), len(form.size))
        parts = _counts(meeting, axis, form)
        meeting.make_room([form.of_extent(axis, count) for count in parts])
        meeting.set_apart()
        assert meeting.taken
        _divide(meeting, form, axis, parts)
        return meeting.taken.array


def gather(
    array: AnyArray,
    root: int = 0,
    *,
    out: AnyArray | None = None,
    axis: int = -1,
    comm: _Comm | None = None,
) -> Any:
    """The arrays of all ranks side by side on one rank, in ``out`` or in a new array.

    They follow each other along the last dimension, as columns, unless ``axis`` names another,
    which may be one beyond the last. Elsewhere than on ``root`` nothing comes back.
    """
    with Meeting("gather", comm, root=root, axis=axis) as meeting:
        with meeting.agreed():
            meeting.give(array)
            meeting.take(out if meeting.is_root else None)
        return _gathered(meeting, [meeting.root])


def allgather(
    array: AnyArray, *, out: AnyArray | None = None, axis: int = -1, comm: _Comm | None = None
) -> Any:
    """As `gather`, on every rank."""
    with Meeting("allgather", comm, axis=axis) as meeting:
        with meeting.agreed():
            meeting.give(array)
            meeting.take(out)
        return _gathered(meeting, range(meeting.comm.size))


def _gathered(meeting: Meeting, receivers: Sequence[int]) -> Any:
    forms = [told.given for told in meeting.told if told.given]
    outs = [told.taken for told in meeting.told if told.taken]
    dimensions = max(len(form.size) for form in (*forms, *outs))
    axis = _axis(meeting, dimensions, dimensions + 1)
    counts = [form.extent(axis) for form in forms]
    for rank, form in enumerate(forms):
        if form.of_extent(axis, counts[0]) != forms[0]:
            words = f"{form} does not fit to {forms[0]} of rank 0 along axis {axis}"
            raise meeting.refusal(rank, words)
    whole = forms[0].of_extent(axis, sum(counts))
    receives = [rank in receivers for rank in range(len(forms))]
    meeting.make_room([whole if each else None for each in receives])
    meeting.set_apart()
    _join(meeting, whole, axis, counts, receives)
    return meeting.taken and meeting.taken.array


def _axis(meeting: Meeting, ranks: int, end: int) -> int:
    """The dimension that is meant; the same on all ranks, and so is the refusal."""
    axis = int(meeting.settings["axis"])
    if not -ranks <= axis < end:
        raise meeting.refusal(0, f"axis is {axis}, and there are {ranks} dimensions")
    return axis if axis >= 0 else axis + ranks


def _counts(meeting: Meeting, axis: int, form: Form) -> Sequence[int]:
    """How much of the dimension comes to each rank."""
    extent, outs = form.size[axis], [told.taken for told in meeting.told if told.taken]
    counts: Sequence[int] | None = meeting.told[meeting.root].counts
    if counts is None and len(outs) < meeting.comm.size:
        return even_counts(extent, meeting.comm.size)
    whose = "counts are" if counts is not None else "all out together are"
    if counts is None:
        counts = [each.extent(axis) for each in outs]
    if len(counts) != meeting.comm.size or min(counts) < 0 or sum(counts) != extent:
        words = f"{whose} {list(counts)}, to divide {form} along axis {axis}"
        raise meeting.refusal(meeting.root, f"{words} among {meeting.comm.size} ranks")
    return counts


def _divide(meeting: Meeting, whole: Form, axis: int, counts: Sequence[int]) -> None:
    """To each rank its part of what the root gives, straight from where it lies."""
    given, taken = meeting.given, meeting.taken
    assert taken
    in_line = _in_line(meeting, whole, axis, counts)
    if in_line:
        meeting.comm.Scatterv(given and given.messages(in_line), taken.message(), meeting.root)
        return
    received: list[NDArray[Any] | None] = [None] * len(counts)
    received[meeting.root] = taken.numbers
    meeting.comm.Alltoallw(_side(given, _along(given, axis, counts)), _side(taken, received))


def _join(
    meeting: Meeting, whole: Form, axis: int, counts: Sequence[int], receives: Sequence[bool]
) -> None:
    """What all ranks give, straight to where it belongs on those that receive."""
    given, taken = meeting.given, meeting.taken
    assert given
    in_line = _in_line(meeting, whole, axis, counts)
    if not in_line:
        sent = [given.numbers if each else None for each in receives]
        meeting.comm.Alltoallw(_side(given, sent), _side(taken, _along(taken, axis, counts)))
    elif all(receives):
        assert taken
        meeting.comm.Allgatherv(given.message(), taken.messages(in_line))
    else:
        messages = taken and taken.messages(in_line)
        meeting.comm.Gatherv(given.message(), messages, meeting.root)


def _in_line(
    meeting: Meeting, whole: Form, axis: int, counts: Sequence[int]
) -> Sequence[int] | None:
    """How many elements are in each part, if the parts follow each other in memory on all ranks.

    MPI has operations of its own for that, which MPICH does twice as fast as the general one.
    """
    if any(told.has_gaps for told in meeting.told) or prod(whole.size) > MOST:
        return None
    if any(extent != 1 for extent in whole.size[axis + 1 :]):
        return None
    column = prod(whole.size[:axis])
    return [column * count for count in counts]


def _along(block: Block | None, axis: int, counts: Sequence[int]) -> list[NDArray[Any] | None]:
    """The parts of a block, one for each rank."""
    if block is None:
        return [None] * len(counts)
    return [
        block.part(axis, start, count)
        for start, count in zip(starts_of(counts), counts, strict=True)
    ]


def _side(block: Block | None, parts: Sequence[NDArray[Any] | None]) -> list[Any]:
    MPI = engine()  # noqa: N806
    nothing = [0] * len(parts)
    if block is None:
        return [MPI.memory.fromaddress(0, 0), nothing, nothing, [MPI.BYTE] * len(parts)]
    layouts = {id(part): block.layout(part) for part in parts if part is not None and part.size}
    types = [layouts.get(id(part)) for part in parts]
    counts = [int(each is not None) for each in types]
    return [block.place(), counts, nothing, [each or MPI.BYTE for each in types]]
