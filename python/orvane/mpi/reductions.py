"""One array made of those of all ranks, element by element."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

from .. import AnyArray
from ..convert.kinds import Kind
from .blocks import is_pair
from .engine import engine
from .meeting import Meeting

if TYPE_CHECKING:
    from mpi4py.MPI import Comm as _Comm  # type: ignore[import-not-found, unused-ignore]
    from mpi4py.MPI import Op as _Op  # type: ignore[import-not-found, unused-ignore]

_OPERATIONS = (
    *("MAX", "MIN", "SUM", "PROD", "LAND", "BAND", "LOR", "BOR", "LXOR", "BXOR"),
    *("MAXLOC", "MINLOC", "REPLACE", "NO_OP"),
)


def reduce(
    array: AnyArray,
    op: _Op | None = None,
    root: int = 0,
    *,
    out: AnyArray | None = None,
    comm: _Comm | None = None,
) -> Any:
    """The sum of the arrays of all ranks, or what ``op`` makes of them, on one rank.

    It comes into ``out``, which may be ``array`` itself, or into a new array. Elsewhere than on
    ``root`` nothing comes back. Integers that the type cannot hold are what MPI makes of them: they
    wrap around, or stay at the limit.
    """
    with Meeting("reduce", comm, root=root) as meeting:
        return _reduced(meeting, array, op, out if meeting.is_root else None)


def allreduce(
    array: AnyArray,
    op: _Op | None = None,
    *,
    out: AnyArray | None = None,
    comm: _Comm | None = None,
) -> Any:
    """As `reduce`, on every rank."""
    with Meeting("allreduce", comm) as meeting:
        return _reduced(meeting, array, op, out)


def _reduced(meeting: Meeting, array: Any, op: Any, out: Any) -> Any:
    MPI = engine()  # noqa: N806
    with meeting.agreed():
        meeting.give(array)
        meeting.take(out)
        op = MPI.SUM if op is None else op
        assert meeting.given
        meeting.settings["op"] = _name_of(op, meeting.given.kind)
    forms = [told.given for told in meeting.told]
    for rank, form in enumerate(forms):
        if form != forms[0]:
            raise meeting.refusal(rank, f"{form} does not fit to {forms[0]} of rank 0")
    root = meeting.settings.get("root")
    meeting.make_room([form if root in (None, rank) else None for rank, form in enumerate(forms)])
    given, taken = meeting.given, meeting.taken
    assert given
    if taken is None:
        line = given.in_line()
        for terms in given.terms_of(line, op):
            meeting.comm.Reduce(terms, None, op, root)
        return None
    total = taken.in_line()
    if not given.is_at(taken):
        total[...] = given.numbers
    for terms in taken.terms_of(total, op):
        if root is None:
            meeting.comm.Allreduce(MPI.IN_PLACE, terms, op)
        else:
            meeting.comm.Reduce(MPI.IN_PLACE, terms, op, root)
    if total is not taken.numbers:
        taken.numbers[...] = total
    return taken.array


def _name_of(op: Any, kind: Kind) -> str:
    """What tells an operation from others, on all ranks; those that programs define are alike."""
    MPI = engine()  # noqa: N806
    if not isinstance(op, MPI.Op):
        raise TypeError(f"expected an operation of mpi4py, got {type(op).__name__}")
    if not op.is_predefined:
        return "one of the program's"
    if is_pair(kind) and op != MPI.SUM:
        raise TypeError(f"elements of {kind} can be summed, and nothing else")
    for name in _OPERATIONS:
        if getattr(MPI, name) == op:
            return name
    raise ValueError("this operation does nothing")
